#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "kit/recording/files.h"
#include "tools/input/handler.h"
#include "tools/output/recording.h"

namespace Tools {

/** A recording that a Recovery has written. */
struct SavedRecording {
    /** Where the header comes from. */
    enum class Header {
        kKept,      // from the file, as it was
        kRepaired,  // from the file, but for magic and version
        kMadeUp     // from the name or the first frame's time; the installation is not known
    };

    std::string from;  // path of the file
    std::string path;
    Header header = Header::kKept;
    uint64_t records = 0;
    uint64_t bytes = 0;
    /** Whether it holds whole records with a tag that is not the recording's: it is set apart. */
    bool is_suspect = false;
    uint64_t offset = 0;  // of the first record in the file; 0 without records
};

/** In words that never change: "kept", "repaired", "made-up". */
char const* name_of(SavedRecording::Header header);

/**
 * Writes what an input gives as complete recordings: one for each header, with the bytes of the
 * records as they were. Records of another tag than the recording's, which nearly all of its
 * records have, go to a recording in the folder "suspect". Holds one record. One thread at a time.
 *
 * What takes an item throws Kit::Error when a recording cannot be written, or would replace a
 * file that is there, or its own input.
 */
class Recovery : public InputHandler {
public:
    using OnSaved = std::function<void(SavedRecording const&)>;

    /**
     * @param directory where recordings are written; made when there is something to write.
     * @param force whether files that are there may be replaced.
     * @param on_saved called with each recording that is complete.
     */
    Recovery(std::string directory, bool force, OnSaved on_saved);

    void on_file(Kit::RecordingFile const& file, FileState state) override;
    void on_header(Kit::RecordingHeader const& header) override;
    void on_frame(InputFrame const& frame) override;
    void on_finding(Kit::Finding const& finding) override;
    /** Also that one of a directory's files is passed over. */
    void on_note(std::string const& note) override;

    /** Completes what has been begun. Throws the same. */
    void finish();

private:
    struct Held {
        uint32_t tag = 0;
        uint64_t offset = 0;
        std::string payload;
    };
    /** A recording that is being written. */
    struct Part {
        std::unique_ptr<RecordingOutput> output;
        SavedRecording saved;
    };

    void begin_part(Kit::RecordingHeader const& header, SavedRecording::Header origin);
    void make_up_header(InputFrame const& first);
    void open(Part& part, bool is_suspect);
    void put(Part& part, uint32_t tag, uint64_t offset, std::string_view payload);
    void put_suspect(Held const& record);
    void end_part();
    void complete(Part& part);
    std::string free_path(std::string const& folder);

    std::string directory_;
    bool force_;
    OnSaved on_saved_;
    Kit::RecordingFile file_;
    bool is_first_part_ = false;  // of the file, whose name it gets
    bool is_begun_ = false;
    bool is_raw_ = false;  // no record is right behind the header: raw data, unless one follows
    Kit::RecordingHeader header_;
    SavedRecording::Header header_origin_ = SavedRecording::Header::kKept;
    Part main_;
    Part suspect_;
    /** The recording's tag: that of two records, one behind the other. */
    std::optional<uint32_t> tag_;
    std::optional<Held> held_;
    std::set<std::string> paths_;
};

}  // namespace Tools
