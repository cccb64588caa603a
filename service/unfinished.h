#pragma once

#include <cstdint>
#include <string>

namespace Service {

/** What was found of an earlier run that did not end well. */
struct UnfinishedFiles {
    /** Files that were completed, and the whole records in them. */
    uint64_t completed = 0;
    uint64_t frames = 0;
    /** Files without a record, which were removed. */
    uint64_t removed = 0;
};

/**
 * Completes the files of a recorder that a killed run has left in `directory`: truncates each after
 * its last whole record, has its header count them, renames it to ".data", and flushes it before
 * and after, and the directory. A file without a record is removed.
 *
 * Leaves alone what another user owns, what is no regular file with one name, what another service
 * is writing, and what does not begin as a recorded file; a file with damage before its end, too,
 * with a line of the log that names "petrelradar doctor recover". May wait for the medium.
 *
 * @param prefix what the names of the recorder's files begin with.
 * @param tag in front of every record.
 */
UnfinishedFiles complete_unfinished(std::string const& directory, std::string const& prefix,
                                    uint32_t tag);

}  // namespace Service
