#include "chip/command_line.h"

#include <fmt/core.h>

#include <CLI/CLI.hpp>

#include "kit/base/positive_number.h"
#include "kit/base/usage_error.h"

namespace Chip {

namespace {

constexpr char kExamples[] = R"(
Examples:
  petrelradar-chip -- petrelradard          the service, reading a chip that sees a synthetic scene
  petrelradar-chip --input walk.csv --loop -- petrelradard
                                            the same with a detection log, over and over
  petrelradar-chip                          a chip without a command; says how to reach it
  petrelradar-chip --print-map >chip.map    the register map, for petrelradar regs

The machine's /dev stays as it is: the command runs in a mount namespace of its own.
Exit status: the command's; 128 and the signal's number when a signal ended it; 126 or 127 when it
could not be run; 1 for a problem with the input, also when the command has ended well, 2 for usage,
69 where the machine has no FUSE or grants no namespaces.)";

constexpr int kHighestRate = 1000000;
constexpr int kHighestFrameRate = 1000;

double number_of(std::string const& option, std::string const& text, int highest) {
    const std::optional<double> number = Kit::positive_number(text);
    if (number && *number <= highest) return *number;
    throw Kit::UsageError(
        fmt::format("{}: \"{}\" is not a number above 0 and up to {}", option, text, highest));
}

/** What the command line holds besides, or as text that is yet to be looked at. */
struct Texts {
    std::string rate = "1";
    std::string frame_rate;
    bool print_map = false;
};

void add_options(CLI::App& app, Options& options, Texts& texts) {
    app.add_option("--input", options.input,
                   "scene, scene:SEED, or the path of a detection log (CSV) or a recording")
        ->option_text("INPUT [scene]");
    app.add_option("--rate", texts.rate, "play the input X times as fast")->option_text("X [1]");
    app.add_option("--frame-rate", texts.frame_rate,
                   "frames a second, while the host leaves the pace to the chip")
        ->option_text("HZ [the input's own pace]");
    app.add_flag("--loop", options.loop, "begin again when the input has ended");
    app.add_flag("--skip-gaps", options.skip_gaps, "skip gaps of more than a second");
    app.add_option("--command-byte", options.command_byte,
                   "first byte of a write frame that the chip answers to; even")
        ->option_text("N [0x20]");
    app.add_option("--interference", options.interference_every,
                   "mark every Nth frame as disturbed by interference")
        ->check(CLI::Range(1, 1000000))
        ->option_text("N");
    app.add_option("--saturation", options.saturation_every,
                   "mark every Nth frame as measured with a saturated receiver")
        ->check(CLI::Range(1, 1000000))
        ->option_text("N");
    app.add_flag("--print-map", texts.print_map, "print the register map and end");
    app.add_option("command", options.command, "program to run beside the chip, after --")
        ->option_text("COMMAND [ARGS...]");
    app.set_version_flag("--version", "petrelradar-chip " PETRELRADAR_VERSION,
                         "print the version and end");
    app.set_help_flag("--help", "print this help and end");
    app.footer(kExamples);
}

void check(CLI::App const& app, Texts const& texts, Options& options) {
    if (options.input.empty()) throw Kit::UsageError("--input: the name is empty");
    options.rate = number_of("--rate", texts.rate, kHighestRate);
    if (app.count("--frame-rate") > 0) {
        options.frame_rate = number_of("--frame-rate", texts.frame_rate, kHighestFrameRate);
    }
    if (options.command_byte < 0 || options.command_byte > 0xFE || options.command_byte % 2 != 0) {
        throw Kit::UsageError(fmt::format("--command-byte: {} is not an even number from 0 to 254",
                                          options.command_byte));
    }
}

}  // namespace

std::optional<Options> parse_options(int argc, char const* const* argv, std::ostream& out) {
    CLI::App app("A simulated radar chip behind /dev/spidev0.0, for a command that runs beside it.",
                 "petrelradar-chip");
    Options options;
    Texts texts;
    add_options(app, options, texts);
    try {
        app.parse(argc, argv);
    } catch (CLI::Success const& request) {
        app.exit(request, out, out);
        return std::nullopt;
    } catch (CLI::ParseError const& error) {
        throw Kit::UsageError(error.what());
    }
    if (texts.print_map) {
        out << Kit::DemoChip::register_map_text();
        return std::nullopt;
    }
    check(app, texts, options);
    return options;
}

}  // namespace Chip
