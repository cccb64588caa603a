#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "kit/base/error.h"
#include "service/recorders.h"
#include "tests/support/eventually.h"
#include "tests/support/private_paths.h"
#include "tests/support/recordings.h"
#include "tests/support/system_calls.h"

namespace service_test {

using test_support::frame_at;
using test_support::recorded_frames;
using test_support::recordings_in;
using test_support::timestamps;

using Table = std::unordered_map<std::string, int>;

/** The recorders, with frames to record. */
class RecordersTest : public test_support::PrivatePathsTest {
protected:
    /** Starts the recorders and waits until they have tried their storage. */
    void start(Table table = {}) {
        table.emplace("StorageIsMount", 0);
        recorders_ = std::make_unique<Service::Recorders>(Service::Settings("test", table));
        EXPECT_TRUE(test_support::eventually([&] { return recorders_->is_started(); }));
    }

    /** Waits until a condition holds of a recorder's status. Returns whether it came to hold. */
    template <typename Condition>
    bool await(std::string const& name, Condition condition) {
        return test_support::eventually([&] { return condition(status(name)); });
    }

    Kit::RecorderStatus status(std::string const& name) const {
        return recorders_->status(Clock::now())[name];
    }

    /** Has everything stored and completed. */
    void finish() {
        recorders_->finish();
        EXPECT_TRUE(test_support::eventually(
            [&] { return recorders_->is_finished(Clock::now(), std::chrono::seconds(60)); }));
    }

    /** That every frame is accounted for. */
    void expect_sums() const {
        for (auto const& [name, status] : recorders_->status(Clock::now())) {
            EXPECT_EQ(status.frames, status.frames_written + status.queued + status.frames_dropped +
                                         status.frames_failed)
                << name;
        }
    }

    std::string refusal(Table const& table = {}) {
        try {
            start(table);
        } catch (Kit::Error const& error) {
            return error.what();
        }
        return "";
    }

    /** Records one frame, `now_ms` after the first. */
    void record(uint64_t timestamp, int now_ms = 0, bool failure_active = false) {
        buffer_.clear();
        buffer_.set_timestamp(timestamp);
        buffer_.push_back(frame_at(0, 1).targets(0));
        recorders_->record(
            buffer_,
            [&] {
                ++raw_records_;
                return raw_record_;
            },
            failure_active, start_ + std::chrono::milliseconds(now_ms));
    }

    static std::vector<uint64_t> recorded(std::string const& directory) {
        return timestamps(recorded_frames(directory, recordings_in(directory, "radar")));
    }

    using Clock = Service::Recorders::Clock;

    Clock::time_point start_ = Clock::now();
    Radar::SocketBuffer buffer_{8};
    std::string raw_record_ = "raw";
    int raw_records_ = 0;
    test_support::SystemCalls system_calls_;
    std::unique_ptr<Service::Recorders> recorders_;
};

}  // namespace service_test
