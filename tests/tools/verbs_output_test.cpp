// Verbs that write files: what is there stays, unless --force replaces it.

#include <gmock/gmock.h>

#include <filesystem>

#include "tests/support/process.h"
#include "tests/tools/verbs_rows.h"

namespace {

namespace fs = std::filesystem;
using test_support::list_directory;
using test_support::Outcome;
using test_support::read_file;
using test_support::run;
using test_support::write_file;
using testing::ElementsAre;
using tools_test::command;
using tools_test::good_recording;
using tools_test::kVerbs;
using tools_test::VerbRow;

constexpr char kPath[] = "/tmp/in/radar_150525_093007_042.data";

std::vector<VerbRow> verbs_with_output() {
    std::vector<VerbRow> found;
    for (VerbRow const& verb : kVerbs) {
        if (!verb.output.empty()) found.push_back(verb);
    }
    return found;
}

class VerbWithOutputTest : public tools_test::VerbTest,
                           public testing::WithParamInterface<VerbRow> {
protected:
    /** Puts a file in the place of what the verb will write. */
    void SetUp() override {
        VerbTest::SetUp();
        if (IsSkipped()) return;
        write_file(kPath, good_recording());
        obstacle_ =
            "/tmp/out/" + (GetParam().obstacle.empty() ? GetParam().output : GetParam().obstacle);
        fs::create_directories(fs::path(obstacle_).parent_path());
        write_file(obstacle_, "dear");
    }

    std::string obstacle_;
};

TEST_P(VerbWithOutputTest, AFileThatIsThereStays) {
    const Outcome outcome = run(command(GetParam(), kPath));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "petrelradar " + GetParam().name + ": " + obstacle_ +
                               ": already exists (use --force to overwrite)\n");
    EXPECT_EQ(read_file(obstacle_), "dear");
}

TEST_P(VerbWithOutputTest, AFileThatIsThereIsReplacedByForce) {
    std::vector<std::string> words = command(GetParam(), kPath);
    words.emplace_back("--force");
    const Outcome outcome = run(words);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(read_file(obstacle_), "dear");
}

TEST_P(VerbWithOutputTest, AForcedFileStaysWhenTheSourceIsNone) {
    write_file(kPath, "RIFF, a song of 1999");
    std::vector<std::string> words = command(GetParam(), kPath);
    words.emplace_back("--force");
    EXPECT_EQ(run(words).status, 1);
    EXPECT_EQ(read_file(obstacle_), "dear");
    EXPECT_THAT(list_directory(fs::path(obstacle_).parent_path()),
                ElementsAre(fs::path(obstacle_).filename()));
}

INSTANTIATE_TEST_SUITE_P(, VerbWithOutputTest, testing::ValuesIn(verbs_with_output()),
                         [](auto const& test) { return test.param.name; });

}  // namespace
