#include <atomic>
#include <thread>

#include "lib/filewriter/writer_thread_fixture.h"

namespace {

using test_support::captured_log;
using test_support::list_directory;
using test_support::parse_recording;
using test_support::read_file;
using testing::ElementsAre;

class ObjectFileWriterThreadRunTest : public test_support::RunningWriterThreadTest {};

TEST_F(ObjectFileWriterThreadRunTest, SwitchingOnBeginsAFileAndStartsAThread) {
    switch_on();
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name));
    sleep.wait_for_a_round();
    EXPECT_EQ(sleep.threads(), 1);
}

TEST_F(ObjectFileWriterThreadRunTest, SwitchingOnTwiceStartsOneThread) {
    switch_on();
    sleep.wait_for_a_round();
    const size_t before = threads();
    switch_on();
    EXPECT_EQ(threads(), before);
}

TEST_F(ObjectFileWriterThreadRunTest, AnotherKeyNeitherStopsNorRestartsTheThread) {
    switch_on();
    sleep.hold();
    writer->configure("FileWriterFileTime", 60);
    writer->configure("FileWriterMaxFileSize", 0);
    EXPECT_TRUE(sleep.is_inside());
    sleep.let_go();
    write_frames(1, 1);
    sleep.wait_for_a_round();
    EXPECT_EQ(frames_in(first_name), numbers(1, 1));
    EXPECT_EQ(sleep.threads(), 1);
}

TEST_F(ObjectFileWriterThreadRunTest, FramesAreStoredInTheirOrder) {
    switch_on();
    write_frames(1, 500);
    sleep.wait_for_a_round();
    EXPECT_EQ(frames_in(first_name), numbers(1, 500));
    EXPECT_EQ(parse_recording(read_file(first_name)).frames, 500U);
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(ObjectFileWriterThreadRunTest, TheThreadSleepsForFiftyMilliseconds) {
    switch_on();
    sleep.wait_for_a_round();
    EXPECT_EQ(other_sleeps, 0);
}

TEST_F(ObjectFileWriterThreadRunTest, TheThreadDoesNotSleepWhileRecordsAreLeft) {
    watch_storing();
    switch_on();
    sleep.hold();
    write_frames(1, 100);
    const int sleeps = sleep.calls();
    sleep.let_go();
    sleep.wait_for_a_round();
    EXPECT_EQ(sleeps_before_record, std::vector<int>(100, sleeps));
}

TEST_F(ObjectFileWriterThreadRunTest, AFrameIsQueuedWhileTheThreadIsBusyWithItsFile) {
    watch_storing();
    switch_on();
    storing.hold_next();
    write_frames(1, 1);
    storing.hold();
    write_frames(2, 3);
    EXPECT_TRUE(storing.is_inside());
    storing.let_go();
    sleep.wait_for_a_round();
    EXPECT_EQ(frames_in(first_name), numbers(1, 3));
}

TEST_F(ObjectFileWriterThreadRunTest,
       AFrameThatArrivesWhileTheLastOneIsStoredWaitsForTheNextRound) {
    watch_storing();
    switch_on();
    storing.hold_next();
    write_frames(1, 1);
    storing.hold();
    write_frames(2, 2);
    storing.let_go();
    sleep.wait_for_a_round();
    ASSERT_EQ(sleeps_before_record.size(), 2U);
    EXPECT_EQ(sleeps_before_record[1], sleeps_before_record[0] + 1);
}

TEST_F(ObjectFileWriterThreadRunTest, FilesAreRotatedOnTheWriterThread) {
    std::atomic<int> on_this_thread{0};
    std::atomic<int> on_another{0};
    system_calls.fsync = [&, caller = std::this_thread::get_id()](int) {
        ++(std::this_thread::get_id() == caller ? on_this_thread : on_another);
        return 0;
    };
    writer->configure("FileWriterMaxFileSize", 1);
    switch_on();
    write_frames(1, 1);
    sleep.wait_for_a_round();
    EXPECT_EQ(on_this_thread, 0);
    EXPECT_EQ(on_another, 1);
    writer.reset();
}

TEST_F(ObjectFileWriterThreadRunTest, NoFrameIsLostOrDoubledOverManyFiles) {
    system_calls.gettimeofday = [this](timeval* time) {
        now.tv_usec += 1000;  // files that are begun in one millisecond have one name
        *time = now;
        return 0;
    };
    writer->configure("FileWriterMaxFileSize", 200);
    switch_on();
    write_frames(1, 300);
    sleep.wait_for_a_round();
    switch_off();
    std::vector<unsigned> stored;
    for (std::string const& file : list_directory("/tmp")) {
        for (const unsigned timestamp : frames_in("/tmp/" + file)) stored.push_back(timestamp);
    }
    EXPECT_GT(list_directory("/tmp").size(), 10U);
    EXPECT_EQ(stored, numbers(1, 300));
}

TEST_F(ObjectFileWriterThreadRunTest, RecordsQueuedBeforeTheThreadWasStartedAreStored) {
    writer->setEnabled(true);
    write_frames(1, 3);
    switch_on();
    sleep.wait_for_a_round();
    EXPECT_EQ(frames_in(first_name), numbers(1, 3));
}

TEST_F(ObjectFileWriterThreadRunTest, ANewLocationWhileTheThreadSleepsIsUsedFromThenOn) {
    switch_on();
    write_frames(1, 1);
    sleep.wait_for_a_round();
    sleep.hold();
    writer->configure("FileWriterLocation", 1);
    sleep.let_go();
    write_frames(2, 2);
    sleep.wait_for_a_round();
    EXPECT_EQ(frames_in(first_name + ".data"), numbers(1, 1));
    EXPECT_EQ(frames_in(card + "/" + name), numbers(2, 2));
}

}  // namespace
