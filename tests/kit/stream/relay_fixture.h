#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

#include "kit/stream/client.h"
#include "kit/stream/relay.h"
#include "tests/support/captured_log.h"
#include "tests/support/eventually.h"
#include "tests/support/private_paths.h"
#include "tests/support/stream_frames.h"

namespace stream_test {

/** A relay at a private path, and clients of it. */
class RelayTest : public test_support::PrivatePathsTest {
protected:
    using Client = std::unique_ptr<Kit::StreamClient>;
    using Result = Kit::StreamClient::Result;

    /** Clients that are stuck are kept, unless a test asks for something else. */
    void start(size_t queue_frames = 64, std::chrono::milliseconds stuck_after = kNever) {
        relay = std::make_unique<Kit::Relay>(Kit::RelayOptions{kPath, queue_frames, stuck_after});
    }

    /** A client that the relay has accepted. */
    Client connect() {
        const uint64_t accepted = relay->counters().clients_accepted;
        auto client = std::make_unique<Kit::StreamClient>(std::string(kPath));
        EXPECT_TRUE(test_support::eventually(
            [&] { return relay->counters().clients_accepted > accepted; }));
        return client;
    }

    /** Publishes frames with the timestamps `first` to `last`. */
    void publish(uint64_t first, uint64_t last, int targets = 2) {
        for (uint64_t timestamp = first; timestamp <= last; ++timestamp) {
            relay->publish(test_support::stream_frame(timestamp, targets));
        }
    }

    /** The timestamps of the next `count` frames, or of the frames up to the end of the stream. */
    static std::vector<uint64_t> receive(Client const& client, size_t count) {
        std::vector<uint64_t> timestamps;
        Kit::StreamFrame frame;
        while (timestamps.size() < count &&
               client->next(frame, std::chrono::seconds(30)) == Result::kFrame) {
            timestamps.push_back(frame.objects.timestamp());
        }
        return timestamps;
    }

    /** How the stream goes on. */
    static Result next(Client const& client) {
        Kit::StreamFrame frame;
        return client->next(frame, std::chrono::seconds(30));
    }

    Kit::ClientCounters only_client() const {
        const auto clients = relay->counters().clients;
        EXPECT_EQ(clients.size(), 1U);
        return clients.empty() ? Kit::ClientCounters{} : clients.front();
    }

    bool eventually_no_clients() const {
        return test_support::eventually([this] { return relay->counters().clients.empty(); });
    }

    static std::vector<std::string> log() { return test_support::captured_texts(); }

    static constexpr char kPath[] = "/tmp/radar.sock";
    static constexpr std::chrono::milliseconds kNever{0};

    std::unique_ptr<Kit::Relay> relay;
};

/** The numbers `first` to `last`. */
inline std::vector<uint64_t> numbers(uint64_t first, uint64_t last) {
    std::vector<uint64_t> all;
    for (uint64_t number = first; number <= last; ++number) all.push_back(number);
    return all;
}

}  // namespace stream_test
