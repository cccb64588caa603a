#include "tools/status/problems.h"

#include <fmt/core.h>

#include <nlohmann/json.hpp>

#include "failure/failure.h"
#include "kit/base/text.h"

namespace Tools {

namespace {

StatusProblem missing_data(std::string const& what, StatusFields const& status) {
    const std::string last_error =
        status["input"]["last_error"].is_empty()
            ? ""
            : "; its last error: " + status["input"]["last_error"].text();
    return {what,
            "no frame has come from the input for " + status["watchdog"]["timeout_s"].text() +
                " s and more",
            "look at the input, " + status["input"]["name"].text() + last_error +
                "; a chip answers 'petrelradar regs read status'"};
}

/** A failure that the service itself explains. */
StatusProblem explained(StatusFields const& failure) {
    const std::string detail = failure["detail"].is_empty() ? "" : ": " + failure["detail"].text();
    return {failure["text"].text() + detail, failure["meaning"].text(), failure["remedy"].text()};
}

StatusProblem explain(int64_t reason, StatusFields const& failure, StatusFields const& status) {
    const std::string text = failure["text"].text();
    switch (reason) {
        case Radar::Failure::no_data:
            return missing_data(text, status);
        case Radar::Failure::interference:
            return {text,
                    "another transmitter disturbs the radar: targets are missed, or are not there",
                    "find other radars in view, and turn them or this one away; it ends by itself"};
        case Radar::Failure::saturation:
            return {text, "frames are full, or the receiver is overdriven: targets are missing",
                    "raise TargetLimit ('petrelradar settings'), or move strong reflectors away"};
        default:
            if (!failure["meaning"].is_empty()) return explained(failure);
            return {text, "a failure that this program does not know",
                    "look at the log of the service"};
    }
}

/** Appends the active failures. Returns whether missing data is one of them. */
bool add_failures(StatusFields const& status, std::vector<StatusProblem>& problems) {
    bool is_data_missing = false;
    for (nlohmann::json const& entry : status["failure"]["reasons"].json()) {
        const StatusFields failure(entry);
        if (!failure["active"].is_set()) continue;
        nlohmann::json const& reason = failure["reason"].json();
        const int64_t number = reason.is_number_integer() ? reason.get<int64_t>() : -1;
        is_data_missing = is_data_missing || number == Radar::Failure::no_data;
        problems.push_back(explain(number, failure, status));
    }
    return is_data_missing;
}

/** Whether the document says what is wrong with storage now, which past errors do not. */
bool tells_storage(StatusFields const& recorder) {
    return recorder.json().is_object() && recorder.json().contains("storage");
}

void add_recorder(std::string const& name, StatusFields const& recorder,
                  std::vector<StatusProblem>& problems) {
    const uint64_t errors = recorder["errors"].number();
    const uint64_t failed_flushes = recorder["flush_failures"].number();
    // Storage that fails now is a failure of its own; what has failed and works again is none.
    if (failed_flushes == 0 && (errors == 0 || tells_storage(recorder))) return;
    const std::string last_error =
        recorder["last_error"].is_empty() ? "" : ": " + recorder["last_error"].text();
    problems.push_back(
        {fmt::format("recorder {}: {} errors, {} failed flushes{}", name, errors, failed_flushes,
                     last_error),
         "since the service started, frames may be missing in its files",
         "see that " + recorder["directory"].text() +
             " is there and has room; then start the service again, which counts again"});
}

}  // namespace

std::vector<StatusProblem> find_problems(StatusFields const& status) {
    std::vector<StatusProblem> problems;
    const bool is_data_missing = add_failures(status, problems);
    if (status["watchdog"]["expired"].is_set() && !is_data_missing) {
        problems.push_back(missing_data("watchdog expired", status));
    }
    if (status["failure"]["flag"].is_set() && problems.empty()) {
        problems.push_back(
            {"the failure flag is up",
             "a failure has ended, and not enough frames have come since without one",
             "look again in a moment"});
    }
    nlohmann::json const& recorders = status["recorders"].json();
    if (!recorders.is_object()) return problems;
    for (auto const& [name, recorder] : recorders.items()) {
        add_recorder(Kit::printable(name), StatusFields(recorder), problems);
    }
    return problems;
}

}  // namespace Tools
