#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "kit/recording/files.h"
#include "tools/input/file_state.h"

namespace Tools {

/**
 * The files of a SOURCE that is a file or a directory, in order of the time at which the recorder
 * began them; of a directory those of one recorder, and files of which nothing tells whose they
 * are. With following also those that the recorder begins later. Holds what is known of each file,
 * and none of them open. One thread at a time.
 */
class SourceFiles {
public:
    /**
     * @param recorder tag or prefix, as --recorder takes it; empty: of the only one there is.
     * @throws Kit::InputError when the path cannot be read, or is a directory that holds no
     *         recording or those of several recorders.
     */
    SourceFiles(std::string const& path, std::string const& recorder, bool follow);

    /** Takes the next file; none when there is none, or none yet. */
    std::optional<Kit::RecordingFile> next();

    /** Whether the recorder has begun another file, so that it writes no earlier one any more. */
    bool has_newer();

    /** Whether the source is a directory, in which one bad file is not the end of everything. */
    bool is_directory() const { return directory_given_; }
    bool follows() const { return following_; }

    /** Files of other recorders in the directory, which are left out because of --recorder. */
    size_t skipped_files() const { return other_files_; }
    uint64_t total_size() const { return size_; }
    std::vector<Kit::RecordingFile> const& files() const { return found_; }

private:
    void choose_recorder(std::string const& path, std::string const& recorder);
    bool belongs(Kit::RecordingFile const& file) const;
    void look_for_new_files();

    std::vector<Kit::RecordingFile> found_;
    size_t position_ = 0;
    bool directory_given_;
    bool following_;
    std::string directory_;
    /** Names, without ".data", of all files that were looked at. */
    std::set<std::string> known_;
    std::optional<uint32_t> tag_;
    std::string prefix_;
    size_t other_files_ = 0;
    uint64_t size_ = 0;
};

/** The path of a file that its recorder may have completed since it was listed. */
std::string current_path(std::string const& path);

}  // namespace Tools
