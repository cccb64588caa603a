#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "tools/cli/output.h"
#include "tools/doctor/findings.h"

namespace Tools {

/** How the findings of a source are printed, each as it comes. One thread at a time. */
class DoctorFormatter {
public:
    virtual ~DoctorFormatter() = default;
    DoctorFormatter(DoctorFormatter const&) = delete;
    DoctorFormatter& operator=(DoctorFormatter const&) = delete;

    /** What is printed in front of the findings. */
    virtual void begin() {}
    virtual void print(DoctorFinding const& finding) = 0;

    /** What there is to say of the source as a whole. */
    struct Sum {
        uint64_t files = 0;
        uint64_t frames = 0;
        uint64_t errors = 0;
        uint64_t warnings = 0;
        uint64_t lost_bytes = 0;
        bool interrupted = false;
    };
    virtual void end(Sum const&) {}

protected:
    DoctorFormatter() = default;
};

/** The formatter of `format`: "text", "json" or "ndjson". The output outlives it. */
std::unique_ptr<DoctorFormatter> make_doctor_formatter(std::string const& format,
                                                       std::string const& source, Output& out);

}  // namespace Tools
