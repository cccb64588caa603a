#include <sys/types.h>
#include <unistd.h>

#include <csignal>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "chip/command.h"
#include "chip/command_line.h"
#include "chip/device_server.h"
#include "chip/frame_feed.h"
#include "chip/keeper.h"
#include "chip/private_device.h"
#include "chip/radar_chip.h"
#include "chip/simulator.h"
#include "chip/spi_slave.h"
#include "chip/spidev.h"
#include "kit/base/input_error.h"
#include "kit/base/usage_error.h"
#include "kit/frames/open.h"

namespace {

constexpr int kFailed = 1;
constexpr int kUsage = 2;
/** The number that the system's header of exit statuses gives to a service that is not available.
 */
constexpr int kUnavailable = 69;

void report(std::string const& problem) {
    std::cerr << "petrelradar-chip: " << problem << std::endl;
}

void say_how_to_reach(bool user_namespace) {
    std::cout << "petrelradar-chip: answers until SIGINT or SIGTERM to what is started by\n"
              << "  nsenter -t " << getpid() << (user_namespace ? " -U --preserve-credentials" : "")
              << " -m COMMAND" << std::endl;
}

/** Blocks the watched signals; returns the mask before. */
sigset_t block_signals() {
    const sigset_t signals = Chip::watched_signals();
    sigset_t original;
    sigprocmask(SIG_BLOCK, &signals, &original);
    return original;
}

int run(Chip::Options const& options) {
    // First, while files are where the caller sees them, and before anything is made.
    std::unique_ptr<Kit::FrameSource> source = Kit::open_frame_source(options.input);
    const sigset_t original_mask = block_signals();
    Chip::PrivateDevice private_device = Chip::mount_private_device();
    Chip::RadarChip chip;
    Chip::SpiSlave slave(chip, static_cast<uint8_t>(options.command_byte));
    Chip::Spidev spidev(slave);
    Chip::DeviceServer device(std::move(private_device.fuse), spidev);
    device.introduce(Chip::kDevicePath);
    Chip::FrameFeed::Settings settings;
    settings.rate = options.rate;
    settings.frame_rate = options.frame_rate;
    settings.loop = options.loop;
    settings.skip_gaps = options.skip_gaps;
    settings.interference_every = options.interference_every;
    settings.saturation_every = options.saturation_every;
    Chip::FrameFeed feed(std::move(source), chip, settings, report);

    std::optional<Chip::Command> command;
    if (options.command.empty()) {
        say_how_to_reach(private_device.user_namespace);
    } else {
        // In the keeper's hands the file system would outlive this process.
        command.emplace(options.command, original_mask, std::vector<int>{device.fd()});
    }
    // After the command is started: that one has its own idea of a broken pipe.
    std::signal(SIGPIPE, SIG_IGN);
    const int status = Chip::Simulator(device, feed, command ? &*command : nullptr).run();
    // A command that made the best of a damaged input must not make it look whole.
    return status == 0 && feed.failed() ? kFailed : status;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const std::optional<Chip::Options> options = Chip::parse_options(argc, argv, std::cout);
        return options ? run(*options) : 0;
    } catch (Kit::UsageError const& error) {
        report(std::string(error.what()) + "; see --help");
        return kUsage;
    } catch (Chip::Unavailable const& error) {
        report(error.what());
        return kUnavailable;
    } catch (std::exception const& error) {
        report(error.what());
        return kFailed;
    }
}
