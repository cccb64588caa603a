#include <unistd.h>

#include <array>
#include <chrono>
#include <exception>

#include "log/ilog.h"
#include "radar/radar_status_interface.h"
#include "service/log_counts.h"
#include "service/radar_service.h"
#include "service/version.h"

namespace Service {

namespace {

Kit::StreamStatus stream_status(Kit::RelayCounters const& counters, std::string const& socket) {
    Kit::StreamStatus status;
    status.socket = socket;
    status.frames = counters.frames;
    status.bytes = counters.bytes;
    status.clients_accepted = counters.clients_accepted;
    status.clients_dropped_stuck = counters.clients_dropped_stuck;
    status.frames_offered = counters.frames_offered;
    status.frames_sent = counters.frames_sent;
    status.frames_dropped = counters.frames_dropped;
    for (Kit::ClientCounters const& client : counters.clients) {
        Kit::ClientStatus& shown = status.clients.emplace_back();
        shown.id = client.id;
        shown.frames = client.frames;
        shown.frames_sent = client.frames_sent;
        shown.frames_dropped = client.frames_dropped;
        shown.bytes_sent = client.bytes_sent;
        shown.queued = client.queued;
    }
    return status;
}

/** The items of the registry. One that fails takes the others with it. */
std::map<std::string, std::string> status_items() {
    try {
        const auto items = Radar::RadarStatusInterface::instance->get_radar_status();
        return {items.begin(), items.end()};
    } catch (std::exception const& failure) {
        Petrel::ilog(1) << "Failed to collect the status items: " << failure.what() << std::endl;
        return {};
    }
}

constexpr std::array<char const*, 3> kStates = {"starting", "running", "stopping"};
constexpr char const* kItems[] = {"input", "failure", "recording", "watchdog"};

}  // namespace

/** An item cannot be taken out of the registry; it can only be replaced. */
void RadarService::register_status_items() {
    auto& registry = *Radar::RadarStatusInterface::instance;
    registry.set_radar_status_callback("input", [this] {
        return input_.status().name + ", " + std::to_string(frames_) + " frames";
    });
    registry.set_radar_status_callback("failure", [this] {
        return failures_.any_active() ? failures_.current().text : std::string("none");
    });
    registry.set_radar_status_callback("recording", [this] {
        const Kit::RecorderStatus objects = recorders_.status(Clock::now())["objects"];
        if (!objects.file.empty()) return objects.file;
        return std::string(objects.enabled ? "no file yet" : "off");
    });
    registry.set_radar_status_callback("watchdog", [this] {
        return std::string(failures_.is_data_missing() ? "expired" : "armed");
    });
}

void RadarService::remove_status_items() {
    for (char const* const item : kItems) {
        Radar::RadarStatusInterface::instance->set_radar_status_callback(
            item, [] { return std::string("stopped"); });
    }
}

Kit::Status RadarService::status() {
    check_recording();
    Kit::Status status;
    status.version = kVersion;
    status.pid = getpid();
    status.state = kStates[static_cast<size_t>(phase_)];
    status.uptime_us = static_cast<uint64_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - started_).count());
    status.input = input_.status();
    status.items = status_items();
    status.failure_flag = failures_.flag();
    status.current_failure = failures_.current();
    status.failures = failures_.all();
    status.frames = frames_;
    status.targets = targets_;
    status.targets_dropped = targets_dropped_;
    status.last_timestamp_us = last_timestamp_;
    status.stream = stream_status(relay_.counters(), sockets_.stream);
    status.recorders = recorders_.status(Clock::now());
    status.watchdog = {settings_.value("WatchdogTimeout"), failures_.is_data_missing(),
                       expirations_};
    status.settings_file = settings_.file();
    status.log_warnings = LogCounts::instance().warnings();
    status.log_errors = LogCounts::instance().errors();
    status.last_log = LogCounts::instance().last();
    return status;
}

}  // namespace Service
