#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "filewriter/object_file_writer_thread.h"
#include "lib/filewriter/frames.h"
#include "lib/filewriter/held_call.h"
#include "lib/filewriter/recorder_fixture.h"
#include "lib/filewriter/recording.h"
#include "lib/filewriter/thread_calls.h"

namespace test_support {

/** A recorder with identifier 7 whose writer thread sleeps for a millisecond, or while held. */
class WriterThreadTest : public RecorderTest {
protected:
    WriterThreadTest() {
        system_calls.nanosleep = [this](timespec const* time) {
            if (time->tv_sec != 0 || time->tv_nsec != 50000000) ++other_sleeps;
            sleep(std::chrono::milliseconds(1));
            return 0;
        };
    }

    void TearDown() override { sleep.let_go(); }

    /** From now on the thread that stores a record can be held in it. */
    void watch_storing() {
        system_calls.time = [this] {
            sleeps_before_record.push_back(sleep.calls());
            storing();
            return now.tv_sec;
        };
    }

    /** Writes frames with the timestamps `first` to `last` to the recorder. */
    void write_frames(unsigned first, unsigned last) {
        for (unsigned timestamp = first; timestamp <= last; ++timestamp) {
            make_frame_at(frame, timestamp);
            writer->write(frame);
        }
    }

    /** The timestamps of the frames in a recorded file, all of which are the recorder's. */
    static std::vector<unsigned> frames_in(std::string const& path) {
        std::vector<unsigned> timestamps;
        const Recording recording = parse_recording(read_file(path));
        Radar::SocketBuffer stored(0);
        for (Record const& record : parse_records(recording.body)) {
            EXPECT_EQ(record.tag, 0xFEED0007);
            EXPECT_TRUE(stored.set_data(record.payload));
            timestamps.push_back(static_cast<unsigned>(stored.timestamp()));
        }
        return timestamps;
    }

    static std::vector<unsigned> numbers(unsigned first, unsigned last) {
        std::vector<unsigned> result;
        for (unsigned number = first; number <= last; ++number) result.push_back(number);
        return result;
    }

    /** The threads of this process at present; one that is ending may count. */
    static size_t threads() { return list_directory("/proc/self/task").size(); }

    const std::string name = "radar_150525_093007_042";
    /** The sleep of the writer thread, which it begins when it has found the queue empty. */
    HeldCall sleep;
    int other_sleeps = 0;
    /** The storing of a record, and the sleeps that there were before each; see watch_storing(). */
    HeldCall storing;
    std::vector<int> sleeps_before_record;
    Radar::SocketBuffer frame{10};
    std::unique_ptr<Radar::ObjectFileWriterThread> writer =
        std::make_unique<Radar::ObjectFileWriterThread>(7);
};

/** A recorder whose writer thread runs. */
class RunningWriterThreadTest : public WriterThreadTest {
protected:
    ~RunningWriterThreadTest() override { before_join = nullptr; }

    void SetUp() override {
        WriterThreadTest::SetUp();
        if (!can_see_thread_calls()) GTEST_SKIP() << "joins of threads cannot be seen";
    }

    void switch_on() { writer->configure("FileWriterEnabled", 1); }
    void switch_off() { writer->configure("FileWriterEnabled", 0); }

    /** Destroys the recorder; its thread is held in its sleep until it is requested to stop. */
    void destroy_in_its_sleep() {
        before_join = [this] { sleep.let_go(); };
        writer.reset();
    }

    const std::string card = "/var/spool/storage/SD_DISK";
};

}  // namespace test_support
