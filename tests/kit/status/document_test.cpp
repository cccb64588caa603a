#include "kit/status/document.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

json document_of(Kit::Status const& status) {
    return json::parse(Kit::status_document(status), nullptr, false);
}

TEST(StatusDocumentTest, TheDocumentIsOneJsonObjectAndANewline) {
    EXPECT_TRUE(document_of({}).is_object());
    EXPECT_EQ(Kit::status_document({}).back(), '\n');
}

TEST(StatusDocumentTest, EveryFieldIsThere) {
    Kit::Status status;
    status.recorders["raw"] = {};
    status.stream.clients.push_back({});
    status.failures.push_back({});
    status.items["a"] = "b";
    const json flat = document_of(status).flatten();
    std::string paths;
    for (auto const& [path, value] : flat.items()) paths += path + "\n";
    EXPECT_EQ(paths, R"(/counters/frames
/counters/last_timestamp_us
/counters/targets
/counters/targets_dropped
/failure/current/active
/failure/current/detail
/failure/current/meaning
/failure/current/reason
/failure/current/remedy
/failure/current/text
/failure/flag
/failure/reasons/0/active
/failure/reasons/0/detail
/failure/reasons/0/meaning
/failure/reasons/0/reason
/failure/reasons/0/remedy
/failure/reasons/0/text
/input/errors
/input/frames
/input/frames_dropped
/input/frames_read
/input/frames_torn
/input/kind
/input/last_error
/input/name
/input/queued
/items/a
/log/errors
/log/last
/log/warnings
/pid
/recorders/raw/directory
/recorders/raw/enabled
/recorders/raw/errors
/recorders/raw/file
/recorders/raw/files_completed
/recorders/raw/files_flushed
/recorders/raw/files_recovered
/recorders/raw/flush_failures
/recorders/raw/frames
/recorders/raw/frames_dropped
/recorders/raw/frames_failed
/recorders/raw/frames_written
/recorders/raw/last_completed
/recorders/raw/last_error
/recorders/raw/last_failed_us
/recorders/raw/queued
/recorders/raw/storage
/settings/file
/state
/stream/bytes
/stream/clients/0/bytes_sent
/stream/clients/0/frames
/stream/clients/0/frames_dropped
/stream/clients/0/frames_sent
/stream/clients/0/id
/stream/clients/0/queued
/stream/clients_accepted
/stream/clients_dropped_stuck
/stream/frames
/stream/frames_dropped
/stream/frames_offered
/stream/frames_sent
/stream/socket
/uptime_us
/version
/watchdog/expirations
/watchdog/expired
/watchdog/timeout_s
)");
}

TEST(StatusDocumentTest, IntegersOf64BitsAreText) {
    Kit::Status status;
    status.frames = UINT64_MAX;
    EXPECT_EQ(document_of(status)["counters"]["frames"], "18446744073709551615");
}

TEST(StatusDocumentTest, TextIsQuoted) {
    Kit::Status status;
    status.input.name = "a \"b\"\n";
    EXPECT_EQ(document_of(status)["input"]["name"], "a \"b\"\n");
}

TEST(StatusDocumentTest, BytesThatAreNoTextAreReplaced) {
    Kit::Status status;
    status.input.name = "a\xff";
    EXPECT_EQ(document_of(status)["input"]["name"], "a\xEF\xBF\xBD");
}

TEST(StatusDocumentTest, AFileThatThereIsNotIsNull) {
    Kit::Status status;
    status.recorders["raw"].last_completed = "/tmp/raw_x.data";
    const json raw = document_of(status)["recorders"]["raw"];
    EXPECT_TRUE(raw["file"].is_null());
    EXPECT_EQ(raw["last_completed"], "/tmp/raw_x.data");
}

TEST(StatusDocumentTest, WithoutClientsTheirListIsEmpty) {
    EXPECT_EQ(document_of({})["stream"]["clients"], json::array());
    EXPECT_EQ(document_of({})["items"], json::object());
}

TEST(StatusDocumentTest, ValuesStandUnderTheirNames) {
    Kit::Status status;
    status.stream.clients.push_back({1, 10, 2, 3, 4, 5});
    status.current_failure = {2, "Saturation", true, "meaning", "remedy", "detail"};
    const json document = document_of(status);
    EXPECT_EQ(
        document["stream"]["clients"][0].dump(),
        R"({"bytes_sent":"4","frames":"10","frames_dropped":"3","frames_sent":"2","id":"1","queued":"5"})");
    EXPECT_EQ(document["failure"]["current"].dump(),
              R"({"active":true,"detail":"detail","meaning":"meaning","reason":2,)"
              R"("remedy":"remedy","text":"Saturation"})");
}

}  // namespace
