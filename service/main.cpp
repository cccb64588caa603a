#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "kit/base/usage_error.h"
#include "service/command_line.h"
#include "service/log_sink.h"
#include "service/radar_service.h"
#include "service/stop_signals.h"

namespace {

constexpr int kFailed = 1;
constexpr int kUsage = 2;

/** Says what is wrong, in one line whatever the names in it hold. */
int complain(std::exception const& problem, char const* hint, int status) {
    Service::write_error_line("petrelradard: " + std::string(problem.what()) + hint);
    return status;
}

/** Runs the service to its end. A thread that hangs does not keep the process. */
int run(std::unique_ptr<Service::RadarService> service) {
    int status = 0;
    service->do_now_and_then(Service::log_due_repeats);
    try {
        service->run();
        Service::log_held_back_messages();
    } catch (std::exception const& error) {
        Service::log_held_back_messages();
        status = complain(error, "", kFailed);
    }
    const bool has_left_threads = service->has_left_threads();
    service.reset();
    if (has_left_threads) std::_Exit(status);
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    // A consumer that has gone, and a file at its size limit, are failed writes and nothing more.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        const std::optional<Service::Options> options =
            Service::parse_options(argc, argv, std::cout);
        if (!options) return 0;
        Service::StopSignals signals;
        return run(std::make_unique<Service::RadarService>(*options, signals));
    } catch (Kit::UsageError const& error) {
        return complain(error, " (see --help)", kUsage);
    } catch (std::exception const& error) {
        Service::log_held_back_messages();
        return complain(error, "", kFailed);
    }
}
