#include "lib/filewriter/writer_thread_fixture.h"

namespace {

using test_support::before_join;
using test_support::list_directory;
using testing::ElementsAre;

class ObjectFileWriterThreadStopTest : public test_support::RunningWriterThreadTest {};

TEST_F(ObjectFileWriterThreadStopTest, SwitchingOffCompletesTheFileBeforeTheThreadIsStopped) {
    bool thread_was_running = false;
    switch_on();
    sleep.hold();
    system_calls.rename = [&](char const* from, char const* to) {
        thread_was_running = sleep.is_inside();
        sleep.let_go();
        return test_support::real_rename(from, to);
    };
    switch_off();
    EXPECT_TRUE(thread_was_running);
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name + ".data"));
}

TEST_F(ObjectFileWriterThreadStopTest, SwitchingOffWaitsForTheEndOfTheThread) {
    int joins = 0;
    switch_on();
    sleep.hold();
    before_join = [&] {
        ++joins;
        sleep.let_go();
    };
    switch_off();
    EXPECT_EQ(joins, 1);
    EXPECT_FALSE(sleep.is_inside());
}

TEST_F(ObjectFileWriterThreadStopTest, SwitchingOffTwiceEndsTheThreadOnce) {
    int joins = 0;
    before_join = [&joins] { ++joins; };
    switch_on();
    switch_off();
    switch_off();
    writer.reset();
    EXPECT_EQ(joins, 1);
}

TEST_F(ObjectFileWriterThreadStopTest, SwitchingOffDiscardsWhatIsQueued) {
    switch_on();
    write_frames(1, 1);
    sleep.wait_for_a_round();
    sleep.hold();
    write_frames(2, 3);
    before_join = [this] { sleep.let_go(); };
    switch_off();
    EXPECT_EQ(frames_in(first_name + ".data"), numbers(1, 1));
}

TEST_F(ObjectFileWriterThreadStopTest, SwitchingOnAgainStartsANewThreadAndANewFile) {
    switch_on();
    sleep.hold();
    write_frames(1, 1);
    before_join = [this] { sleep.let_go(); };
    switch_off();
    ++now.tv_sec;
    switch_on();
    write_frames(2, 2);
    sleep.wait_for_a_round();
    EXPECT_EQ(sleep.threads(), 2);
    EXPECT_EQ(frames_in("/tmp/radar_150525_093008_042"), numbers(2, 2));
}

TEST_F(ObjectFileWriterThreadStopTest, DestructionStoresWhatIsQueuedWhileTheThreadIsBusy) {
    watch_storing();
    switch_on();
    sleep.hold();
    storing.hold_next();
    write_frames(1, 2);
    sleep.let_go();
    storing.hold();
    write_frames(3, 20);
    before_join = [this] { storing.let_go(); };
    writer.reset();
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name + ".data"));
    EXPECT_EQ(frames_in(first_name + ".data"), numbers(1, 20));
}

TEST_F(ObjectFileWriterThreadStopTest, DestructionDropsWhatArrivedDuringTheLastSleep) {
    switch_on();
    write_frames(1, 1);
    sleep.wait_for_a_round();
    sleep.hold();
    write_frames(2, 3);
    destroy_in_its_sleep();
    EXPECT_EQ(frames_in(first_name + ".data"), numbers(1, 1));
}

TEST_F(ObjectFileWriterThreadStopTest, DestructionCompletesTheFileAfterTheThreadHasEnded) {
    bool thread_had_ended = false;
    switch_on();
    sleep.hold();
    system_calls.rename = [&](char const* from, char const* to) {
        thread_had_ended = !sleep.is_inside();
        return test_support::real_rename(from, to);
    };
    destroy_in_its_sleep();
    EXPECT_TRUE(thread_had_ended);
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name + ".data"));
}

}  // namespace
