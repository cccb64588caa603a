#include "tools/verbs.h"

#include "tools/listen.h"

namespace Tools {

std::vector<Verb> all_verbs() {
    return {
        listen_verb(),
    };
}

}  // namespace Tools
