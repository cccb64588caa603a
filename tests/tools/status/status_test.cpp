// petrelradar status

#include <gmock/gmock.h>

#include <csignal>
#include <nlohmann/json.hpp>

#include "tests/support/fake_service.h"
#include "tests/tools/status/fixture.h"

namespace {

using test_support::FakeService;
using test_support::Outcome;
using test_support::Program;
using test_support::run_inside;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using tools_test::failed;
using tools_test::healthy;
using tools_test::kSocket;
using tools_test::kSource;
using tools_test::StatusTest;

TEST_F(StatusTest, OfAHealthyServiceIsZero) {
    const Outcome outcome = status_of(healthy());
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(outcome.out, ContainsRegex("\nhealth +healthy\n"));
}

TEST_F(StatusTest, TellsWhatTheServiceIsDoing) {
    const std::string out = status_of(healthy()).out;
    EXPECT_THAT(out, StartsWith("state        running for 1 d 2 h, version 1.2.3, process 4711\n"));
    EXPECT_THAT(out, ContainsRegex("\ninput +scene:1 \\(scene\\), 0 errors\n"));
    EXPECT_THAT(out, ContainsRegex("\nframes +100 frames with 300 targets, 0 targets dropped, "
                                   "last frame none\n"));
    EXPECT_THAT(out, ContainsRegex("\nwatchdog +armed, 2 s, has run out 0 times\n"));
    EXPECT_THAT(out, ContainsRegex("\nsettings +/etc/radar/radar.conf\n"));
}

TEST_F(StatusTest, TellsTheRecordersAndTheirFiles) {
    const std::string out = status_of(healthy()).out;
    EXPECT_THAT(
        out,
        ContainsRegex(
            "\nrecorder +objects: 100 frames, 98 of them in files, 2 "
            "waiting, 0 dropped, 0 lost, 1 file completed, 0 errors\n +writes /tmp/radar_1\n"));
    EXPECT_THAT(out, ContainsRegex("\nrecorder +raw: off\n"));
}

TEST_F(StatusTest, StorageThatWorksAgainIsHealthyAndKeepsWhenItFailed) {
    Kit::Status status = healthy();
    status.recorders["objects"].errors = 3;
    status.recorders["objects"].last_failed_us = 1700000000000000;
    const Outcome outcome = status_of(status);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, ContainsRegex("\n +storage last failed at 2023-11-1"));
}

TEST_F(StatusTest, TellsTheFramesThatTheChipHasDroppedWithTheRemedy) {
    Kit::Status status = healthy();
    status.input.frames_dropped = 5;
    EXPECT_THAT(status_of(status).out,
                ContainsRegex("\n +5 frames dropped by the chip, 0 torn: have it report fewer"));
}

TEST_F(StatusTest, TellsTheConsumers) {
    const std::string out = status_of(healthy()).out;
    EXPECT_THAT(out, ContainsRegex("\nstream +/tmp/targets.sock, 1 consumer, 2 so far, 0 of them "
                                   "stuck, 0 frames dropped\n"));
    EXPECT_THAT(out, ContainsRegex("\n  consumer 1 +90 frames, 8100 bytes, 0 frames dropped, 3 "
                                   "waiting\n"));
}

TEST_F(StatusTest, HasNoColourInAFile) {
    EXPECT_THAT(status_of(failed(0)).out, Not(HasSubstr("\x1b")));
}

struct Illness {
    char const* name;
    Kit::Status status;
    std::string what;
    std::string meaning;
};

std::ostream& operator<<(std::ostream& os, Illness const& tested) {
    return os << tested.name;
}

class IllnessTest : public StatusTest, public testing::WithParamInterface<Illness> {};

TEST_P(IllnessTest, IsOneWithItsMeaningAndWhatToDo) {
    const Outcome outcome = status_of(GetParam().status);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(outcome.out, ContainsRegex("\nhealth +1 problem\n"));
    EXPECT_THAT(outcome.out,
                HasSubstr("\n\n" + GetParam().what + "\n  means      " + GetParam().meaning));
    EXPECT_THAT(outcome.out, ContainsRegex("\n  do +[a-z]"));
}

Kit::Status expired_watchdog() {
    Kit::Status status = healthy();
    status.watchdog = {2, true, 1};
    return status;
}

Kit::Status expired_watchdog_with_its_failure() {
    Kit::Status status = failed(0);
    status.watchdog = {2, true, 1};
    return status;
}

Kit::Status raised_flag() {
    Kit::Status status = healthy();
    status.failure_flag = true;
    return status;
}

Kit::Status failed_flush() {
    Kit::Status status = healthy();
    status.recorders["objects"].flush_failures = 1;
    status.recorders["objects"].last_error = "No space left on device";
    return status;
}

Kit::Status failed_storage() {
    Kit::Status status = healthy();
    Kit::FailureStatus& failure = status.failures.emplace_back();
    failure.reason = 3;
    failure.text = "Storage";
    failure.active = true;
    failure.meaning = "frames cannot be recorded";
    failure.remedy = "see that the storage has room";
    failure.detail = "/tmp: No space left on device";
    return status;
}

Kit::Status unknown_failure() {
    Kit::Status status = healthy();
    Kit::FailureStatus& failure = status.failures.emplace_back();
    failure.reason = 77;
    failure.text = "Meltdown";
    failure.active = true;
    return status;
}

const Illness kIllnesses[] = {
    {"MissingData", failed(0), "No data", "no frame has come from the input for 2 s"},
    {"Interference", failed(1), "Interference", "another transmitter disturbs the radar"},
    {"Saturation", failed(2), "Saturation", "frames are full"},
    {"ExpiredWatchdog", expired_watchdog(), "watchdog expired", "no frame has come"},
    {"ExpiredWatchdogWithItsFailure", expired_watchdog_with_its_failure(), "No data",
     "no frame has come"},
    {"RaisedFlag", raised_flag(), "the failure flag is up", "a failure has ended"},
    {"FailedStorage", failed_storage(), "Storage: /tmp: No space left on device",
     "frames cannot be recorded"},
    {"FailedFlush", failed_flush(),
     "recorder objects: 0 errors, 1 failed flushes: No space left on device",
     "since the service started, frames may be missing"},
    {"UnknownFailure", unknown_failure(), "Meltdown", "a failure that this program does not know"},
};

INSTANTIATE_TEST_SUITE_P(, IllnessTest, testing::ValuesIn(kIllnesses),
                         [](auto const& tested) { return tested.param.name; });

TEST_F(StatusTest, AsJsonTheDocumentIsPassedThrough) {
    const std::string document = Kit::status_document(healthy());
    const Outcome outcome = status_of(document, {"--format", "json"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, document);
}

TEST_F(StatusTest, AsJsonAFailureIsOneAsWell) {
    EXPECT_EQ(status_of(failed(1), {"--format", "json"}).status, 1);
}

TEST_F(StatusTest, ADocumentOfALaterVersionIsUnderstood) {
    nlohmann::json later = nlohmann::json::parse(Kit::status_document(healthy()));
    later["weather"] = {{"rain", true}};
    later["recorders"]["video"] = {{"enabled", true}, {"frames", 7}};
    const Outcome outcome = status_of(later.dump());
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, ContainsRegex("\nrecorder +video: 7 frames, \\? of them in files"));
}

TEST_F(StatusTest, WhatADocumentDoesNotHaveIsAQuestionMark) {
    const Outcome outcome =
        status_of(std::string(R"({"state": 5, "failure": null, "recorders": []})"));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, StartsWith("state        5 for 0 s, version ?, process ?\n"));
}

TEST_F(StatusTest, ControlCharactersDoNotReachTheTerminal) {
    Kit::Status status = healthy();
    status.input.name =
        "a\x1b[2J\nb\xc2\x9b"
        "c\x7f";
    EXPECT_THAT(status_of(status).out, HasSubstr("input        a?[2J?b?c? (scene)"));
}

TEST_F(StatusTest, TheServicesOwnSocketIsTheDefault) {
    setenv("RUNTIME_DIRECTORY", "/tmp", 1);
    const FakeService service(kSocket, Kit::status_document(healthy()));
    EXPECT_EQ(run_inside({"status"}).status, 0);
}

TEST_F(StatusTest, WatchedItIsShownAgainAndAgain) {
    const FakeService service(kSocket, [](int number) {
        return Kit::status_document(number == 2 ? failed(1) : healthy());
    });
    const Outcome outcome =
        run_inside({"status", kSource, "--watch", "--count", "3", "--interval", "1e-6"});
    EXPECT_EQ(service.connections(), 3);
    EXPECT_EQ(outcome.status, 0) << "the last look counts";
    EXPECT_THAT(outcome.out, HasSubstr("1 problem"));
}

TEST_F(StatusTest, WatchedAServiceThatGoesIsWaitedFor) {
    auto service = std::make_unique<FakeService>(kSocket, Kit::status_document(healthy()));
    Program program({"status", kSource, "--watch", "--interval", "0.02"});
    ASSERT_TRUE(program.prints("healthy"));
    service.reset();
    ASSERT_TRUE(program.complains("is the service running?\n"));
    program.forget_output();
    service = std::make_unique<FakeService>(kSocket, Kit::status_document(healthy()));
    EXPECT_TRUE(program.prints("healthy"));
    service.reset();
    program.send_signal(SIGINT);
    EXPECT_THAT(program.finish().status, testing::AnyOf(0, 1)) << "as the last look was";
}

TEST_F(StatusTest, WatchedOnATerminalItIsRedrawnInPlaceAndEndsWithQ) {
    const FakeService service(kSocket, Kit::status_document(failed(0)));
    Program program({"status", kSource, "--watch", "--interval", "0.02"}, {{}, 80, 24, false});
    ASSERT_TRUE(program.prints("\x1b[?1049h"));
    ASSERT_TRUE(program.prints("\x1b[31mhealth       1 problem\x1b[0m"));
    program.type("q");
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.out, HasSubstr("\x1b[?1049l"));
}

TEST_F(StatusTest, OnATerminalItIsColoured) {
    const FakeService service(kSocket, Kit::status_document(healthy()));
    EXPECT_THAT(test_support::run({"status", kSource}, {{}, 80, 24, false}).out,
                HasSubstr("\x1b[32mhealth       healthy\x1b[0m"));
}

TEST_F(StatusTest, OnATerminalWithNoColorItIsNot) {
    const FakeService service(kSocket, Kit::status_document(healthy()));
    EXPECT_THAT(test_support::run({"status", kSource}, {{"NO_COLOR=1"}, 80, 24, false}).out,
                Not(HasSubstr("\x1b")));
}

}  // namespace
