#include "kit/frame_source.h"

#include "kit/input_error.h"

namespace Kit {

std::unique_ptr<FrameSource> open_frame_source(std::string const& input) {
    throw InputError(input + ": no such input");
}

}  // namespace Kit
