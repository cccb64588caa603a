#include "tools/status/status.h"

#include <memory>
#include <string>
#include <vector>

#include "kit/base/input_error.h"
#include "kit/base/usage_error.h"
#include "kit/status/runtime_directory.h"
#include "tools/cli/ansi.h"
#include "tools/cli/options.h"
#include "tools/cli/signals.h"
#include "tools/cli/source_name.h"
#include "tools/screen/repeater.h"
#include "tools/status/report.h"
#include "tools/status/source.h"

namespace Tools {

namespace {

struct Options {
    std::string source;
    std::string format;  // empty: text, in place where that is wanted and possible
    bool watch = false;
    Repetition repetition;
};

std::string socket_path(std::string const& text) {
    const SourceName source = parse_source_name(text);
    if (source.kind == SourceName::Kind::kLiveStream) return source.path;
    throw Kit::UsageError("SOURCE " + text + " is not a socket of a service (expected unix:PATH)");
}

/** Where a service that was started without options answers. */
std::string default_source() {
    return "unix:" + Kit::status_socket_path(Kit::runtime_directory());
}

/** What one look found. */
struct Look {
    std::string document;  // as it came; empty when none did
    std::vector<ScreenLine> lines;
    bool is_healthy = false;
};

/** @throws Kit::InputError when there is no status to look at. */
Look look_at(std::string const& source, std::string const& path) {
    Look look;
    look.document = read_status(path, kStatusPatience);
    StatusReport report = report_status(source, look.document);
    look.lines = std::move(report.lines);
    look.is_healthy = report.is_healthy;
    return look;
}

void print(Look const& look, std::string const& format, Output& out) {
    if (format == "json") return out.write(look.document);
    const bool coloured = takes_colour(out.fd());
    for (ScreenLine const& line : look.lines) out.write(coloured_text(line, coloured) + "\n");
}

ExitStatus show_once(Options const& options, std::string const& path, Console& console) {
    const Look look = look_at(options.source, path);
    print(look, options.format, console.out);
    return look.is_healthy ? ExitStatus::kOk : ExitStatus::kFailed;
}

/** A service that cannot be reached may come back, so that does not end it. */
ExitStatus watch(Options const& options, std::string const& path, Console& console) {
    Repeater repeater(options.repetition, options.format.empty(), console);
    Look look;
    for (bool is_first = true; repeater.next(); is_first = false) {
        std::string problem;
        try {
            look = look_at(options.source, path);
        } catch (Kit::InputError const& error) {
            if (was_interrupted()) break;
            look = {"", {{Ansi::kRed, error.what()}}, false};
            problem = error.what();
        }
        if (repeater.draws()) {
            repeater.show([&look](WindowSize) { return look.lines; });
        } else if (!problem.empty()) {
            console.messages.error(problem);
        } else {
            if (!is_first && options.format != "json") console.out.write("\n");
            print(look, options.format, console.out);
        }
    }
    return look.is_healthy ? ExitStatus::kOk : ExitStatus::kFailed;
}

ExitStatus run(Options const& options, Console& console) {
    const std::string path = socket_path(options.source);
    return options.watch ? watch(options, path, console) : show_once(options, path, console);
}

Run declare(OptionParser& parser) {
    const auto options = std::make_shared<Options>();
    const Option source = parser.add_argument(
        "SOURCE", options->source,
        "The status socket, unix:PATH; without it, that of this machine's service");
    parser.add_choice("--format", options->format, {"text", "json"}, "Print the status as");
    const Option watches = parser.add_flag("--watch", options->watch, "Repeat until q or Ctrl-C");
    for (Option& option : add_repetition(parser, options->repetition)) option.require_with(watches);
    return [options, source](Console& console) {
        if (!source.is_given()) options->source = default_source();
        return run(*options, console);
    };
}

}  // namespace

Verb status_verb() {
    return {
        "status",
        "Show how a radar service is doing, and what to do about failures",
        {{"status", "the service on this machine"},
         {"status --watch", "the same, refreshed every second, until q or Ctrl-C"},
         {"status --format json | jq .failure", "the service's own document, for programs"},
         {"status unix:/run/petrelradar/status.sock || echo unwell", "in a script"}},
        "Exit status: 0 the service is healthy; 1 it is not, or cannot be reached: a failure is\n"
        "active, the watchdog has run out, or a recorder had errors since the service started.\n"
        "With --watch, the last look counts.",
        declare};
}

}  // namespace Tools
