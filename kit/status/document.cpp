#include "kit/status/document.h"

#include <nlohmann/json.hpp>

namespace Kit {

namespace {

using Json = nlohmann::ordered_json;

Json text_or_null(std::string const& text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

Json to_json(RecorderStatus const& recorder) {
    return {{"enabled", recorder.enabled},
            {"directory", recorder.directory},
            {"file", text_or_null(recorder.file)},
            {"last_completed", text_or_null(recorder.last_completed)},
            {"frames", std::to_string(recorder.frames)},
            {"frames_written", std::to_string(recorder.frames_written)},
            {"queued", std::to_string(recorder.queued)},
            {"frames_dropped", std::to_string(recorder.frames_dropped)},
            {"frames_failed", std::to_string(recorder.frames_failed)},
            {"files_completed", std::to_string(recorder.files_completed)},
            {"files_flushed", std::to_string(recorder.files_flushed)},
            {"flush_failures", std::to_string(recorder.flush_failures)},
            {"files_recovered", std::to_string(recorder.files_recovered)},
            {"errors", std::to_string(recorder.errors)},
            {"last_error", text_or_null(recorder.last_error)},
            {"storage", text_or_null(recorder.storage)},
            {"last_failed_us", recorder.last_failed_us != 0
                                   ? Json(std::to_string(recorder.last_failed_us))
                                   : Json(nullptr)}};
}

Json to_json(FailureStatus const& failure) {
    return {{"reason", failure.reason},
            {"text", failure.text},
            {"active", failure.active},
            {"meaning", text_or_null(failure.meaning)},
            {"remedy", text_or_null(failure.remedy)},
            {"detail", text_or_null(failure.detail)}};
}

Json to_json(ClientStatus const& client) {
    return {{"id", std::to_string(client.id)},
            {"frames", std::to_string(client.frames)},
            {"frames_sent", std::to_string(client.frames_sent)},
            {"frames_dropped", std::to_string(client.frames_dropped)},
            {"bytes_sent", std::to_string(client.bytes_sent)},
            {"queued", std::to_string(client.queued)}};
}

template <typename Entry>
Json to_json_array(std::vector<Entry> const& entries) {
    Json array = Json::array();
    for (Entry const& entry : entries) array.push_back(to_json(entry));
    return array;
}

Json to_json(StreamStatus const& stream) {
    return {{"socket", stream.socket},
            {"frames", std::to_string(stream.frames)},
            {"bytes", std::to_string(stream.bytes)},
            {"clients_accepted", std::to_string(stream.clients_accepted)},
            {"clients_dropped_stuck", std::to_string(stream.clients_dropped_stuck)},
            {"frames_offered", std::to_string(stream.frames_offered)},
            {"frames_sent", std::to_string(stream.frames_sent)},
            {"frames_dropped", std::to_string(stream.frames_dropped)},
            {"clients", to_json_array(stream.clients)}};
}

Json to_json(InputStatus const& input) {
    return {
        {"name", input.name},
        {"kind", input.kind},
        {"frames", std::to_string(input.frames_read + input.frames_dropped + input.frames_torn)},
        {"frames_read", std::to_string(input.frames_read)},
        {"frames_dropped", std::to_string(input.frames_dropped)},
        {"frames_torn", std::to_string(input.frames_torn)},
        {"queued", std::to_string(input.queued)},
        {"errors", std::to_string(input.errors)},
        {"last_error", text_or_null(input.last_error)}};
}

Json to_json(WatchdogStatus const& watchdog) {
    return {{"timeout_s", watchdog.timeout_s},
            {"expired", watchdog.expired},
            {"expirations", std::to_string(watchdog.expirations)}};
}

Json recorders_to_json(std::map<std::string, RecorderStatus> const& recorders) {
    Json object = Json::object();
    for (auto const& [name, recorder] : recorders) object[name] = to_json(recorder);
    return object;
}

Json to_json(Status const& status) {
    return {{"version", status.version},
            {"pid", std::to_string(status.pid)},
            {"state", status.state},
            {"uptime_us", std::to_string(status.uptime_us)},
            {"input", to_json(status.input)},
            {"items", Json(status.items)},
            {"failure",
             {{"flag", status.failure_flag},
              {"current", to_json(status.current_failure)},
              {"reasons", to_json_array(status.failures)}}},
            {"counters",
             {{"frames", std::to_string(status.frames)},
              {"targets", std::to_string(status.targets)},
              {"targets_dropped", std::to_string(status.targets_dropped)},
              {"last_timestamp_us", std::to_string(status.last_timestamp_us)}}},
            {"stream", to_json(status.stream)},
            {"recorders", recorders_to_json(status.recorders)},
            {"watchdog", to_json(status.watchdog)},
            {"settings", {{"file", status.settings_file}}},
            {"log",
             {{"warnings", std::to_string(status.log_warnings)},
              {"errors", std::to_string(status.log_errors)},
              {"last", text_or_null(status.last_log)}}}};
}

}  // namespace

std::string status_document(Status const& status) {
    return to_json(status).dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace Kit
