#include "tools/play/play.h"

#include <memory>
#include <string>

#include "kit/base/positive_number.h"
#include "kit/base/text.h"
#include "tools/cli/options.h"
#include "tools/play/player.h"

namespace Tools {

namespace {

void add_rate(OptionParser& parser, PlayOptions& options) {
    const auto take = [&options](std::string const& text) -> std::string {
        options.rate = Kit::positive_number(text);  // none for max
        if (options.rate || text == "max") return "";
        return Kit::quoted(text) + " is neither a number above 0 nor max";
    };
    parser.add_value("--rate", "X|max", take,
                     "Play X times as fast, or as fast as the clients read; without it, 1");
}

Run declare(OptionParser& parser) {
    const auto options = std::make_shared<PlayOptions>();
    add_source_options(parser, options->input);
    parser.add_text("--socket", options->socket, "PATH", "Where clients connect").require();
    add_rate(parser, *options);
    parser.add_flag("--loop", options->loop, "Begin again at the end");
    add_selection_options(parser, options->input.selection);
    parser.add_flag("--paused", options->begins_paused,
                    "Begin paused; the space key or SIGUSR1 goes on");
    parser.add_flag("--wait", options->waits_for_client, "Begin when the first client connects");
    parser.add_flag("--skip-gaps", options->skips_gaps, "Skip gaps of more than a second");
    return [options](Console& console) { return Player(*options, console).run(); };
}

}  // namespace

Verb play_verb() {
    return {"play",
            "Serve a recording on a socket, as the radar would",
            {{"play radar_150525_093007_042.data --socket /tmp/radar.sock",
              "clients of /tmp/radar.sock get the frames of a recording at its own pace"},
             {"play /tmp --socket /tmp/radar.sock --loop --rate 2",
              "the recordings in /tmp, over and over and twice as fast"},
             {"play log.data --socket /tmp/radar.sock --rate max --wait",
              "every frame for the first client, as fast as it reads"}},
            "It plays on while no client is connected, as a radar does. A client that reads too\n"
            "slowly misses frames, which are counted; with --rate max it is waited for. One that\n"
            "takes no frame for 2 s is disconnected.\n"
            "\n"
            "Keys on a terminal:\n"
            "  space         pause, or go on\n"
            "  . ,           send the next frame, the one before, and pause\n"
            "  left right    10 s back, forward\n"
            "  down up       60 s back, forward\n"
            "  home          to the first frame\n"
            "  + - 1 m       twice as fast, half as fast, own pace, as fast as possible\n"
            "  q             end\n"
            "\n"
            "TIME is +10s after the first frame, -5s before the last, a date and time such as\n"
            "2025-05-15T09:30:07Z, or seconds or microseconds since 1970.",
            declare};
}

}  // namespace Tools
