#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "tools/cli/exit_status.h"
#include "tools/cli/messages.h"
#include "tools/doctor/findings.h"

namespace Tools {

/** Adds up findings, for a message about all of them. One thread at a time. */
class FindingSum {
public:
    void add(DoctorFinding const& finding);

    uint64_t errors() const { return error_count_; }
    uint64_t warnings() const { return warning_count_; }
    uint64_t skipped_bytes() const { return skipped_; }

    /**
     * Tells of errors, and that Ctrl-C ended the work after so many frames. Returns kDamaged when
     * there is anything to report.
     */
    ExitStatus report(Messages const& messages, uint64_t frames, bool interrupted) const;

private:
    std::map<std::string, uint64_t> codes_;  // of errors
    uint64_t error_count_ = 0;
    uint64_t warning_count_ = 0;
    uint64_t skipped_ = 0;
};

}  // namespace Tools
