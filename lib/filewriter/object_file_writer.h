#pragma once

#include <cstdint>
#include <string>

#include "filewriter/data_file_writer.h"
#include "petrelradar_export.h"
#include "socket/socket_buffer.h"

namespace Radar {

/**
 * A recorder for frames of targets: each frame becomes one record of a tag, a length and the
 * frame's encoding. Files begin with "radar". Ownership, thread and failures are those of
 * DataFileWriter.
 */
class PETRELRADAR_API ObjectFileWriter : public DataFileWriter {
public:
    /** A recorder that is off: "/tmp", files of at most 10 s, no size limit, tag 0xFEED2050. */
    ObjectFileWriter();

    /**
     * Records with the tag 0xFEED0000 | `id`; the other arguments are those of DataFileWriter.
     */
    ObjectFileWriter(int id, std::string folder, long seconds, bool on, unsigned bytes);

    /** Returns the record of a frame: tag and length (4 bytes each), then frame.data(). */
    std::string formatData(SocketBuffer const& frame);

    /** Writes the frame's record as DataFileWriter::write() does; nothing while recording is off.
     */
    void write(SocketBuffer const& frame);

    /**
     * Applies one setting; ignores keys that are not its own: "FileWriterEnabled",
     * "FileWriterFileTime", "FileWriterLocation", "FileWriterMaxFileCount" and
     * "FileWriterMaxFileSize", with the meaning that DataFileWriter::configure() gives.
     */
    void configure(std::string key, int value);

private:
    uint32_t record_magic;
};

}  // namespace Radar
