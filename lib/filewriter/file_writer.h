#pragma once

#include <sys/time.h>

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "petrelradar_export.h"

namespace Radar {

/**
 * Writes one file at a time into a directory: names it after the time at which it was begun, puts a
 * 40-byte header with a running frame counter in front, and when it is completed flushes it to
 * storage and renames it with the suffix ".data". Keeps a bounded number of completed files.
 *
 * Owns the open file; completes it when destroyed. One thread at a time. Neither copied nor moved.
 *
 * Failures are logged at level 1 or 2 and do not stop the writer: a file that could not be opened
 * is tried again with the next frame. The one exception that leaves this class is that of a frame
 * counter that could not be rewritten; see write(). After a failed flush, which is logged, the
 * completed file may be damaged; it is renamed all the same.
 */
class PETRELRADAR_API FileWriter {
public:
    /**
     * Opens nothing.
     *
     * @param folder directory of the files, without a "/" at its end; must exist when a file is
     *        begun.
     * @param name_prefix first part of every file name.
     * @param file_count how many completed files to keep; 0 or less keeps every one.
     */
    FileWriter(std::string folder, std::string name_prefix, int file_count);

    /** close(). */
    ~FileWriter();

    FileWriter(FileWriter const&) = delete;
    FileWriter& operator=(FileWriter const&) = delete;

    /** try_open(). */
    bool open();

    /**
     * Begins a new file with a header, after deleting the oldest completed files beyond the kept
     * count. To be called when no file is open. Returns false when the file cannot be opened.
     */
    bool try_open();

    /** Whether a file is open now, after beginning one with try_open() if none was. */
    bool check_open();

    /**
     * Whether a file is open. A file that has disappeared from the disk is closed, without being
     * completed, and does not count; it does count when even closing it fails.
     */
    bool is_open();

    /**
     * Writes `size` raw bytes to the open file. A failure, having no file open included, is logged
     * and the bytes are not counted.
     */
    void write(char const* data, unsigned size);

    /**
     * Writes one frame, beginning a file if none is open, and counts it in the file's header.
     *
     * @return false when no file could be opened or the frame could not be counted.
     * @throws std::ios_base::failure when the counter in the header cannot be rewritten, as on a
     *         full disk. The bytes of the next frame then fail, too, which is logged; those of the
     *         one after it are appended at the end of the file, or of a new one if this one cannot
     *         be reopened. No frame in the file is overwritten. The counter counts every frame,
     *         stored or not.
     */
    bool write(std::string const& data);

    /** Writes the file header with the current analytics settings and starts counting at 0. */
    void write_file_header();

    /**
     * Counts one frame and rewrites the counter in the file's header. Returns false when no
     * header was written or the position in the file is unknown. Throws as write() does.
     */
    bool increment_frame_counter();

    /** Bytes written to the current file, or to the last one, header included, modulo 2^32. */
    unsigned get_bytes_written() const;

    /** Changes how many completed files to keep, 0 or less for all, from the next file on. */
    void setMaxFileCount(int count);

    /** Completes the open file: closes, flushes and renames it. Does nothing when none is open. */
    void close();

private:
    std::ofstream file;

protected:
    /** The name of the current file is all of its content. */
    std::stringstream file_name;
    std::string directory;

private:
    std::string prefix;

protected:
    /** When the current file was begun. */
    timeval open_time;

private:
    uint32_t frame_counter;
    /** Position of the counter in the file; -1 before the first header. */
    int32_t frame_counter_offset;
    int max_file_count;

protected:
    /** Paths of completed files, oldest first. */
    std::vector<std::string> completed_files;

private:
    uint32_t bytes_written;

    PETRELRADAR_LOCAL void delete_surplus_files();
    PETRELRADAR_LOCAL void rewind_file_name();
    PETRELRADAR_LOCAL void reopen_at_end();
};

}  // namespace Radar
