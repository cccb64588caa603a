#include "failure/failure_signal.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "lib/virtual_slots.h"

namespace {

using Radar::FailureSignal;
using Radar::HysteresFailureSignal;

class FailureSignalTest : public testing::Test {
protected:
    /** What was published since the last call; nothing when nothing was. */
    std::optional<bool> published() {
        if (!port.updated()) return std::nullopt;
        port.acknowledge();
        return *port.current();
    }

    Petrel::OutPort<radar_service_failure> port;
};

TEST_F(FailureSignalTest, ANewSignalPublishesThatThereIsNoFailure) {
    const FailureSignal signal(port, false);
    EXPECT_EQ(published(), false);
    EXPECT_FALSE(signal.state());
}

TEST_F(FailureSignalTest, ANewSignalPublishesThatThereIsAFailure) {
    const FailureSignal signal(port, true);
    EXPECT_EQ(published(), true);
    EXPECT_TRUE(signal.state());
}

TEST_F(FailureSignalTest, UnsetOfAnInactiveSignalPublishesNothing) {
    FailureSignal signal(port, false);
    published();
    EXPECT_FALSE(signal.unset());
    EXPECT_EQ(published(), std::nullopt);
}

TEST_F(FailureSignalTest, SetOfAnInactiveSignalPublishesTheFailure) {
    FailureSignal signal(port, false);
    published();
    EXPECT_TRUE(signal.set());
    EXPECT_EQ(published(), true);
    EXPECT_TRUE(signal.state());
}

TEST_F(FailureSignalTest, ASecondSetPublishesNothing) {
    FailureSignal signal(port, false);
    signal.set();
    published();
    EXPECT_FALSE(signal.set());
    EXPECT_EQ(published(), std::nullopt);
    EXPECT_TRUE(signal.state());
}

TEST_F(FailureSignalTest, UnsetOfAnActiveSignalPublishesTheEndOfTheFailure) {
    FailureSignal signal(port, true);
    published();
    EXPECT_TRUE(signal.unset());
    EXPECT_EQ(published(), false);
    EXPECT_FALSE(signal.state());
}

TEST_F(FailureSignalTest, SettingTheValueThatHoldsPublishesNothing) {
    FailureSignal signal(port, true);
    published();
    EXPECT_FALSE(signal.set(true));
    EXPECT_EQ(published(), std::nullopt);
}

TEST_F(FailureSignalTest, SettingTheOtherValuePublishesIt) {
    FailureSignal signal(port, true);
    published();
    EXPECT_TRUE(signal.set(false));
    EXPECT_EQ(published(), false);
    EXPECT_FALSE(signal.state());
}

TEST_F(FailureSignalTest, DestructionPublishesNothing) {
    {
        const FailureSignal signal(port, true);
        published();
    }
    EXPECT_EQ(published(), std::nullopt);
}

/** Counts what reaches set(bool) in place of the signal's own. */
class CountingSignal : public FailureSignal {
public:
    using FailureSignal::FailureSignal;
    using FailureSignal::set;
    bool set(bool value) override {
        values.push_back(value);
        return true;
    }

    std::vector<bool> values;
};

TEST_F(FailureSignalTest, SetAndUnsetGoThroughAnOverrideOfSettingTheValue) {
    CountingSignal signal(port, false);
    EXPECT_TRUE(signal.set());
    EXPECT_TRUE(signal.unset());
    EXPECT_EQ(signal.values, (std::vector<bool>{true, false}));
    EXPECT_FALSE(signal.state());
}

TEST_F(FailureSignalTest, OperationsKeepTheirPlacesAfterTheDestructor) {
    using test_support::slot_of;
    EXPECT_EQ(slot_of<bool (FailureSignal::*)()>(&FailureSignal::set), 2);
    EXPECT_EQ(slot_of(&FailureSignal::unset), 3);
    EXPECT_EQ(slot_of(&FailureSignal::state), 4);
    EXPECT_EQ(slot_of<bool (FailureSignal::*)(bool)>(&FailureSignal::set), 5);
    EXPECT_EQ(slot_of<bool (HysteresFailureSignal::*)()>(&HysteresFailureSignal::set), 2);
    EXPECT_EQ(slot_of(&HysteresFailureSignal::unset), 3);
}

class HysteresFailureSignalTest : public FailureSignalTest {
protected:
    /** The answers to `count` calls of set(). */
    static std::vector<bool> sets(FailureSignal& signal, int count) {
        std::vector<bool> answers;
        for (int i = 0; i < count; ++i) answers.push_back(signal.set());
        return answers;
    }

    static std::vector<bool> unsets(FailureSignal& signal, int count) {
        std::vector<bool> answers;
        for (int i = 0; i < count; ++i) answers.push_back(signal.unset());
        return answers;
    }

    using Answers = std::vector<bool>;
};

TEST_F(HysteresFailureSignalTest, ANewSignalPublishesItsInitialValue) {
    const HysteresFailureSignal signal(port, true, 3, 2);
    EXPECT_EQ(published(), true);
    EXPECT_TRUE(signal.state());
}

TEST_F(HysteresFailureSignalTest, RisesOnTheLastSetOfARun) {
    HysteresFailureSignal signal(port, false, 3, 2);
    published();
    EXPECT_FALSE(signal.set());
    EXPECT_EQ(published(), std::nullopt);
    EXPECT_TRUE(signal.set());
    EXPECT_EQ(published(), true);
    EXPECT_TRUE(signal.state());
}

TEST_F(HysteresFailureSignalTest, FallsOnTheLastUnsetOfARun) {
    HysteresFailureSignal signal(port, true, 3, 2);
    published();
    EXPECT_EQ(unsets(signal, 2), (Answers{false, false}));
    EXPECT_EQ(published(), std::nullopt);
    EXPECT_TRUE(signal.unset());
    EXPECT_EQ(published(), false);
    EXPECT_FALSE(signal.state());
}

TEST_F(HysteresFailureSignalTest, ASetStartsARunOfUnsetsAnew) {
    HysteresFailureSignal signal(port, true, 3, 2);
    unsets(signal, 2);
    EXPECT_FALSE(signal.set());
    EXPECT_EQ(unsets(signal, 3), (Answers{false, false, true}));
}

TEST_F(HysteresFailureSignalTest, AnUnsetStartsARunOfSetsAnew) {
    HysteresFailureSignal signal(port, false, 2, 3);
    sets(signal, 2);
    EXPECT_FALSE(signal.unset());
    EXPECT_EQ(sets(signal, 3), (Answers{false, false, true}));
}

TEST_F(HysteresFailureSignalTest, AlternatingReportsNeverChangeTheFlag) {
    HysteresFailureSignal signal(port, false, 2, 2);
    published();
    for (int i = 0; i < 20; ++i) {
        EXPECT_FALSE(signal.set());
        EXPECT_FALSE(signal.unset());
    }
    EXPECT_EQ(published(), std::nullopt);
    EXPECT_FALSE(signal.state());
}

TEST_F(HysteresFailureSignalTest, SetsWhileActiveDoNotCountTowardsTheNextRise) {
    HysteresFailureSignal signal(port, true, 1, 2);
    sets(signal, 5);
    EXPECT_TRUE(signal.unset());
    EXPECT_EQ(sets(signal, 2), (Answers{false, true}));
}

TEST_F(HysteresFailureSignalTest, UnsetsWhileInactiveDoNotCountTowardsTheNextFall) {
    HysteresFailureSignal signal(port, false, 2, 1);
    unsets(signal, 5);
    EXPECT_TRUE(signal.set());
    EXPECT_EQ(unsets(signal, 2), (Answers{false, true}));
}

TEST_F(HysteresFailureSignalTest, ARiseStartsTheCountForTheNextOneAnew) {
    HysteresFailureSignal signal(port, false, 1, 2);
    sets(signal, 2);
    signal.unset();
    EXPECT_EQ(sets(signal, 2), (Answers{false, true}));
}

TEST_F(HysteresFailureSignalTest, ThresholdsOfOneOrLessChangeTheFlagAtOnce) {
    for (const int threshold : {1, 0, -5}) {
        HysteresFailureSignal signal(port, false, threshold, threshold);
        EXPECT_EQ(sets(signal, 2), (Answers{true, false})) << threshold;
        EXPECT_EQ(unsets(signal, 2), (Answers{true, false})) << threshold;
    }
}

TEST_F(HysteresFailureSignalTest, SettingTheValueBypassesTheHysteresis) {
    HysteresFailureSignal signal(port, false, 3, 3);
    published();
    EXPECT_TRUE(signal.set(true));
    EXPECT_EQ(published(), true);
    EXPECT_FALSE(signal.set(true));
    EXPECT_TRUE(signal.state());
}

TEST_F(HysteresFailureSignalTest, SettingTheValueKeepsARunOfSets) {
    HysteresFailureSignal signal(port, false, 3, 3);
    sets(signal, 2);
    signal.set(true);
    signal.set(false);
    EXPECT_TRUE(signal.set());
}

TEST_F(HysteresFailureSignalTest, SettingTheValueKeepsARunOfUnsets) {
    HysteresFailureSignal signal(port, true, 3, 3);
    unsets(signal, 2);
    signal.set(false);
    signal.set(true);
    EXPECT_TRUE(signal.unset());
}

/** Would change the flag's value if the runs went through set(bool). */
class StubbornSignal : public HysteresFailureSignal {
public:
    using HysteresFailureSignal::HysteresFailureSignal;
    using HysteresFailureSignal::set;
    bool set(bool) override { return false; }
    bool state() const override { return false; }
};

TEST_F(HysteresFailureSignalTest, RunsChangeTheFlagItselfWhateverIsOverridden) {
    StubbornSignal signal(port, false, 2, 1);
    EXPECT_TRUE(signal.set());
    EXPECT_EQ(published(), true);
    EXPECT_EQ(unsets(signal, 2), (Answers{false, true}));
    EXPECT_EQ(published(), false);
}

}  // namespace
