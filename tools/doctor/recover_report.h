#pragma once

#include <cstdint>
#include <string>

#include "tools/cli/output.h"
#include "tools/doctor/findings.h"
#include "tools/doctor/recovery.h"

namespace Tools {

/** Prints what a recovery kept, skipped and judged suspect, as it comes. One thread at a time. */
class RecoverReport {
public:
    /** @param format "text" or "json". The output outlives the report. */
    RecoverReport(std::string const& format, std::string const& source, Output& out);

    /** Of what the doctor finds, what has to do with a loss; the rest is not for this report. */
    void add(DoctorFinding const& finding);
    void add(SavedRecording const& saved);
    void finish(bool interrupted);

    /** Of a report as text, prints what there is so far. */
    void hand_over();

    uint64_t recordings() const { return recording_count_; }
    uint64_t records() const { return record_count_; }
    uint64_t suspects() const { return suspect_count_; }

private:
    /** One line of the report. */
    struct Result {
        char const* kind;  // "kept", "skipped", "suspect" or "corrected"; they never change
        std::string file;
        uint64_t offset = 0;
        uint64_t length = 0;
        std::string code;
        std::string message;
        SavedRecording const* saved = nullptr;
    };

    void write(std::string const& text);
    void print(Result const& result);
    void print_text(Result const& result);
    void print_json(Result const& result);

    bool is_json_;
    Output& out_;
    bool reader_has_gone_ = false;
    bool first_ = true;
    uint64_t recording_count_ = 0;
    uint64_t record_count_ = 0;
    uint64_t suspect_count_ = 0;
    uint64_t skipped_bytes_ = 0;
};

}  // namespace Tools
