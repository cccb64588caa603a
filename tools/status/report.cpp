#include "tools/status/report.h"

#include <fmt/core.h>

#include <array>
#include <cstdint>
#include <ctime>
#include <nlohmann/json.hpp>
#include <utility>

#include "kit/base/input_error.h"
#include "kit/base/text.h"
#include "tools/cli/ansi.h"
#include "tools/status/fields.h"

namespace Tools {

namespace {

using Json = nlohmann::json;

constexpr size_t kLabelWidth = 13;

/** "2 d 3 h", "3 h 12 min", "12 min 5 s", "5 s" */
std::string duration_text(uint64_t seconds) {
    constexpr std::array<std::pair<uint64_t, char const*>, 4> kUnits = {
        {{86400, " d"}, {3600, " h"}, {60, " min"}, {1, " s"}}};
    for (size_t i = 0; i + 1 < kUnits.size(); ++i) {
        auto const& [large, large_name] = kUnits[i];
        auto const& [small, small_name] = kUnits[i + 1];
        if (seconds < large) continue;
        return fmt::format("{}{} {}{}", seconds / large, large_name, seconds % large / small,
                           small_name);
    }
    return fmt::format("{} s", seconds);
}

/** "2025-11-20 14:47:11.123" in local time. */
std::string time_text(uint64_t time_us) {
    const auto seconds = static_cast<time_t>(time_us / 1000000);
    tm parts = {};
    if (localtime_r(&seconds, &parts) == nullptr) return "?";
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}.{:03}", parts.tm_year + 1900,
                       parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec,
                       time_us / 1000 % 1000);
}

/** " (the reason)" where there is one. */
std::string in_brackets(StatusFields const& reason) {
    return reason.is_empty() ? "" : " (" + reason.text() + ")";
}

/** "1 frame", "2 frames", "? frames" */
std::string count_of(StatusFields const& count, std::string const& what) {
    const std::string text = count.text();
    return text + " " + what + (text == "1" ? "" : "s");
}

/** "2 waiting, 0 dropped, 0 lost, ", of a service that counts them. */
std::string waiting_and_lost(StatusFields const& recorder) {
    if (recorder["queued"].is_empty()) return "";
    return recorder["queued"].text() + " waiting, " + recorder["frames_dropped"].text() +
           " dropped, " + recorder["frames_failed"].text() + " lost, ";
}

/** The lines of a report, a label in front of each. */
class ReportLines {
public:
    void add(std::string label, std::string const& text, std::string const& colour = "") {
        if (label.size() < kLabelWidth) label.resize(kLabelWidth, ' ');
        lines.push_back({colour, label + text});
    }

    void add_service(StatusFields const& status, size_t problems) {
        const bool is_running = status["state"].text() == "running";
        add("state",
            status["state"].text() + " for " +
                duration_text(status["uptime_us"].number() / 1000000) + ", version " +
                status["version"].text() + ", process " + status["pid"].text(),
            is_running ? Ansi::kBold : Ansi::kYellow);
        add("health", problems == 0 ? "healthy" : Kit::count_text(problems, "problem"),
            problems == 0 ? Ansi::kGreen : Ansi::kRed);
    }

    void add_input(StatusFields const& status) {
        const StatusFields input = status["input"];
        const StatusFields counters = status["counters"];
        const bool has_errors = input["errors"].number() > 0;
        add("input",
            input["name"].text() + " (" + input["kind"].text() + "), " +
                count_of(input["errors"], "error") + in_brackets(input["last_error"]),
            has_errors ? Ansi::kYellow : "");
        if (input["frames_dropped"].number() > 0 || input["frames_torn"].number() > 0) {
            add("",
                count_of(input["frames_dropped"], "frame") + " dropped by the chip, " +
                    input["frames_torn"].text() +
                    " torn: have it report fewer targets or fewer frames a second",
                Ansi::kYellow);
        }
        const uint64_t last = counters["last_timestamp_us"].number();
        add("frames", count_of(counters["frames"], "frame") + " with " +
                          count_of(counters["targets"], "target") + ", " +
                          count_of(counters["targets_dropped"], "target") +
                          " dropped, last frame " + (last > 0 ? "at " + time_text(last) : "none"));
        const StatusFields watchdog = status["watchdog"];
        add("watchdog", std::string(watchdog["expired"].is_set() ? "expired" : "armed") + ", " +
                            watchdog["timeout_s"].text() + " s, has run out " +
                            count_of(watchdog["expirations"], "time"));
    }

    void add_stream(StatusFields const& stream) {
        Json const& clients = stream["clients"].json();
        const Json count = clients.is_array() ? clients.size() : 0;
        const bool has_lost =
            stream["frames_dropped"].number() > 0 || stream["clients_dropped_stuck"].number() > 0;
        add("stream",
            stream["socket"].text() + ", " + count_of(StatusFields(count), "consumer") + ", " +
                stream["clients_accepted"].text() + " so far, " +
                stream["clients_dropped_stuck"].text() + " of them stuck, " +
                count_of(stream["frames_dropped"], "frame") + " dropped",
            has_lost ? Ansi::kYellow : "");
        if (!clients.is_array()) return;
        for (Json const& entry : clients) {
            const StatusFields client(entry);
            add("  consumer " + client["id"].text() + " ",
                count_of(client["frames_sent"], "frame") + ", " +
                    count_of(client["bytes_sent"], "byte") + ", " +
                    count_of(client["frames_dropped"], "frame") + " dropped, " +
                    client["queued"].text() + " waiting");
        }
    }

    void add_recorder(std::string const& name, StatusFields const& recorder) {
        if (!recorder["enabled"].is_set()) return add("recorder", name + ": off", Ansi::kDim);
        add("recorder", name + ": " + count_of(recorder["frames"], "frame") + ", " +
                            recorder["frames_written"].text() + " of them in files, " +
                            waiting_and_lost(recorder) +
                            count_of(recorder["files_completed"], "file") + " completed, " +
                            count_of(recorder["errors"], "error"));
        add("", recorder["file"].is_empty() ? "no file open in " + recorder["directory"].text()
                                            : "writes " + recorder["file"].text());
        const uint64_t failed = recorder["last_failed_us"].number();
        if (failed > 0) add("", "storage last failed at " + time_text(failed), Ansi::kYellow);
    }

    void add_log(StatusFields const& status) {
        add("settings", status["settings"]["file"].text());
        const StatusFields log = status["log"];
        add("log", count_of(log["warnings"], "warning") + ", " + count_of(log["errors"], "error") +
                       in_brackets(log["last"]));
    }

    void add_problem(StatusProblem const& problem) {
        lines.push_back({"", ""});
        lines.push_back({Ansi::kRed, problem.what});
        add("  means", problem.meaning);
        add("  do", problem.remedy);
    }

    std::vector<ScreenLine> lines;
};

Json parse(std::string const& source, std::string const& document) {
    Json status = Json::parse(document, nullptr, false);
    const bool has_all = status.is_object() && status.count("state") == 1 &&
                         status.count("failure") == 1 && status.count("recorders") == 1;
    if (!has_all)
        throw Kit::InputError(Kit::printable(source) + ": what answers is not a radar service");
    return status;
}

}  // namespace

StatusReport report_status(std::string const& source, std::string const& document) {
    const Json parsed = parse(source, document);
    const StatusFields status(parsed);
    const std::vector<StatusProblem> problems = find_problems(status);
    ReportLines report;
    report.add_service(status, problems.size());
    report.add_input(status);
    report.add_stream(status["stream"]);
    if (parsed["recorders"].is_object()) {
        for (auto const& [name, recorder] : parsed["recorders"].items()) {
            report.add_recorder(Kit::printable(name), StatusFields(recorder));
        }
    }
    report.add_log(status);
    for (StatusProblem const& problem : problems) report.add_problem(problem);
    return {std::move(report.lines), problems.empty()};
}

}  // namespace Tools
