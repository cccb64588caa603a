#include "tools/listen/listen.h"

#include <fmt/core.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "kit/base/input_error.h"
#include "kit/base/text.h"
#include "kit/base/usage_error.h"
#include "kit/status/runtime_directory.h"
#include "kit/stream/client.h"
#include "tools/cli/options.h"
#include "tools/cli/signals.h"
#include "tools/cli/source_name.h"
#include "tools/cli/wait.h"
#include "tools/listen/rate_meter.h"
#include "tools/listen/view.h"
#include "tools/screen/terminal.h"

namespace Tools {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using Result = Kit::StreamClient::Result;

/** How long after a failed attempt the next one is made to reach the service again. */
constexpr milliseconds kConnectAgainAfter{200};

/** A stream without a frame for this long is not called live. */
constexpr std::chrono::seconds kSilence{2};

struct Options {
    std::string source;
    std::string format;   // empty: what suits the output
    uint64_t frames = 0;  // 0: without limit
    bool ends_with_the_service = false;
};

std::string socket_path(std::string const& text) {
    SourceName source = parse_source_name(text);
    if (source.kind == SourceName::Kind::kLiveStream) return source.path;
    throw Kit::UsageError("SOURCE " + text + " is not a live stream (expected unix:PATH)");
}

/** Where a service that was started without options sends its stream. */
std::string default_source() {
    return "unix:" + Kit::stream_socket_path(Kit::runtime_directory());
}

std::string frames_text(uint64_t count) {
    return Kit::count_text(count, "frame");
}

/** One run of the verb. */
class Listener {
public:
    Listener(Options const& options, Console& console)
        : options_(options),
          console_(console),
          path_(socket_path(options.source)),
          client_(std::make_unique<Kit::StreamClient>(path_)) {
        status_.source = options_.source;
        is_live_ = options_.format.empty() && takes_pictures(console_.out.fd());
        view_ = is_live_ ? make_live_view(console_)
                         : make_plain_view(frame_format(options_.format), console_);
    }

    ExitStatus run() {
        while (!is_done() && (client_ != nullptr || connect_again())) use(read());
        view_.reset();
        return report();
    }

private:
    bool is_done() const {
        return was_interrupted() || view_->wants_end() ||
               (options_.frames > 0 && status_.frames == options_.frames);
    }

    Result read() {
        const Result result = client_->next(frame_, kTick);
        status_.bytes = bytes_before_ + client_->bytes();
        status_.frame_rate = rate_.rate(Clock::now());
        return result;
    }

    void use(Result result) {
        switch (result) {
            case Result::kFrame:
                return use_frame();
            case Result::kTimeout:
                return use_silence();
            case Result::kUndecodable:
                ++undecodable_;
                ++status_.lost_frames;
                return view_->report_event(client_->problem(), true);
            case Result::kEnd:
                return lose_stream("the stream ended", false);
            case Result::kTruncated:
                ++cut_;
                ++status_.lost_frames;
                return lose_stream("the stream " + client_->problem(), true);
            case Result::kForeign:
                return use_foreign_bytes();
            case Result::kFailed:
                return lose_stream("the stream cannot be read: " + client_->problem(), true);
        }
    }

    void use_frame() {
        ++status_.frames;
        targets_ += static_cast<uint64_t>(frame_.objects.targets_size());
        last_frame_ = Clock::now();
        rate_.count(last_frame_);
        set_state("live", true);
        view_->show(frame_.objects, status_);
    }

    void use_silence() {
        const auto silence =
            std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - last_frame_);
        if (silence >= kSilence) {
            set_state(fmt::format("no frame for {} s", silence.count()), false);
        }
        view_->idle(status_);
    }

    void use_foreign_bytes() {
        if (status_.frames == 0) {
            view_.reset();
            throw Kit::InputError(options_.source + ": no target stream: " + client_->problem());
        }
        ++cut_;
        ++status_.lost_frames;
        lose_stream("the stream is damaged " + client_->problem(), true);
    }

    void lose_stream(std::string const& why, bool is_problem) {
        bytes_before_ += client_->bytes();
        client_.reset();
        if (is_done()) return;
        const std::string after = " after " + frames_text(status_.frames);
        if (options_.ends_with_the_service) return view_->report_event(why + after, is_problem);
        set_state(why + ", waiting for the service", false);
        view_->report_event(why + after + "; waiting for the service", is_problem);
    }

    /** Waits until the service is there again. Returns false when there is no need to. */
    bool connect_again() {
        if (options_.ends_with_the_service) return false;
        const auto begin = Clock::now();
        for (auto next = begin + kTick; !is_done(); next += kConnectAgainAfter) {
            while (Clock::now() < next && !is_done()) {
                status_.frame_rate = rate_.rate(Clock::now());
                view_->idle(status_);
                wait_a_tick();
            }
            if (!try_to_connect()) continue;
            ++status_.reconnects;
            last_frame_ = Clock::now();
            set_state("connected again", true);
            view_->report_event("connected again", false);
            return true;
        }
        return false;
    }

    bool try_to_connect() {
        try {
            client_ = std::make_unique<Kit::StreamClient>(path_);
        } catch (Kit::InputError const&) {
            return false;  // not there yet; the user was told that we wait
        }
        return true;
    }

    void set_state(std::string const& state, bool is_well) {
        status_.state = state;
        status_.is_well = is_well;
    }

    ExitStatus report() const {
        if (is_live_) {
            console_.messages.note(frames_text(status_.frames) + ", " +
                                   Kit::count_text(targets_, "target") + ", " +
                                   Kit::count_text(status_.bytes, "byte"));
        }
        if (status_.lost_frames == 0) return ExitStatus::kOk;
        console_.messages.warn(frames_text(cut_) + " cut off, " + frames_text(undecodable_) +
                               " that did not decode");
        return ExitStatus::kDamaged;
    }

    Options const& options_;
    Console& console_;
    std::string path_;
    std::unique_ptr<Kit::StreamClient> client_;
    std::unique_ptr<ListenView> view_;
    bool is_live_ = false;
    Kit::StreamFrame frame_;
    LiveStatus status_{"", "connected"};
    RateMeter rate_;
    Clock::time_point last_frame_ = Clock::now();
    uint64_t targets_ = 0;
    uint64_t cut_ = 0;
    uint64_t undecodable_ = 0;
    uint64_t bytes_before_ = 0;  // in earlier connections
};

Run declare(OptionParser& parser) {
    const auto options = std::make_shared<Options>();
    const Option source = parser.add_argument(
        "SOURCE", options->source,
        "The stream, unix:PATH; without it, that of the service on this machine");
    parser.add_choice("--format", options->format, frame_format_names(), "Print frames");
    parser.add_count("--frames", options->frames, "End after N frames");
    parser.add_flag("--no-reconnect", options->ends_with_the_service,
                    "End when the service ends the stream");
    return [options, source](Console& console) {
        if (!source.is_given()) options->source = default_source();
        return Listener(*options, console).run();
    };
}

}  // namespace

Verb listen_verb() {
    return {
        "listen",
        "Show the frames of a live stream",
        {{"listen", "watch the targets of the service on this machine in a table"},
         {"listen unix:/run/petrelradar/targets.sock | head -n 3",
          "the next three frames of the service at that socket as lines"},
         {"listen --format csv --frames 300 > log.csv", "the next 300 frames as a detection log"}},
        "On a terminal the targets are shown in a table, nearest first, until q or Ctrl-C.\n"
        "Elsewhere, or with --format, frames are printed: lines (one a frame, the default),\n"
        "text (protobuf's debug text), ndjson (one object a frame) or csv (one row a\n"
        "target; a frame without targets has no row).",
        declare};
}

}  // namespace Tools
