// What petrelradar status is answered, and by whom.

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "kit/base/input_error.h"
#include "kit/stream/listening_socket.h"
#include "tests/support/fake_service.h"
#include "tests/tools/status/fixture.h"
#include "tools/status/source.h"

namespace {

using test_support::FakeService;
using test_support::Outcome;
using test_support::run_inside;
using testing::HasSubstr;
using tools_test::healthy;
using tools_test::kSocket;
using tools_test::kSource;
using tools_test::StatusTest;

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
        EXPECT_EQ(
            outcome.err,
            "petrelradar status: unix:/tmp/status.sock: what answers is not a radar service\n");
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

}  // namespace
