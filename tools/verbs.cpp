#include "tools/verbs.h"

#include "tools/cat.h"
#include "tools/completion.h"
#include "tools/cut.h"
#include "tools/diff.h"
#include "tools/doctor.h"
#include "tools/export.h"
#include "tools/info.h"
#include "tools/listen.h"
#include "tools/merge.h"
#include "tools/play.h"
#include "tools/plot.h"
#include "tools/recover.h"
#include "tools/regs.h"
#include "tools/settings.h"
#include "tools/status.h"

namespace Tools {

std::vector<Verb> all_verbs() {
    return {
        // clang-format off
        cat_verb(),
        completion_verb(),
        cut_verb(),
        diff_verb(),
        doctor_verb(),
        export_verb(),
        info_verb(),
        listen_verb(),
        merge_verb(),
        play_verb(),
        plot_verb(),
        recover_verb(),
        regs_verb(),
        settings_verb(),
        status_verb(),
        // clang-format on
    };
}

}  // namespace Tools
