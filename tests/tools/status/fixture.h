#pragma once

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "kit/status/document.h"
#include "tests/support/fake_service.h"
#include "tests/support/inside.h"
#include "tests/support/private_paths.h"

namespace tools_test {

using test_support::FakeService;
using test_support::Outcome;
using test_support::run_inside;

constexpr char kSocket[] = "/tmp/status.sock";
constexpr char kSource[] = "unix:/tmp/status.sock";

/** What a service without problems says. */
inline Kit::Status healthy() {
    Kit::Status status;
    status.version = "1.2.3";
    status.pid = 4711;
    status.state = "running";
    status.uptime_us = 93784000000;  // 1 d 2 h 3 min 4 s
    status.input.name = "scene:1";
    status.input.kind = "scene";
    for (char const* const text : {"No data", "Interference", "Saturation"}) {
        Kit::FailureStatus& failure = status.failures.emplace_back();
        failure.reason = static_cast<int32_t>(status.failures.size()) - 1;
        failure.text = text;
    }
    status.frames = 100;
    status.targets = 300;
    status.stream.socket = "/tmp/targets.sock";
    status.stream.frames = 100;
    status.stream.bytes = 9000;
    status.stream.clients_accepted = 2;
    status.stream.frames_offered = 93;
    status.stream.frames_sent = 90;
    Kit::ClientStatus& client = status.stream.clients.emplace_back();
    client.id = 1;
    client.frames = 93;
    client.frames_sent = 90;
    client.bytes_sent = 8100;
    client.queued = 3;
    Kit::RecorderStatus& objects = status.recorders["objects"];
    objects.enabled = true;
    objects.directory = "/tmp";
    objects.file = "/tmp/radar_1";
    objects.frames = 100;
    objects.frames_written = 98;
    objects.queued = 2;
    objects.files_completed = 1;
    objects.files_flushed = 1;
    status.recorders["raw"] = {};
    status.watchdog = {2, false, 0};
    status.settings_file = "/etc/radar/radar.conf";
    return status;
}

/** The same with one failure. */
inline Kit::Status failed(int reason) {
    Kit::Status status = healthy();
    status.failures[static_cast<size_t>(reason)].active = true;
    status.failure_flag = true;
    return status;
}

/** The verb `status`, answered by a service that says what it is to say. */
class StatusTest : public test_support::PrivatePathsTest {
protected:
    static Outcome status_of(std::string const& document, std::vector<std::string> options = {}) {
        const FakeService service(kSocket, document);
        options.insert(options.begin(), {"status", kSource});
        return run_inside(options);
    }

    static Outcome status_of(Kit::Status const& status, std::vector<std::string> options = {}) {
        return status_of(Kit::status_document(status), std::move(options));
    }
};

}  // namespace tools_test
