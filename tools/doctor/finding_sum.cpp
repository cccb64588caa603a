#include "tools/doctor/finding_sum.h"

#include "kit/base/text.h"

namespace Tools {

void FindingSum::add(DoctorFinding const& finding) {
    skipped_ += finding.length;
    if (finding.code.severity == Severity::kWarning) {
        ++warning_count_;
    } else {
        ++error_count_;
        ++codes_[finding.code.name];
    }
}

ExitStatus FindingSum::report(Messages const& messages, uint64_t frames, bool interrupted) const {
    if (error_count_ > 0) {
        std::string text = Kit::count_text(error_count_, "error") + " (";
        for (auto const& [code, count] : codes_) {
            if (text.back() != '(') text += ", ";
            text += code + (count == 1 ? "" : " " + std::to_string(count) + " times");
        }
        messages.warn(text + "), " + Kit::count_text(skipped_, "byte") + " skipped");
    }
    if (interrupted) messages.warn("interrupted after " + Kit::count_text(frames, "frame"));
    return error_count_ > 0 || interrupted ? ExitStatus::kDamaged : ExitStatus::kOk;
}

}  // namespace Tools
