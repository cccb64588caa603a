#include <algorithm>
#include <csignal>
#include <exception>
#include <iostream>
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
    std::string line = problem.what();
    std::replace(line.begin(), line.end(), '\n', ' ');
    std::cerr << "petrelradard: " << line << hint << std::endl;
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    // A consumer that has gone is a failed write and nothing more.
    std::signal(SIGPIPE, SIG_IGN);
    try {
        const std::optional<Service::Options> options =
            Service::parse_options(argc, argv, std::cout);
        if (!options) return 0;
        Service::StopSignals signals;
        Service::RadarService service(*options, signals);
        service.run();
        Service::log_held_back_messages();
        return 0;
    } catch (Kit::UsageError const& error) {
        return complain(error, " (see --help)", kUsage);
    } catch (std::exception const& error) {
        Service::log_held_back_messages();
        return complain(error, "", kFailed);
    }
}
