#include <gmock/gmock.h>

#include <csignal>
#include <nlohmann/json.hpp>

#include "fake_service.h"
#include "inside.h"
#include "kit/input_error.h"
#include "kit/status/status_document.h"
#include "kit/stream/listening_socket.h"
#include "support/private_paths.h"
#include "tools/status_source.h"

/** petrelradar status */
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using tools_test::FakeService;
using tools_test::Outcome;
using tools_test::Program;
using tools_test::run_inside;

constexpr char kSocket[] = "/tmp/status.sock";
constexpr char kSource[] = "unix:/tmp/status.sock";

/** What a service without problems says. */
Kit::Status healthy() {
    Kit::Status status;
    status.version = "1.2.3";
    status.pid = 4711;
    status.state = "running";
    status.uptime_us = 93784000000;  // 1 d 2 h 3 min 4 s
    status.input = {"scene:1", "scene", 0, ""};
    status.failures = {{0, "No data", false}, {1, "Interference", false}, {2, "Saturation", false}};
    status.frames = 100;
    status.targets = 300;
    status.stream = {"/tmp/targets.sock", 100, 9000, 2, 0, 0, {{1, 90, 0, 8100, 3}}};
    status.recorders["objects"] = {true, "/tmp", "/tmp/radar_1", "", 100, 98, 1, 1, 0, 0, ""};
    status.recorders["raw"] = {};
    status.watchdog = {2, false, 0};
    status.settings_file = "/etc/radar/radar.conf";
    return status;
}

Kit::Status failed(int reason) {
    Kit::Status status = healthy();
    status.failures[static_cast<std::size_t>(reason)].active = true;
    status.failure_flag = true;
    return status;
}

class StatusTest : public test_support::PrivatePathsTest {
protected:
    static Outcome status_of(std::string const& document, std::vector<std::string> options = {}) {
        const FakeService service(kSocket, document);
        options.insert(options.begin(), {"status", kSource});
        return run_inside(options);
    }

    static Outcome status_of(Kit::Status const& status, std::vector<std::string> options = {}) {
        return status_of(Kit::status_document(status), std::move(options));
    }
};

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
    EXPECT_THAT(out, ContainsRegex("\nframes +100 frames with 300 targets, 0 targets left out, "
                                   "last frame none\n"));
    EXPECT_THAT(out, ContainsRegex("\nwatchdog +armed, 2 s, has run out 0 times\n"));
    EXPECT_THAT(out, ContainsRegex("\nsettings +/etc/radar/radar.conf\n"));
}

TEST_F(StatusTest, TellsTheRecordersAndTheirFiles) {
    const std::string out = status_of(healthy()).out;
    EXPECT_THAT(out, ContainsRegex("\nrecorder +objects: 100 frames, 98 of them in files, 1 file "
                                   "completed, 0 errors\n +writes /tmp/radar_1\n"));
    EXPECT_THAT(out, ContainsRegex("\nrecorder +raw: off\n"));
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

Kit::Status recorder_with(uint64_t errors, uint64_t flush_failures) {
    Kit::Status status = healthy();
    status.recorders["objects"].errors = errors;
    status.recorders["objects"].flush_failures = flush_failures;
    status.recorders["objects"].last_error = "No space left on device";
    return status;
}

Kit::Status unknown_failure() {
    Kit::Status status = healthy();
    status.failures.push_back({77, "Meltdown", true});
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
    {"RecorderError", recorder_with(3, 0),
     "recorder objects: 3 errors, 0 failed flushes: No space left on device",
     "since the service started, frames may be missing"},
    {"FailedFlush", recorder_with(0, 1),
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

struct Foreign {
    char const* name;
    std::string answer;
};

std::ostream& operator<<(std::ostream& os, Foreign const& tested) {
    return os << tested.name;
}

class ForeignAnswerTest : public StatusTest, public testing::WithParamInterface<Foreign> {};

TEST_P(ForeignAnswerTest, IsNoRadarService) {
    for (std::vector<std::string> const& options :
         {std::vector<std::string>{}, std::vector<std::string>{"--format", "json"}}) {
        const Outcome outcome = status_of(GetParam().answer, options);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err,
                  "petrelradar status: unix:/tmp/status.sock: what answers is no radar service\n");
    }
}

const Foreign kForeign[] = {
    {"Nothing", ""},
    {"Text", "hello\n"},
    {"CutDocument", Kit::status_document(healthy()).substr(0, 500)},
    {"Array", "[1, 2]"},
    {"Number", "5"},
    {"OtherObject", "{\"registers\": []}"},
    {"InvalidUtf8", "{\"state\": \"\xff\", \"failure\": 1, \"recorders\": 1}"},
    {"DeepNesting", std::string(100000, '[')},
};

INSTANTIATE_TEST_SUITE_P(, ForeignAnswerTest, testing::ValuesIn(kForeign),
                         [](auto const& tested) { return tested.param.name; });

TEST_F(StatusTest, WithoutAServiceItSaysSo) {
    const Outcome outcome = run_inside({"status", "unix:/tmp/none.sock"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err,
              "petrelradar status: unix:/tmp/none.sock: No such file or directory; is the service "
              "running?\n");
}

TEST_F(StatusTest, AFileThatIsNoSocketIsRefused) {
    test_support::write_file("/tmp/file", "");
    EXPECT_EQ(run_inside({"status", "unix:/tmp/file"}).err,
              "petrelradar status: unix:/tmp/file: Connection refused; is the service running?\n");
}

TEST_F(StatusTest, APathTooLongForASocketIsRefused) {
    const Outcome outcome = run_inside({"status", "unix:/" + std::string(120, 'x')});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("too long for a socket path"));
}

TEST_F(StatusTest, ASourceThatIsNoSocketIsUsage) {
    EXPECT_EQ(run_inside({"status", "/tmp"}).status, 2);
}

TEST_F(StatusTest, AServiceThatDoesNotAnswerIsNotWaitedForForever) {
    const Kit::ListeningSocket silent(kSocket);
    try {
        Tools::read_status(kSocket, std::chrono::milliseconds(20));
        FAIL() << "it answered";
    } catch (Kit::InputError const& error) {
        EXPECT_STREQ(error.what(),
                     "unix:/tmp/status.sock: the service does not answer within 20 ms");
    }
}

TEST_F(StatusTest, ADocumentWithoutEndIsRefused) {
    const FakeService service(kSocket, std::string((16U << 20) + 1, ' '));
    EXPECT_THAT(run_inside({"status", kSource}).err,
                HasSubstr("the status is larger than 16 MiB\n"));
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
    EXPECT_THAT(tools_test::run({"status", kSource}, {{}, 80, 24, false}).out,
                HasSubstr("\x1b[32mhealth       healthy\x1b[0m"));
}

TEST_F(StatusTest, OnATerminalWithNoColorItIsNot) {
    const FakeService service(kSocket, Kit::status_document(healthy()));
    EXPECT_THAT(tools_test::run({"status", kSource}, {{"NO_COLOR=1"}, 80, 24, false}).out,
                Not(HasSubstr("\x1b")));
}

}  // namespace
