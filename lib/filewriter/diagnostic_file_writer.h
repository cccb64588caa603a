#pragma once

#include <string>
#include <vector>

#include "filewriter/object_file_writer.h"
#include "petrelradar_export.h"

namespace Radar {

/**
 * A recorder for diagnostics: records frames into "/tmp/radar-diagnostics" from its construction
 * on, in files of at most 900 s and 8 MiB, and keeps four completed files, counting the files that
 * earlier runs have left there. The directory is not created. The file work is done on the caller's
 * thread. Ownership, thread and failures are those of ObjectFileWriter.
 */
class PETRELRADAR_API DiagnosticFileWriter : public ObjectFileWriter {
public:
    /**
     * Adopts the existing files, deletes the oldest until four are left, and begins a file.
     * Records with the tag 0xFEED0000 | `id`.
     */
    explicit DiagnosticFileWriter(int id);

    /**
     * Applies one setting; ignores keys that are not its own: "DiagnosticFileWriterEnabled",
     * "DiagnosticFileWriterFileTime", "DiagnosticFileWriterMaxFileCount" and
     * "DiagnosticFileWriterMaxFileSize", with the meaning that DataFileWriter::configure() gives.
     */
    void configure(std::string key, int value);
};

}  // namespace Radar

/**
 * Returns the paths of the regular files in `directory` whose names begin with "radar", the one
 * modified longest ago first; files of the same second come in any order. Logs at level 2 a
 * directory that cannot be opened and at level 1 a file that cannot be examined, which is skipped.
 */
PETRELRADAR_API std::vector<std::string> scan_recorded_files(std::string directory);
