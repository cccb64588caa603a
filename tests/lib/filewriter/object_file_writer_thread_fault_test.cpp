#include <atomic>
#include <cerrno>
#include <filesystem>

#include "lib/filewriter/writer_thread_fixture.h"

namespace {

using test_support::captured_log;

/** The counter in the file's header cannot be rewritten while `failing` is set. */
class ObjectFileWriterThreadFaultTest : public test_support::RunningWriterThreadTest {
protected:
    ObjectFileWriterThreadFaultTest() {
        system_calls.write = [this](int fd, void const* bytes, size_t size) -> ssize_t {
            if (!failing) return test_support::real_write(fd, bytes, size);
            errno = ENOSPC;
            return -1;
        };
    }

    ~ObjectFileWriterThreadFaultTest() override { writer.reset(); }

    /** Writes one frame and waits until the thread has stored or dropped it. */
    void store(unsigned timestamp) {
        write_frames(timestamp, timestamp);
        sleep.wait_for_a_round();
    }

    std::atomic<bool> failing{false};
};

TEST_F(ObjectFileWriterThreadFaultTest, AFailedRewriteOfTheCounterIsLogged) {
    switch_on();
    store(1);
    failing = true;
    store(2);
    EXPECT_EQ(captured_log(), (Log{failed_stream(1, "Error writing " + first_name)}));
}

TEST_F(ObjectFileWriterThreadFaultTest, RecordingGoesOnAfterAFailedRewriteOfTheCounter) {
    switch_on();
    store(1);
    failing = true;
    store(2);
    failing = false;
    store(3);
    store(4);
    EXPECT_EQ(frames_in(first_name), (std::vector<unsigned>{1, 2, 4}));
    EXPECT_EQ(captured_log(), (Log{failed_stream(1, "Error writing " + first_name),
                                   failed_stream(1, "Error writing " + first_name)}));
}

TEST_F(ObjectFileWriterThreadFaultTest, EveryQueuedRecordIsTriedWhileTheDiskIsFull) {
    switch_on();
    store(1);
    sleep.hold();
    failing = true;
    write_frames(2, 4);
    sleep.let_go();
    sleep.wait_for_a_round();
    // The first of the three finds the stream in order, the others are refused and counted in vain.
    EXPECT_EQ(captured_log(), Log(5, failed_stream(1, "Error writing " + first_name)));
}

TEST_F(ObjectFileWriterThreadFaultTest, AnUnreachableDirectoryIsLoggedForEveryFrame) {
    std::filesystem::remove(card);
    switch_on();
    sleep.hold();
    writer->configure("FileWriterLocation", 1);
    sleep.let_go();
    store(1);
    store(2);
    EXPECT_EQ(captured_log(), Log(3, failed_stream(2, "Failed to open " + card + "/" + name)));
}

}  // namespace
