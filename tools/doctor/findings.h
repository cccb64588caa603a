#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "kit/recording/finding.h"
#include "tools/doctor/finding_code.h"
#include "tools/input/handler.h"
#include "tools/input/timing.h"

namespace Tools {

/** One thing that the doctor found. */
struct DoctorFinding {
    FindingCode code;
    std::string file;
    uint64_t offset = 0;  // in bytes from the front of the file
    uint64_t length = 0;  // so many bytes from there on are no part of a record
    std::string text;     // what is the matter, as part of a line
};

/**
 * Finds what is wrong with a source while it is read: what the input finds, told apart further, and
 * what a file's name, the order of the frames' times and frames that come twice show. Holds the
 * frame before, or its first 64 KiB. One thread at a time.
 */
class DoctorFindings : public InputHandler {
public:
    using Take = std::function<void(DoctorFinding const&)>;

    /** @param take takes each finding, in order of the source; only gaps come at the end. */
    explicit DoctorFindings(Take take) : take_(std::move(take)) {}

    void on_file(Kit::RecordingFile const& file, FileState state) override;
    void on_header(Kit::RecordingHeader const& header) override;
    void on_frame(InputFrame const& frame) override;
    void on_finding(Kit::Finding const& finding) override;
    void on_note(std::string const&) override {}

    /** The source has ended: only now it is known what a gap is. */
    void finish();

    uint64_t files() const { return file_count_; }
    FrameTiming const& frame_timing() const { return timing_; }

private:
    void check_name(Kit::RecordingHeader const& header);
    void check_repetition(InputFrame const& frame);
    void settle(bool goes_on);
    DoctorFinding judge(Kit::Finding const& finding, bool goes_on) const;
    void report_gaps();
    void report(char const* code, uint64_t offset, std::string const& text);

    Take take_;
    Kit::RecordingFile file_;
    bool header_seen_ = false;
    uint64_t file_count_ = 0;
    /** Damage of which what follows tells more, and a wrong count that was found behind it. */
    std::optional<Kit::Finding> damage_;
    std::optional<Kit::Finding> wrong_count_;
    FrameTiming timing_;
    uint64_t last_timestamp_ = 0;
    size_t last_size_ = 0;
    std::string last_payload_;
};

}  // namespace Tools
