#include "filewriter/object_file_writer_thread.h"

#include <pthread.h>

#include <cerrno>
#include <limits>
#include <system_error>
#include <type_traits>

#include "lib/allocations.h"
#include "lib/filewriter/thread_calls.h"
#include "lib/filewriter/writer_thread_fixture.h"

namespace {

using Radar::ObjectFileWriterThread;
using test_support::list_directory;
using test_support::parse_recording;
using test_support::read_file;
using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::is_base_of<Radar::ObjectFileWriter, ObjectFileWriterThread>::value,
              "an object recorder");
static_assert(!std::is_polymorphic<ObjectFileWriterThread>::value, "no virtual operations");

/** The queue and the writer's step, without a writer thread: the test is the writer. */
class ObjectFileWriterThreadQueueTest : public test_support::WriterThreadTest {
protected:
    std::string popped() {
        std::string record = "none";
        writer->pop_buf(record);
        return record;
    }
};

TEST_F(ObjectFileWriterThreadQueueTest, APopOfAnEmptyQueueLeavesTheRecordAlone) {
    std::string record = "as it was";
    EXPECT_EQ(writer->pop_buf(record), 0U);
    EXPECT_EQ(record, "as it was");
}

TEST_F(ObjectFileWriterThreadQueueTest, RecordsArePoppedOldestFirst) {
    writer->push_buf("first");
    writer->push_buf("second");
    EXPECT_EQ(popped(), "first");
    EXPECT_EQ(popped(), "second");
    EXPECT_EQ(popped(), "none");
}

TEST_F(ObjectFileWriterThreadQueueTest, APopReturnsHowManyAreLeft) {
    for (int i = 0; i < 3; ++i) writer->push_buf("record");
    std::string record;
    EXPECT_EQ(writer->pop_buf(record), 2U);
    EXPECT_EQ(writer->pop_buf(record), 1U);
    EXPECT_EQ(writer->pop_buf(record), 0U);
}

TEST_F(ObjectFileWriterThreadQueueTest, APushedRecordIsCopied) {
    std::string record(1000, 'x');
    writer->push_buf(std::move(record));
    EXPECT_EQ(record.size(), 1000U);  // NOLINT(bugprone-use-after-move): that is the claim
}

TEST_F(ObjectFileWriterThreadQueueTest, APushLocksTheQueueForItselfAndAPopSharesIt) {
    if (!test_support::can_see_thread_calls()) GTEST_SKIP() << "locks cannot be seen";
    test_support::counted_locks = {};
    writer->push_buf("record");
    EXPECT_EQ(test_support::counted_locks.exclusive, 1);
    EXPECT_EQ(test_support::counted_locks.shared, 0);
    popped();
    EXPECT_EQ(test_support::counted_locks.exclusive, 1);
    EXPECT_EQ(test_support::counted_locks.shared, 1);
}

TEST_F(ObjectFileWriterThreadQueueTest, ANewRecorderIsOffWithoutAThread) {
    const size_t before = threads();
    const ObjectFileWriterThread other(8);
    EXPECT_EQ(threads(), before);
    EXPECT_THAT(list_directory("/tmp"), IsEmpty());
}

TEST_F(ObjectFileWriterThreadQueueTest, FramesAreDroppedWhileRecordingIsOff) {
    write_frames(1, 1);
    EXPECT_EQ(popped(), "none");
    EXPECT_THAT(list_directory("/tmp"), IsEmpty());
}

TEST_F(ObjectFileWriterThreadQueueTest, AFrameIsNotEvenEncodedWhileRecordingIsOff) {
    test_support::make_frame_of(frame, 300);
    test_support::Allocations allocations;
    allocations.out_of_memory = true;
    EXPECT_NO_THROW(writer->write(frame));
}

TEST_F(ObjectFileWriterThreadQueueTest, SwitchedOnDirectlyItOpensAFileAndQueuesWithoutAThread) {
    const size_t before = threads();
    writer->setEnabled(true);
    write_frames(1, 1);
    EXPECT_EQ(threads(), before);
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name));
    EXPECT_EQ(popped(), writer->formatData(frame));
}

TEST_F(ObjectFileWriterThreadQueueTest, AnotherKeyStartsNoThread) {
    const size_t before = threads();
    writer->setEnabled(true);
    for (char const* key : {"FileWriterFileTime", "FileWriterLocation", "FileWriterMaxFileCount",
                            "FileWriterMaxFileSize", "DataFileWriterEnabled", ""}) {
        writer->configure(key, 1);
    }
    EXPECT_EQ(threads(), before);
}

TEST_F(ObjectFileWriterThreadQueueTest, SwitchingOffWithoutAThreadCompletesTheFile) {
    writer->setEnabled(true);
    writer->configure("FileWriterEnabled", 0);
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name + ".data"));
    EXPECT_EQ(sleep.threads(), 0);
}

TEST_F(ObjectFileWriterThreadQueueTest, TheWriterStoresOneRecordAndReturnsHowManyAreLeft) {
    writer->setEnabled(true);
    write_frames(1, 2);
    EXPECT_EQ(writer->writer(), 1U);
    EXPECT_EQ(frames_in(first_name), numbers(1, 1));
    EXPECT_EQ(writer->writer(), 0U);
    EXPECT_EQ(frames_in(first_name), numbers(1, 2));
}

TEST_F(ObjectFileWriterThreadQueueTest, TheWriterStoresNothingWhenTheQueueIsEmpty) {
    writer->setEnabled(true);
    EXPECT_EQ(writer->writer(), 0U);
    writer->push_buf("");
    EXPECT_EQ(writer->writer(), 0U);
    writer->setEnabled(false);
    EXPECT_EQ(parse_recording(read_file(first_name + ".data")).frames, 0U);
}

TEST_F(ObjectFileWriterThreadQueueTest, TheWriterDiscardsWhatItPopsWhileRecordingIsOff) {
    writer->setEnabled(true);
    write_frames(1, 2);
    writer->setEnabled(false);
    EXPECT_EQ(writer->writer(), 1U);
    EXPECT_EQ(writer->writer(), 0U);
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name + ".data"));
    EXPECT_EQ(parse_recording(read_file(first_name + ".data")).frames, 0U);
}

TEST_F(ObjectFileWriterThreadQueueTest, TheWriterPassesOnAFailedRewriteOfTheCounter) {
    writer->setEnabled(true);
    write_frames(1, 1);
    system_calls.write = test_support::fails_with(ENOSPC);
    EXPECT_THROW(writer->writer(), std::ios_base::failure);
    system_calls.write = nullptr;
}

TEST_F(ObjectFileWriterThreadQueueTest, AFileStaysOpenForFifteenMinutesOfAnySize) {
    writer->setEnabled(true);
    now.tv_sec += 900;
    writer->push_buf(std::string(10 << 20, 'x'));
    writer->writer();
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name));
    now.tv_sec += 1;
    writer->push_buf("x");
    writer->writer();
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name + ".data", "radar_150525_094508_042"));
}

TEST_F(ObjectFileWriterThreadQueueTest, DestructionWithoutAThreadDropsTheQueueAndCompletesTheFile) {
    writer->setEnabled(true);
    write_frames(1, 2);
    writer.reset();
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name + ".data"));
    EXPECT_EQ(frames_in(first_name + ".data"), numbers(1, 0));
}

TEST_F(ObjectFileWriterThreadQueueTest, AThreadThatCannotBeStartedReachesTheCaller) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_getattr_default_np(&attributes), 0);
    pthread_attr_t unreachable = attributes;
    constexpr size_t kMoreThanThereIs = std::numeric_limits<size_t>::max() / 8 * 7;
    ASSERT_EQ(pthread_attr_setstacksize(&unreachable, kMoreThanThereIs), 0);
    ASSERT_EQ(pthread_setattr_default_np(&unreachable), 0);
    EXPECT_THROW(writer->configure("FileWriterEnabled", 1), std::system_error);
    ASSERT_EQ(pthread_setattr_default_np(&attributes), 0);
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name)) << "recording is on";
    writer->configure("FileWriterEnabled", 1);
    sleep.wait_for_a_round();
    EXPECT_EQ(sleep.threads(), 1);
}

}  // namespace
