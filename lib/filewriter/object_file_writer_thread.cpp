#include "filewriter/object_file_writer_thread.h"

#include <chrono>
#include <mutex>
#include <system_error>

#include "log/failure_report.h"

namespace Radar {

namespace {

constexpr std::chrono::milliseconds kPollInterval(50);

}  // namespace

ObjectFileWriterThread::ObjectFileWriterThread(int id)
    : ObjectFileWriter(id, "/tmp", 900, false, 0), stop(false) {}

ObjectFileWriterThread::~ObjectFileWriterThread() {
    if (!writer_thread.joinable()) return;
    stop = true;
    try {
        writer_thread.join();
    } catch (std::system_error const&) {  // NOLINT(bugprone-empty-catch): as promised
    }
}

void ObjectFileWriterThread::write(SocketBuffer const& frame) {
    if (enabled) push_buf(formatData(frame));
}

void ObjectFileWriterThread::push_buf(std::string const&& record) {
    const std::unique_lock<std::shared_mutex> lock(queue_mutex);
    queue.push_back(record);
}

unsigned ObjectFileWriterThread::pop_buf(std::string& record) {
    // Shared is enough: there is one consumer, and the producer's exclusive hold keeps it apart.
    const std::shared_lock<std::shared_mutex> lock(queue_mutex);
    if (queue.empty()) return 0;
    record = queue.front();
    queue.pop_front();
    return static_cast<unsigned>(queue.size());
}

unsigned ObjectFileWriterThread::writer() {
    std::string record;
    const unsigned left = pop_buf(record);
    if (!record.empty()) DataFileWriter::write(record);
    return left;
}

void ObjectFileWriterThread::writer_main() {
    while (!stop) {
        store_queued_records();
        std::this_thread::sleep_for(kPollInterval);
    }
    const std::unique_lock<std::shared_mutex> lock(queue_mutex);
    std::deque<std::string>().swap(queue);
}

/** Stores records until the queue is found empty, whether or not a stop was asked for meanwhile. */
void ObjectFileWriterThread::store_queued_records() {
    for (unsigned left = 1; left != 0;) {
        try {
            left = writer();
        } catch (std::ios_base::failure const& failure) {
            // The frame counter could not be rewritten. Uncaught, that would end the process.
            log_stream_failure(1, "Error writing " + file_name.str(), failure);
        }
    }
}

void ObjectFileWriterThread::configure(std::string key, int value) {
    ObjectFileWriter::configure(key, value);
    if (key != "FileWriterEnabled") return;
    if (!enabled && writer_thread.joinable()) {
        stop = true;
        writer_thread.join();
    } else if (enabled && !writer_thread.joinable()) {
        stop = false;
        writer_thread = std::thread(&ObjectFileWriterThread::writer_main, this);
    }
}

}  // namespace Radar
