#include "tools/doctor/finding_sum.h"

#include "tools/cli/message_text.h"

namespace Tools {

void FindingSum::add(DoctorFinding const& finding) {
    skipped += finding.length;
    if (finding.code.severity == Severity::kWarning) {
        ++warning_count;
    } else {
        ++error_count;
        ++codes[finding.code.name];
    }
}

ExitStatus FindingSum::tell(Messages const& messages, uint64_t frames, bool interrupted) const {
    if (error_count > 0) {
        std::string text = counted(error_count, "error") + " (";
        for (auto const& [code, count] : codes) {
            if (text.back() != '(') text += ", ";
            text += code + (count == 1 ? "" : " " + std::to_string(count) + " times");
        }
        messages.warn(text + "), " + counted(skipped, "byte") + " skipped");
    }
    if (interrupted) messages.warn("interrupted after " + counted(frames, "frame"));
    return error_count > 0 || interrupted ? ExitStatus::kDamaged : ExitStatus::kOk;
}

}  // namespace Tools
