#include "tools/verbs.h"

#include "tools/completion.h"
#include "tools/convert/cut.h"
#include "tools/convert/export.h"
#include "tools/convert/merge.h"
#include "tools/diff/diff.h"
#include "tools/doctor/doctor.h"
#include "tools/doctor/recover.h"
#include "tools/help.h"
#include "tools/inspect/cat.h"
#include "tools/inspect/info.h"
#include "tools/listen/listen.h"
#include "tools/play/play.h"
#include "tools/plot/plot.h"
#include "tools/registers/regs.h"
#include "tools/settings/settings.h"
#include "tools/status/status.h"

namespace Tools {

std::vector<Verb> all_verbs() {
    return {
        // clang-format off
        cat_verb(),
        completion_verb(all_verbs),
        cut_verb(),
        diff_verb(),
        doctor_verb(),
        export_verb(),
        help_verb(all_verbs),
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
