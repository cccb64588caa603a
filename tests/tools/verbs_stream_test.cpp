// Every verb that reads a SOURCE, given a live stream that ends.

#include <gmock/gmock.h>

#include <filesystem>

#include "tests/tools/listen/fixture.h"
#include "tests/tools/verbs_rows.h"

namespace {

using test_support::Outcome;
using test_support::Program;
using testing::HasSubstr;

constexpr char kStream[] = "unix:/tmp/radar.sock";
constexpr char kNoHeader[] = "the frames have no header; the recording's says height 0";

struct StreamRow {
    std::vector<std::string> arguments;
    std::string told = {};  // part of what it says on standard error; empty: nothing
    std::string output = {};
};

std::ostream& operator<<(std::ostream& os, StreamRow const& row) {
    return os << row.arguments.front();
}

class VerbOnStreamTest : public tools_test::ListenTest,
                         public testing::WithParamInterface<StreamRow> {
protected:
    /** Has the program get as many frames as there are, and then the end of the stream. */
    Outcome run_on_stream() {
        test_support::write_file("/tmp/good.data", tools_test::good_recording());
        Program program(GetParam().arguments);
        wait_for_client();
        for (uint64_t i = 0; i < tools_test::kFrames; ++i)
            publish(test_support::kBegin + i * 50000);
        stop_service();
        return program.finish();
    }
};

TEST_P(VerbOnStreamTest, IsDoneWhenTheStreamEnds) {
    const Outcome outcome = run_on_stream();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr(GetParam().told));
    EXPECT_EQ(outcome.err.empty(), GetParam().told.empty()) << outcome.err;
    EXPECT_EQ(outcome.out.empty(), !GetParam().output.empty());
    EXPECT_TRUE(GetParam().output.empty() || std::filesystem::exists(GetParam().output));
}

const StreamRow kRows[] = {
    {{"cat", kStream}},
    {{"cut", kStream, "-o", "/tmp/part.data"}, kNoHeader, "/tmp/part.data"},
    {{"diff", kStream, "/tmp/good.data", "--tolerance", "100"}},
    {{"doctor", kStream}},
    {{"export", kStream, "-o", "/tmp/all.mcap"}, "", "/tmp/all.mcap"},
    {{"info", kStream}},
    {{"listen", kStream, "--no-reconnect"}, "the stream ended after 6 frames"},
    {{"merge", kStream, "-o", "/tmp/all.data"}, kNoHeader, "/tmp/all.data"},
    {{"play", kStream, "--socket", "/tmp/play.sock"}, "", "/tmp"},
    {{"plot", kStream, "-o", "/tmp/walk.svg"}, "", "/tmp/walk.svg"},
};

INSTANTIATE_TEST_SUITE_P(, VerbOnStreamTest, testing::ValuesIn(kRows),
                         [](auto const& test) { return test.param.arguments.front(); });

}  // namespace
