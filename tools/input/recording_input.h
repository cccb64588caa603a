#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "kit/recording/scanner.h"
#include "tools/cli/source_name.h"
#include "tools/input/files.h"
#include "tools/input/frame_input.h"
#include "tools/input/source_options.h"

namespace Tools {

/** Recorded files, or standard input, as an input. See FrameInput. */
class RecordingInput : public FrameInput {
public:
    RecordingInput(SourceName const& source, SourceOptions const& options, Selection selection);

    bool is_endless() const override { return files_ && files_->follows(); }
    uint64_t bytes_done() const override;
    uint64_t bytes_total() const override { return files_ ? files_->total_size() : 0; }

private:
    using Scanned = Kit::RecordingScanner::Item;

    bool read(InputHandler& items) override;
    bool open_next_file(InputHandler& items);
    void open_file(Kit::RecordingFile file, InputHandler& items);
    std::unique_ptr<Kit::RecordingScanner> open_scanner(std::string const& path, bool waits) const;
    Scanned scan();
    bool use(Scanned scanned, InputHandler& items);
    void use_record(InputHandler& items);
    void use_end();
    bool suspect();
    bool use_after_suspects(Scanned scanned, InputHandler& items);
    bool file_goes_on();
    void wait() const;

    std::optional<SourceFiles> files_;  // none for standard input
    Kit::RecordingFile file_;           // the current one
    std::function<void()> idle_;
    std::unique_ptr<Kit::RecordingScanner> scanner_;
    bool standard_input_to_come_ = false;
    bool report_skipped_files_ = false;
    bool growing_ = false;  // the recorder may write more of the file
    bool frame_seen_ = false;
    unsigned ticks_ = 0;
    uint64_t bytes_before_ = 0;
    std::string read_problem_;  // why the rest of the file cannot be read
    std::deque<Kit::Finding> pending_;
    /** Of a directory's file: what may only say that it holds raw data, until a record follows. */
    std::deque<Kit::Finding> suspects_;
    std::optional<Scanned> scanned_ahead_;
};

/** The timestamp of the last frame of a file or a directory; 0 without frames. */
uint64_t find_last_timestamp(SourceName const& source, SourceOptions const& options);

}  // namespace Tools
