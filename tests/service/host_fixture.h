#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/host_process.h"
#include "tests/support/private_paths.h"
#include "tests/support/recordings.h"

namespace service_test {

using test_support::HostProcess;
using test_support::log_of;
using test_support::recorded_frames;
using test_support::recordings_in;

constexpr char kLog[] = "/tmp/walk.csv";
constexpr char kSettings[] = "/tmp/settings.conf";
constexpr char kCard[] = "/var/spool/storage/SD_DISK";
constexpr char kDiagnostics[] = "/tmp/radar-diagnostics";

/** A test of the running program. */
class HostTest : public test_support::PrivatePathsTest {
protected:
    /** Starts the program. */
    HostProcess& start(std::vector<std::string> arguments,
                       HostProcess::Environment const& environment = {}) {
        host_ = std::make_unique<HostProcess>(std::move(arguments), environment);
        return *host_;
    }

    /** Starts the program on a scene, with these settings, and waits until it is ready. */
    HostProcess& start_scene(std::string const& settings = "",
                             HostProcess::Environment const& environment = {}) {
        start({"--input", "scene:1", "--settings", settings_file(settings)}, environment);
        host_->await_ready();
        return *host_;
    }

    /** Plays a log of these frames, as fast as possible unless told otherwise, to its end. */
    int play(std::vector<RO::RadarObjects> const& frames, std::string const& settings = "",
             std::string const& rate = "max") {
        test_support::write_file(kLog, log_of(frames));
        start({"--input", kLog, "--rate", rate, "--settings", settings_file(settings)});
        return host_->wait();
    }

    /** The settings file with these lines in the service's group. */
    static std::string settings_file(std::string const& lines) {
        test_support::write_file(kSettings, "[Radar]\n" + lines);
        return kSettings;
    }

    /** The frames of the completed recordings in `directory`. */
    static std::vector<RO::RadarObjects> recorded(std::string const& directory = "/tmp") {
        return recorded_frames(directory, recordings_in(directory, "radar"));
    }

    std::unique_ptr<HostProcess> host_;
};

}  // namespace service_test
