#pragma once

#include <atomic>
#include <deque>
#include <shared_mutex>
#include <string>
#include <thread>

#include "filewriter/object_file_writer.h"
#include "petrelradar_export.h"

namespace Radar {

/**
 * A recorder for frames of targets with a separate thread for the file work: write() formats and
 * queues the record, the writer thread stores it. The queue has no limit; it grows while
 * storage is slower than the frames.
 *
 * Owns the writer thread, which runs from configure("FileWriterEnabled", 1) to switching off or
 * destruction. write(), configure() and the destructor belong to one thread, the caller's. Only the
 * queue is locked: settings that open, complete or move a file (enable, location), and restart()
 * and setEnabled(), act on the caller's thread while the writer thread may be storing a record, so
 * the caller lets the queue run empty first.
 *
 * Switching off completes the file at once and discards the records that are still queued.
 * Destruction while recording is on lets the writer thread store the records up to the moment at
 * which it finds the queue empty; those that arrive after it, while the thread sleeps (50 ms), are
 * dropped. A failure of the file is logged from the writer thread, which goes on with the next
 * record.
 */
class PETRELRADAR_API ObjectFileWriterThread : public ObjectFileWriter {
public:
    /** A recorder that is off: "/tmp", files of at most 900 s, tag 0xFEED0000 | `id`. */
    explicit ObjectFileWriterThread(int id);

    /** Ends the writer thread, drops what is queued after that, and completes the file. */
    ~ObjectFileWriterThread();

    /** Queues the frame's record; nothing while recording is off. Never waits for the file. */
    void write(SocketBuffer const& frame);

    /** Appends a record to the queue. Any thread. */
    void push_buf(std::string const&& record);

    /**
     * Moves the oldest record of the queue to `record`. Returns how many are left; 0 also when the
     * queue was empty, which leaves `record` unchanged. One thread at a time.
     */
    unsigned pop_buf(std::string& record);

    /**
     * Stores the oldest record of the queue, if it has any, as DataFileWriter::write() does.
     * Returns how many are left. Throws as that one does.
     */
    unsigned writer();

    /** The writer thread's work: stores records until it is requested to stop. */
    void writer_main();

    /**
     * Applies one setting as ObjectFileWriter::configure() does; "FileWriterEnabled" also starts or
     * ends the writer thread.
     *
     * @throws std::system_error when the thread cannot be started.
     */
    void configure(std::string key, int value);

private:
    PETRELRADAR_LOCAL void store_queued_records();

    std::thread writer_thread;
    std::atomic<bool> stop;
    std::shared_mutex queue_mutex;
    std::deque<std::string> queue;
};

}  // namespace Radar
