#pragma once

#include <gmock/gmock.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "kit/recording/format.h"
#include "service/recorder.h"
#include "tests/support/eventually.h"
#include "tests/support/private_paths.h"
#include "tests/support/recordings.h"
#include "tests/support/system_calls.h"

namespace service_test {

constexpr char kSdCard[] = "/var/spool/storage/SD_DISK";

/** A recorder of raw records of 100 bytes, on a directory of its own. */
class RecorderTest : public test_support::PrivatePathsTest {
protected:
    using Clock = Service::Recorder::Clock;

    static constexpr size_t kRecordSize = 100;

    void TearDown() override { recorder_.reset(); }

    void start(std::string const& directory = "/tmp") {
        options_.name = "raw";
        options_.storage.directory = directory;
        options_.prefix = "raw";
        options_.make_writer = [directory] {
            return Service::make_data_writer(directory, "raw", {});
        };
        recorder_ = std::make_unique<Service::Recorder>(options_);
    }

    /** Pushes records that begin with the numbers from `first` on. */
    void push(int count = 1, int first = 0) {
        for (int i = first; i < first + count; ++i) {
            std::string record = std::to_string(i);
            record.resize(kRecordSize, ' ');
            recorder_->push(record);
        }
    }

    Kit::RecorderStatus status() const { return recorder_->status(Clock::now()); }

    template <typename Condition>
    bool await(Condition condition) {
        return test_support::eventually([&] { return condition(status()); });
    }

    bool await_written(uint64_t count) {
        return await([&](auto const& status) { return status.frames_written == count; });
    }

    bool await_failure() {
        return await([](auto const& status) { return !status.storage.empty(); });
    }

    /** Has everything stored and completed. Returns the status then. */
    Kit::RecorderStatus finish() {
        recorder_->finish();
        EXPECT_TRUE(test_support::eventually([&] { return recorder_->is_finished(); }));
        return status();
    }

    /** That every frame is accounted for. */
    static void expect_sum(Kit::RecorderStatus const& status) {
        EXPECT_EQ(status.frames, status.frames_written + status.queued + status.frames_dropped +
                                     status.frames_failed);
    }

    /** The numbers of the whole records in the file, whose header has to count them. */
    static std::vector<int> records_of(std::string const& path) {
        const std::string content = test_support::read_file(path);
        EXPECT_GE(content.size(), Kit::kRecordingHeaderSize);
        EXPECT_EQ((content.size() - Kit::kRecordingHeaderSize) % kRecordSize, 0U)
            << "a torn record";
        std::vector<int> numbers;
        for (size_t i = Kit::kRecordingHeaderSize; i + kRecordSize <= content.size();
             i += kRecordSize) {
            numbers.push_back(std::stoi(content.substr(i, kRecordSize)));
        }
        EXPECT_EQ(Kit::read_header(content).frame_count, numbers.size());
        return numbers;
    }

    /** The numbers in all completed files of a directory, in order. */
    static std::vector<int> completed_in(std::string const& directory) {
        std::vector<int> all;
        for (std::string const& name : test_support::recordings_in(directory, "raw")) {
            EXPECT_THAT(name, testing::EndsWith(".data"));
            for (const int number : records_of(directory + "/" + name)) all.push_back(number);
        }
        return all;
    }

    static std::vector<int> numbers(int from, int to) {
        std::vector<int> all;
        for (int i = from; i < to; ++i) all.push_back(i);
        return all;
    }

    Service::RecorderOptions options_;
    test_support::SystemCalls system_calls_;
    std::unique_ptr<Service::Recorder> recorder_;
};

}  // namespace service_test
