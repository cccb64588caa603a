#pragma once

#include <cstdint>
#include <string>

#include "filewriter/file_writer.h"
#include "petrelradar_export.h"

namespace Radar {

/**
 * A recorder for raw data: can be switched on and off, begins a new file when the current one has
 * been open too long or has grown too large, and takes its settings as keys with integer values.
 * The limits are checked after each frame, so that a frame is never split over two files and a file
 * without frames stays open.
 *
 * Every completed file is kept until setMaxFileCount() limits their number. Ownership, thread and
 * failures are those of FileWriter.
 */
class PETRELRADAR_API DataFileWriter : public FileWriter {
public:
    /** A recorder that is off: "/tmp", prefix "radar", files of at most 10 s, no size limit. */
    DataFileWriter();

    /**
     * Opens no file, also when `on`: the first frame does.
     *
     * @param folder directory of the files, without a "/" at its end.
     * @param seconds longest time that a file stays open.
     * @param on whether recording is on.
     * @param name_prefix first part of every file name.
     * @param bytes size after which a new file is begun; 0 means no limit.
     */
    DataFileWriter(std::string folder, long seconds, bool on, std::string name_prefix,
                   unsigned bytes);

    /**
     * Writes one frame and begins a new file if this one is due; does nothing while recording is
     * off.
     *
     * @throws std::ios_base::failure as FileWriter::write() does.
     */
    void write(std::string const& frame);
    /** The same for a frame of `size` bytes at `data`. */
    void write(char const* data, unsigned size);

    /** Switches recording on, which begins a file, or off, which completes the open one. */
    void setEnabled(bool on);

    /** Completes the file and begins a new one; does nothing while recording is off. */
    void restart();

    /**
     * Sets the longest time in seconds that a file stays open, from the next frame on. With 0 the
     * first frame of a later second is the file's last, with a negative time every frame is.
     */
    void setFileTime(long seconds);

    /** Sets the size in bytes after which a new file is begun, 0 for none, from the next frame on.
     */
    void setMaxFileSize(unsigned bytes);

    /**
     * Applies one setting; ignores keys that are not its own: "DataFileWriterEnabled" (1 is on, all
     * else off), "DataFileWriterFileTime" (s), "DataFileWriterLocation" (0 is "/tmp", 1 is
     * "/var/spool/storage/SD_DISK", all else ignored), "DataFileWriterMaxFileCount" and
     * "FileWriterMaxFileSize" (bytes; shared with the object recorder).
     */
    void configure(std::string key, int value);

protected:
    /** The keys under which a recorder takes its settings; null where it has none. */
    struct SettingKeys {
        char const* enabled;
        char const* file_time;
        char const* location;
        char const* max_file_count;
        char const* max_file_size;
    };

    /**
     * Applies one setting by `keys`; ignores a key that is none of them. For the recorders of this
     * library.
     */
    PETRELRADAR_LOCAL void apply_setting(SettingKeys const& keys, std::string const& key,
                                         int value);

    bool enabled;

private:
    long file_time;
    uint32_t max_file_size;

    PETRELRADAR_LOCAL void set_location(int location);
    PETRELRADAR_LOCAL bool is_due() const;
};

}  // namespace Radar
