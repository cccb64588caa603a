#include "radar/radar_status_interface.h"

#include <gmock/gmock.h>

#include <memory>
#include <stdexcept>
#include <thread>
#include <type_traits>

namespace {

using Radar::RadarStatusInterface;
using testing::Contains;
using testing::Pair;

using Callback = std::function<std::string()>;

/**
 * The registry is the process's and names stay in it: every test registers names of its own, and
 * what they answer is empty once the test is over.
 */
class RadarStatusInterfaceTest : public testing::Test {
protected:
    ~RadarStatusInterfaceTest() override {
        for (std::string const& name : names) registry.set_radar_status_callback(name, nothing);
    }

    void set(std::string const& name, Callback callback) {
        names.push_back(name);
        same_names()[name] = true;
        registry.set_radar_status_callback(name, std::move(callback));
    }

    /** A map in which every name of this process was entered in the same order. */
    static std::unordered_map<std::string, bool>& same_names() {
        static std::unordered_map<std::string, bool> names;
        return names;
    }

    static std::string nothing() { return ""; }

    RadarStatusInterface& registry = *RadarStatusInterface::instance;
    std::vector<std::string> names;
};

TEST_F(RadarStatusInterfaceTest, TheInstanceIsAPointerThatNeverChanges) {
    EXPECT_TRUE((std::is_same<decltype(RadarStatusInterface::instance),
                              RadarStatusInterface* const>::value));
    EXPECT_NE(RadarStatusInterface::instance, nullptr);
}

TEST_F(RadarStatusInterfaceTest, IsTheOnlyOneAndHasNoVirtualOperations) {
    EXPECT_FALSE(std::is_default_constructible<RadarStatusInterface>::value);
    EXPECT_FALSE(std::is_copy_constructible<RadarStatusInterface>::value);
    EXPECT_FALSE(std::is_move_constructible<RadarStatusInterface>::value);
    EXPECT_FALSE(std::is_polymorphic<RadarStatusInterface>::value);
}

TEST_F(RadarStatusInterfaceTest, EveryNameIsAnsweredByItsCallback) {
    set("temperature", [] { return "41"; });
    set("supply", [] { return "ok"; });
    const auto status = registry.get_radar_status();
    EXPECT_THAT(status, Contains(Pair("temperature", "41")));
    EXPECT_THAT(status, Contains(Pair("supply", "ok")));
}

TEST_F(RadarStatusInterfaceTest, ThereIsOneEntryForEachName) {
    set("one", nothing);
    set("two", nothing);
    set("one", nothing);
    EXPECT_EQ(registry.get_radar_status().size(), same_names().size());
}

TEST_F(RadarStatusInterfaceTest, AnEmptyTextIsAnEntry) {
    set("silent", nothing);
    EXPECT_THAT(registry.get_radar_status(), Contains(Pair("silent", "")));
}

TEST_F(RadarStatusInterfaceTest, ASecondCallbackReplacesTheFirst) {
    int first = 0;
    set("replaced", [&] { return std::to_string(++first); });
    set("replaced", [] { return "second"; });
    EXPECT_THAT(registry.get_radar_status(), Contains(Pair("replaced", "second")));
    EXPECT_EQ(first, 0);
}

TEST_F(RadarStatusInterfaceTest, ACallbackThatIsReplacedIsDestroyed) {
    auto owned = std::make_shared<int>(1);
    set("owner", [owned] { return std::to_string(*owned); });
    EXPECT_EQ(owned.use_count(), 2);
    set("owner", nothing);
    EXPECT_EQ(owned.use_count(), 1);
}

TEST_F(RadarStatusInterfaceTest, EveryCallbackIsCalledOnceForEachRequestAndNothingIsKept) {
    int calls = 0;
    set("counter", [&] { return std::to_string(++calls); });
    EXPECT_THAT(registry.get_radar_status(), Contains(Pair("counter", "1")));
    EXPECT_THAT(registry.get_radar_status(), Contains(Pair("counter", "2")));
    EXPECT_EQ(calls, 2);
}

TEST_F(RadarStatusInterfaceTest, RegisteringCallsNothing) {
    int calls = 0;
    set("idle", [&] { return std::to_string(++calls); });
    EXPECT_EQ(calls, 0);
}

TEST_F(RadarStatusInterfaceTest, CallbacksRunInTheOrderOfTheirMap) {
    std::vector<std::string> called;
    for (char const* name : {"delta", "alpha", "charlie", "bravo"}) {
        set(name, [&called, name] {
            called.push_back(name);
            return name;
        });
    }
    registry.get_radar_status();
    std::vector<std::string> order;
    for (auto const& entry : same_names()) {
        if (std::count(names.begin(), names.end(), entry.first) > 0) order.push_back(entry.first);
    }
    EXPECT_EQ(called, order);
}

TEST_F(RadarStatusInterfaceTest, ACallbackRunsOnTheRequestingThread) {
    std::thread::id ran_on;
    set("thread", [&] {
        ran_on = std::this_thread::get_id();
        return "";
    });
    std::thread::id requester;
    std::thread([&] {
        requester = std::this_thread::get_id();
        registry.get_radar_status();
    }).join();
    EXPECT_EQ(ran_on, requester);
}

TEST_F(RadarStatusInterfaceTest, ACopyOfTheCallbackIsCalled) {
    set("stateful", [calls = 0]() mutable { return std::to_string(++calls); });
    registry.get_radar_status();
    EXPECT_THAT(registry.get_radar_status(), Contains(Pair("stateful", "1")))
        << "the state of a call goes with the copy";
}

TEST_F(RadarStatusInterfaceTest, TheCopyIsDestroyedWithinTheRequest) {
    auto owned = std::make_shared<int>(1);
    long during = 0;
    set("copied", [owned, &during] {
        during = owned.use_count();
        return "";
    });
    registry.get_radar_status();
    EXPECT_EQ(during, 3);
    EXPECT_EQ(owned.use_count(), 2);
}

TEST_F(RadarStatusInterfaceTest, ACallbackMayReplaceItself) {
    set("restless", [this] {
        registry.set_radar_status_callback("restless", [] { return "calm"; });
        return "restless";
    });
    EXPECT_THAT(registry.get_radar_status(), Contains(Pair("restless", "restless")));
    EXPECT_THAT(registry.get_radar_status(), Contains(Pair("restless", "calm")));
}

TEST_F(RadarStatusInterfaceTest, WhatACallbackThrowsLeavesTheRequest) {
    set("failing", []() -> std::string { throw std::runtime_error("no sensor"); });
    EXPECT_THAT([this] { registry.get_radar_status(); },
                testing::ThrowsMessage<std::runtime_error>("no sensor"));
}

TEST_F(RadarStatusInterfaceTest, AnEmptyCallbackIsStoredAndFailsTheRequest) {
    set("unset", nullptr);
    EXPECT_THROW(registry.get_radar_status(), std::bad_function_call);
}

TEST_F(RadarStatusInterfaceTest, CallbacksAfterOneThatThrowsAreNotCalled) {
    int calls = 0;
    const auto throw_at_once = [&calls]() -> std::string {
        ++calls;
        throw std::runtime_error("no sensor");
    };
    set("first or second", throw_at_once);
    set("second or first", throw_at_once);
    EXPECT_THROW(registry.get_radar_status(), std::runtime_error);
    EXPECT_EQ(calls, 1);
}

TEST_F(RadarStatusInterfaceTest, ARequestSucceedsOnceTheFailingCallbackIsReplaced) {
    set("recovering", nullptr);
    EXPECT_THROW(registry.get_radar_status(), std::bad_function_call);
    set("recovering", [] { return "up"; });
    EXPECT_THAT(registry.get_radar_status(), Contains(Pair("recovering", "up")));
}

}  // namespace
