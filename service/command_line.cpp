#include "service/command_line.h"

#include <CLI/CLI.hpp>
#include <cmath>

#include "kit/base/positive_number.h"
#include "kit/base/usage_error.h"
#include "kit/frames/scene_name.h"
#include "service/version.h"

namespace Service {

namespace {

constexpr char kExamples[] = R"(
Examples:
  petrelradard --input scene             synthetic targets, in real time
  petrelradard --input walk.csv --loop   a detection log, over and over at its own pace
  petrelradard --input walk.csv --rate max
                                         the same, once and as fast as possible
  petrelradard --settings my.conf        the chip behind /dev/spidev0.0, own settings

SIGINT and SIGTERM end it: every file is completed and the sockets are removed.
Exit status: 0 after a clean end, 1 for a problem with an input, a file or a device, 2 for usage.)";

constexpr double kHighestFrameRate = 1000;

/** What the options hold as text, before it is looked at. */
struct Texts {
    std::string rate = "1";
    std::string frame_rate;
};

void add_options(CLI::App& app, Options& options, Texts& texts) {
    app.add_option("--input", options.input,
                   "chip, scene, scene:SEED, or the path of a detection log (CSV) or a recording")
        ->option_text("INPUT [chip]");
    app.add_option("--rate", texts.rate,
                   "play a scene, a log or a recording X times as fast, or as fast as possible")
        ->option_text("X|max [1]");
    app.add_flag("--loop", options.loop, "begin again when the input has ended");
    app.add_flag("--skip-gaps", options.skip_gaps, "skip gaps of more than a second");
    app.add_option("--frame-rate", texts.frame_rate, "frames a second of a chip or a scene")
        ->option_text("HZ");
    app.add_flag("--keep-unfinished", options.keep_unfinished,
                 "leave files that a killed run has not completed as they are");
    app.add_option("--settings", options.settings_file, "the settings file")
        ->option_text("FILE [/etc/radar/radar.conf]");
    app.add_option("--socket", options.socket, "where consumers of the target stream connect")
        ->option_text("PATH [targets.sock in the runtime directory]");
    app.add_option("--status-socket", options.status_socket, "where the status is to be read")
        ->option_text("PATH [status.sock in the runtime directory]");
    app.set_version_flag("--version", std::string("petrelradard ") + kVersion,
                         "print the version and end");
    app.set_help_flag("--help", "print this help and end");
    app.footer(kExamples);
}

/** An empty name is a variable that was not set, and would else stand for the default. */
void check_names(CLI::App const& app) {
    for (char const* const name : {"--input", "--settings", "--socket", "--status-socket"}) {
        CLI::Option const* const option = app.get_option(name);
        if (option->count() > 0 && option->as<std::string>().empty()) {
            throw Kit::UsageError(std::string(name) + ": the name is empty");
        }
    }
}

void read_rates(Texts const& texts, CLI::App const& app, Options& options) {
    options.rate = texts.rate == "max" ? std::nullopt : Kit::positive_number(texts.rate);
    if (!options.rate && texts.rate != "max") {
        throw Kit::UsageError("--rate: \"" + texts.rate +
                              "\" is neither a number above 0 nor \"max\"");
    }
    if (app.count("--frame-rate") == 0) return;
    options.frame_rate = Kit::positive_number(texts.frame_rate);
    if (!options.frame_rate || *options.frame_rate > kHighestFrameRate) {
        throw Kit::UsageError("--frame-rate: \"" + texts.frame_rate +
                              "\" is not a number above 0 and up to 1000");
    }
}

void check_combination(CLI::App const& app, Options const& options) {
    const bool chip = options.input == "chip";
    const bool scene = Kit::names_scene(options.input);
    if (chip && app.count("--rate") > 0) {
        throw Kit::UsageError("--rate: the chip has a pace of its own; see --frame-rate");
    }
    if (chip && options.loop) throw Kit::UsageError("--loop: a chip does not begin again");
    if (chip && options.skip_gaps)
        throw Kit::UsageError("--skip-gaps: a chip has a pace of its own");
    if (options.frame_rate && chip &&
        (*options.frame_rate > 255 || *options.frame_rate != std::floor(*options.frame_rate))) {
        throw Kit::UsageError("--frame-rate: the chip takes whole numbers up to 255");
    }
    if (options.frame_rate && !chip && !scene) {
        throw Kit::UsageError(
            "--frame-rate: a log or a recording has a pace of its own; see --rate");
    }
}

}  // namespace

std::optional<Options> parse_options(int argc, char const* const* argv, std::ostream& out) {
    CLI::App app(
        "The reference radar service: takes frames of targets from a chip, a scene, a\n"
        "detection log or a recording, records them and streams them to its consumers.",
        "petrelradard");
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
    check_names(app);
    read_rates(texts, app, options);
    check_combination(app, options);
    return options;
}

}  // namespace Service
