#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "kit/recording/files.h"
#include "kit/recording/finding.h"
#include "radar_objects/radar_objects.pb.h"
#include "tools/input/file_state.h"
#include "tools/input/selection.h"

namespace CLI {
class App;
}

namespace Tools {

/** What a verb reads. */
struct InputOptions {
    std::string source;    // SOURCE, as parse_source_name() takes it
    std::string recorder;  // --recorder; empty: there has to be only one in a directory
    SelectionOptions selection;
    bool follow =
        false;  // goes on with a growing file and with those that the recorder begins then
    /**
     * Called before the input waits for more, and at least every 50 ms while it waits: the place to
     * flush an output and to notice that its reader has gone. May throw, which ends next().
     */
    std::function<void()> idle;
};

/** Adds SOURCE and --recorder. */
void add_source_options(CLI::App& parser, InputOptions& options);

/** One frame of a source. */
struct InputFrame {
    uint64_t number = 0;  // in the source, from 0 on, whatever is selected
    uint32_t magic = 0;
    uint64_t timestamp = 0;
    uint32_t target_count = 0;
    std::string_view payload;  // the encoding, as it was recorded or sent; it decodes
    uint64_t offset = 0;       // of its record in the file, or in the stream, in bytes
    uint32_t tag = 0;          // of its record; 0 in a stream
};

/**
 * Reads a SOURCE from front to back: a file, a directory with the rotated files of one recorder in
 * order of time, standard input, or a live stream. Goes on behind damage, which it tells as
 * findings. Opened by open_frame_input().
 *
 *     while (input->next()) {
 *         if (input->item() == FrameInput::Item::kFrame) use(input->frame());
 *     }
 *
 * Memory is bounded by the largest record, whatever the size of the source. What the accessors
 * return holds until next(). One thread at a time.
 */
class FrameInput {
public:
    enum class Item {
        kFile,     // a file, standard input or a stream begins: file(), state()
        kHeader,   // the header of a recording, which files mostly have one of: header()
        kFrame,    // a selected frame: frame(), objects()
        kFinding,  // something is not as it has to be: finding(), in file()
        kNote      // a person should know, though nothing is lost: note()
    };

    virtual ~FrameInput() = default;
    FrameInput(FrameInput const&) = delete;
    FrameInput& operator=(FrameInput const&) = delete;

    /**
     * Goes on to the next item. Returns false at the end, which is that of the source or the
     * selection, or the person's Ctrl-C: was_cut_short().
     *
     * @throws Kit::InputError when a file cannot be read that is all of the source; in a directory,
     *         and after its first frame, that is a finding.
     */
    bool next();

    Item item() const { return current_item; }
    Kit::RecordingFile const& file() const { return current_file; }
    FileState state() const { return current_state; }
    Kit::RecordingHeader const& header() const { return current_header; }
    InputFrame const& frame() const { return current_frame; }
    Kit::Finding const& finding() const { return current_finding; }
    std::string const& note() const { return current_note; }

    /** The frame of kFrame, decoded; decoded once, whatever the number of calls. */
    RO::RadarObjects const& objects();

    /** Whether the person's Ctrl-C ended the input. */
    bool was_cut_short() const { return cut_short; }

    /** Whether Ctrl-C is how it mostly ends: a live stream, or files that are followed. */
    virtual bool is_endless() const = 0;

    /** How far the reading has come, and how far it has to go; 0 when that is not known. */
    virtual uint64_t bytes_done() const = 0;
    virtual uint64_t bytes_total() const = 0;

protected:
    explicit FrameInput(Selection selection) : selection_(std::move(selection)) {}

    /** Reads the next item into the members below; false at the end. Counts no frames. */
    virtual bool read() = 0;

    Item current_item = Item::kFile;
    Kit::RecordingFile current_file;
    FileState current_state = FileState::kUnknown;
    Kit::RecordingHeader current_header;
    InputFrame current_frame;
    Kit::Finding current_finding;
    std::string current_note;
    RO::RadarObjects decoded;
    bool is_decoded = false;
    bool cut_short = false;

private:
    bool is_selected();

    Selection selection_;
    uint64_t frame_count_ = 0;
    bool over_ = false;
};

/**
 * Opens a source. With a selection that counts from the last frame's time, looks for that first.
 *
 * @throws Kit::InputError when it cannot be opened, holds no recording or those of several
 *         recorders; UsageError when options make no sense with this source.
 */
std::unique_ptr<FrameInput> open_frame_input(InputOptions const& options);

}  // namespace Tools
