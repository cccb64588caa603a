#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "kit/encoding/frame_magic.h"
#include "kit/stream/format.h"
#include "kit/stream/relay.h"
#include "radar_objects/radar_objects.pb.h"
#include "tests/support/eventually.h"
#include "tests/support/private_paths.h"
#include "tests/support/process.h"

namespace tools_test {

/** A service at a private path, for the program to listen to. */
class ListenTest : public test_support::PrivatePathsTest {
protected:
    void SetUp() override {
        PrivatePathsTest::SetUp();
        if (!IsSkipped()) start_service();
    }

    void start_service() {
        service = std::make_unique<Kit::Relay>(Kit::RelayOptions{"/tmp/radar.sock"});
    }

    /** Ends the service after everything was delivered. */
    void stop_service() {
        service->stop(std::chrono::seconds(30));
        service.reset();
    }

    /** Waits until the service has a client. */
    void wait_for_client() const {
        ASSERT_TRUE(
            test_support::eventually([this] { return !service->counters().clients.empty(); }));
    }

    /** Publishes a frame with one target at `range`. */
    void publish(uint64_t timestamp, float range = 2.5F, float speed = -0.75F) const {
        RO::RadarObjects frame;
        frame.set_magic(Kit::kFrameMagic);
        frame.set_timestamp(timestamp);
        frame.add_targets()->set_r(range);
        frame.mutable_targets(0)->set_rdot(speed);
        service->publish(Kit::stream_frame(frame.SerializeAsString()));
    }

    static constexpr char kSource[] = "unix:/tmp/radar.sock";

    std::unique_ptr<Kit::Relay> service;
};

}  // namespace tools_test
