// Every verb that reads a SOURCE, given every kind of source: what it answers, on which stream, and
// what it leaves behind. A new verb is a row of kVerbs.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <thread>

#include "tests/support/process.h"
#include "tests/tools/verbs_rows.h"
#include "tools/verbs.h"

namespace {

namespace fs = std::filesystem;
using test_support::header;
using test_support::list_directory;
using test_support::Outcome;
using test_support::read_file;
using test_support::record;
using test_support::run;
using test_support::write_file;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using tools_test::command;
using tools_test::good_frame;
using tools_test::good_recording;
using tools_test::kFrames;
using tools_test::kVerbs;
using tools_test::VerbRow;

/** Verbs that only read sockets, or have no source. They have tests of their own. */
const std::set<std::string> kOthers = {"completion", "help",     "listen",
                                       "regs",       "settings", "status"};

std::string damaged_recording() {
    std::string bytes = good_recording();
    const size_t third = 40 + 2 * record(good_frame(0)).size();
    for (size_t i = 0; i < 20; ++i) bytes[third + i] = '\xA5';
    return bytes;
}

enum class Condition { kWell, kDamaged, kWithoutFrames, kUnreadable };

struct SourceRow {
    char const* name;
    Condition condition;
    void (*make)();
    std::string source = "/tmp/in/radar_150525_093007_042.data";
    char const* message = "";  // part of what every verb says
    bool pipe = false;         // `source` is a pipe, from which a good recording comes
    /** Whether its recorder is at work on it while it is read. */
    bool is_being_written = false;
};

std::ostream& operator<<(std::ostream& os, SourceRow const& source) {
    return os << source.name;
}

constexpr char kPath[] = "/tmp/in/radar_150525_093007_042.data";
constexpr char kUnfinishedPath[] = "/tmp/in/radar_150525_093007_042";

/** As a recorder leaves it in the middle of a record. */
std::string begun_recording() {
    const std::string bytes = good_recording() + record(good_frame(kFrames)).substr(0, 30);
    return header(0) + bytes.substr(40);
}

const SourceRow kSources[] = {
    {"WellFormed", Condition::kWell, [] { write_file(kPath, good_recording()); }},
    {"BeingWritten", Condition::kWell, [] { write_file(kUnfinishedPath, begun_recording()); },
     kUnfinishedPath, "", false, true},
    {"Directory", Condition::kWell,
     [] {
         fs::create_directory("/tmp/in/card");
         write_file("/tmp/in/card/radar_150525_093007_042.data", good_recording(0, 2));
         write_file("/tmp/in/card/radar_150525_093007_142.data", good_recording(2, kFrames));
     },
     "/tmp/in/card"},
    {"Pipe", Condition::kWell, [] { ASSERT_EQ(mkfifo("/tmp/in/pipe", 0600), 0); }, "/tmp/in/pipe",
     "", true},
    {"Cut", Condition::kDamaged,
     [] { write_file(kPath, good_recording().substr(0, good_recording().size() - 7)); }, kPath,
     "cut off inside a record"},
    {"Damaged", Condition::kDamaged, [] { write_file(kPath, damaged_recording()); }, kPath,
     "bytes skipped"},
    {"Unfinished", Condition::kDamaged, [] { write_file(kUnfinishedPath, begun_recording()); },
     kUnfinishedPath, "bytes skipped"},
    {"ACountThatIsWrong", Condition::kDamaged,
     [] { write_file(kPath, header(9) + good_recording().substr(40)); }, kPath, ""},
    {"Foreign", Condition::kWithoutFrames, [] { write_file(kPath, "RIFF, a song of 1999"); }, kPath,
     ""},
    {"Empty", Condition::kWithoutFrames, [] { write_file(kPath, ""); }, kPath, "empty"},
    {"Missing", Condition::kUnreadable, [] {}, kPath, "No such file or directory"},
    {"EmptyDirectory", Condition::kUnreadable, [] { fs::create_directory("/tmp/in/card"); },
     "/tmp/in/card", "holds no recordings"},
};

int status_of(VerbRow const& verb, SourceRow const& source) {
    switch (source.condition) {
        case Condition::kWell:
            return 0;
        case Condition::kDamaged:
            return 3;
        case Condition::kWithoutFrames:
            return verb.status_without_frames;
        case Condition::kUnreadable:
            break;
    }
    return 1;
}

/** What a file is, so that a change shows. */
struct Trace {
    std::string content;
    timespec changed;
    ino_t inode;

    bool operator==(Trace const& other) const {
        return content == other.content && changed.tv_sec == other.changed.tv_sec &&
               changed.tv_nsec == other.changed.tv_nsec && inode == other.inode;
    }
};

/** The files below a directory. */
std::map<std::string, Trace> traces(std::string const& directory) {
    std::map<std::string, Trace> all;
    for (auto const& entry : fs::recursive_directory_iterator(directory)) {
        struct stat status = {};
        EXPECT_EQ(stat(entry.path().c_str(), &status), 0);
        if (!entry.is_regular_file()) {
            all[entry.path()] = {"", {}, status.st_ino};  // of a pipe the times change by reading
        } else {
            all[entry.path()] = {read_file(entry.path()), status.st_mtim, status.st_ino};
        }
    }
    return all;
}

class VerbOnSourceTest : public tools_test::VerbTest,
                         public testing::WithParamInterface<std::tuple<VerbRow, SourceRow>> {
protected:
    static VerbRow const& verb() { return std::get<0>(GetParam()); }
    static SourceRow const& source() { return std::get<1>(GetParam()); }

    void SetUp() override {
        VerbTest::SetUp();
        if (IsSkipped()) return;
        source().make();
        before_ = traces("/tmp/in");
        status_ = status_of(verb(), source());
        outcome_ = run_on_source();
    }

    static Outcome run_on_source() {
        std::unique_ptr<std::ofstream> recorder;
        if (source().is_being_written) {
            recorder = std::make_unique<std::ofstream>(source().source, std::ios::app);
        }
        std::thread feeder;
        if (source().pipe) {
            feeder = std::thread([] { write_file(source().source, good_recording()); });
        }
        const Outcome outcome = run(command(verb(), source().source));
        if (feeder.joinable()) {
            // So that it does not wait for a reader that has never come.
            const int end = open(source().source.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
            feeder.join();
            close(end);
        }
        return outcome;
    }

    bool succeeds() const { return status_ == 0 || status_ == 3; }

    /** The status tells how it went. */
    void expect_status() const { EXPECT_EQ(outcome_.status, status_) << outcome_.err; }

    /** Standard output has data, or nothing. */
    void expect_output() const {
        EXPECT_EQ(!outcome_.out.empty(), verb().prints && succeeds()) << outcome_.out;
        EXPECT_THAT(outcome_.out, testing::Not(HasSubstr("petrelradar " + verb().name + ": ")));
    }

    /** Standard error is silent, or tells what is the matter. */
    void expect_messages() const {
        std::istringstream lines(outcome_.err);
        int count = 0;
        for (std::string line; std::getline(lines, line); ++count) {
            EXPECT_THAT(line, StartsWith("petrelradar " + verb().name + ": "));
        }
        const bool is_noted = source().is_being_written && !verb().note_while_written.empty();
        if (status_ == 0) {
            EXPECT_EQ(count, is_noted ? 1 : 0) << outcome_.err;
            EXPECT_THAT(outcome_.err, HasSubstr(is_noted ? verb().note_while_written : ""));
        } else {
            EXPECT_TRUE(status_ == 1 ? count == 1 : count > 0) << outcome_.err;
            const std::string told = outcome_.out + outcome_.err;
            EXPECT_THAT(told, HasSubstr(source().source + ": "));
            EXPECT_THAT(told, HasSubstr(source().message));
        }
    }

    /** The input is unchanged. */
    void expect_input() const { EXPECT_TRUE(traces("/tmp/in") == before_); }

    /** The output is there, whole; or nothing is. */
    void expect_files() const {
        if (verb().output.empty() || !succeeds()) {
            EXPECT_THAT(list_directory("/tmp/out"), IsEmpty());
        } else {
            EXPECT_THAT(list_directory("/tmp/out"), ElementsAre(verb().output));
        }
        EXPECT_FALSE(fs::exists("/tmp/play.sock"));
    }

    std::map<std::string, Trace> before_;
    int status_ = -1;
    Outcome outcome_;
};

TEST_P(VerbOnSourceTest, IsAnsweredOnTheRightStreamsAndLeavesTheRightFiles) {
    expect_status();
    expect_output();
    expect_messages();
    expect_input();
    expect_files();
}

std::string name_of(testing::TestParamInfo<std::tuple<VerbRow, SourceRow>> const& test) {
    return std::get<0>(test.param).name + std::get<1>(test.param).name;
}

INSTANTIATE_TEST_SUITE_P(, VerbOnSourceTest,
                         testing::Combine(testing::ValuesIn(kVerbs), testing::ValuesIn(kSources)),
                         name_of);

TEST(VerbTableTest, EveryVerbWithASourceIsInTheTable) {
    std::multiset<std::string> names(kOthers.begin(), kOthers.end());
    for (VerbRow const& verb : kVerbs) names.insert(verb.name);
    for (Tools::Verb const& verb : Tools::all_verbs()) EXPECT_EQ(names.count(verb.name), 1U);
}

}  // namespace
