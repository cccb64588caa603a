#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <functional>

#include "tests/service/host_fixture.h"

/** What the program says and leaves behind when it does not start. */
namespace {

namespace fs = std::filesystem;
using service_test::kCard;
using service_test::kLog;
using service_test::kSettings;
using test_support::HostProcess;
using test_support::write_file;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr int kFailed = 1;
constexpr int kUsage = 2;
constexpr char kColumns[] = "frame_index,timestamp_us,rcs,r,rdot,theta,options,snr\n";

class HostUsageTest : public service_test::HostTest {};

TEST_F(HostUsageTest, AnUnknownOptionIsAUsageErrorInOneLine) {
    EXPECT_EQ(start({"--bogus"}).wait(), kUsage);
    EXPECT_THAT(host_->complaints(),
                ElementsAre(AllOf(StartsWith("petrelradard: "), HasSubstr("--bogus"))));
}

TEST_F(HostUsageTest, ABadRateIsAUsageErrorInOneLine) {
    EXPECT_EQ(start({"--input", "scene", "--rate", "fast"}).wait(), kUsage);
    EXPECT_THAT(host_->complaints(), ElementsAre(HasSubstr("\"fast\"")));
}

TEST_F(HostUsageTest, HelpGoesToTheOutputAndIsNoFailure) {
    EXPECT_EQ(start({"--help"}).wait(), 0);
    EXPECT_THAT(host_->output(), HasSubstr("Examples:"));
    EXPECT_EQ(host_->errors(), "");
}

TEST_F(HostUsageTest, TheVersionGoesToTheOutputAndIsNoFailure) {
    EXPECT_EQ(start({"--version"}).wait(), 0);
    EXPECT_THAT(host_->output(), StartsWith("petrelradard "));
}

/** Something that a person can get wrong, and what the program says to it. */
struct Mistake {
    char const* name;
    std::vector<std::string> arguments;
    std::function<void()> make;
    std::string object;
    std::string reason;
};

void PrintTo(Mistake const& mistake, std::ostream* os) {
    *os << mistake.name;
}

class HostRefusalTest : public service_test::HostTest, public testing::WithParamInterface<Mistake> {
protected:
    void SetUp() override {
        HostTest::SetUp();
        if (!IsSkipped() && GetParam().make) GetParam().make();
    }

    /** Every file of the fixed paths, with its content. */
    static std::map<std::string, std::string> files() {
        std::map<std::string, std::string> all;
        for (char const* const place : {"/tmp", "/etc/radar", "/var/spool/storage"}) {
            auto entry = fs::recursive_directory_iterator(place);
            for (; entry != fs::end(entry); ++entry) {
                const std::string path = entry->path();
                if (test_support::leads_to_the_build(path)) entry.disable_recursion_pending();
                if (!entry->is_regular_file() || path.rfind("/tmp/host-", 0) == 0) continue;
                all[path] = test_support::read_file(path);
            }
        }
        return all;
    }
};

TEST_P(HostRefusalTest, IsOneLineThatNamesTheObjectAndTheReason) {
    EXPECT_EQ(start(GetParam().arguments).wait(), kFailed);
    EXPECT_THAT(host_->complaints(),
                ElementsAre(AllOf(StartsWith("petrelradard: "), HasSubstr(GetParam().object),
                                  HasSubstr(GetParam().reason))));
}

TEST_P(HostRefusalTest, LeavesEveryFileAsItWas) {
    const auto before = files();
    start(GetParam().arguments).wait();
    EXPECT_EQ(files(), before);
}

TEST_P(HostRefusalTest, LeavesNoSockets) {
    start(GetParam().arguments).wait();
    EXPECT_FALSE(fs::is_socket(host_->socket()));
    EXPECT_FALSE(fs::is_socket(host_->status_socket()));
}

Mistake with_settings(char const* name, std::string const& content, std::string const& reason) {
    return {name,
            {"--input", "scene", "--settings", kSettings},
            [content] { write_file(kSettings, content); },
            std::string(kSettings) + ": ",
            reason};
}

Mistake with_card(char const* name, std::function<void()> const& make, std::string const& reason) {
    return {name,
            {"--input", "scene", "--settings", kSettings},
            [make] {
                write_file(kSettings, "[Radar]\nFileWriterLocation=1\nStorageIsMount=0\n");
                make();
            },
            std::string(kCard) + ": cannot be written to: ",
            reason};
}

Mistake with_log(char const* name, std::string const& content, std::string const& object,
                 std::string const& reason) {
    return {name, {"--input", kLog}, [content] { write_file(kLog, content); }, object, reason};
}

Mistake with_file_at(char const* name, std::string const& option, std::string const& path) {
    return {name,
            {"--input", "scene", option, path},
            [path] { write_file(path, "mine"); },
            path + ": ",
            "not a socket"};
}

template <typename... Mistakes>
auto mistakes(Mistakes const&... all) {
    return testing::ValuesIn(std::vector<Mistake>{all...});
}

std::string name_of(testing::TestParamInfo<Mistake> const& test) {
    return test.param.name;
}

INSTANTIATE_TEST_SUITE_P(
    Inputs, HostRefusalTest,
    mistakes(Mistake{"MissingDevice", {}, {}, "/dev/spidev0.0: ", "No such file or directory"},
             Mistake{"MissingLog",
                     {"--input", "/tmp/none.csv"},
                     {},
                     "/tmp/none.csv: ",
                     "No such file or directory"},
             Mistake{"MissingLogWithALineInItsName",
                     {"--input", "/tmp/a\nb.csv"},
                     {},
                     "/tmp/a\\x0ab.csv: ",
                     "No such file or directory"},
             Mistake{"Directory", {"--input", "/tmp"}, {}, "/tmp: ", ""},
             with_log("MalformedLog",
                      std::string(kColumns) + "0,1000,1,2,3,4,0,5\n1,2000,1,x,3,4,0,5\n",
                      "/tmp/walk.csv:3:10: ", "'x'"),
             with_log("Neither", "nothing that is known\n", "/tmp/walk.csv", ""),
             with_log("LogWithoutFrames", kColumns, "/tmp/walk.csv: ", "no frames")),
    name_of);

INSTANTIATE_TEST_SUITE_P(
    Settings, HostRefusalTest,
    mistakes(Mistake{"MissingSettings",
                     {"--input", "scene", "--settings", "/tmp/none.conf"},
                     {},
                     "/tmp/none.conf: ",
                     "No such file or directory"},
             with_settings("LineOutsideAGroup", "FileWriterEnabled=1\n", "group"),
             with_settings("NoSetting", "[Radar]\nFileWriterEnabled\n", "FileWriterEnabled"),
             with_settings("NoInteger", "[Radar]\nFileWriterFileTime=ten\n", "FileWriterFileTime"),
             Mistake{"DefaultSettings",
                     {"--input", "scene"},
                     [] { write_file("/etc/radar/radar.conf", "x=1\n"); },
                     "/etc/radar/radar.conf: ",
                     "group"}),
    name_of);

INSTANTIATE_TEST_SUITE_P(
    Directories, HostRefusalTest,
    mistakes(with_card(
                 "MissingCard", [] { fs::remove(kCard); }, "No such file or directory"),
             with_card(
                 "ReadOnlyCard", [] { mount("tmpfs", kCard, "tmpfs", MS_RDONLY, nullptr); },
                 "Read-only file system")),
    name_of);

INSTANTIATE_TEST_SUITE_P(
    Sockets, HostRefusalTest,
    mistakes(Mistake{"NoDirectoryForTheSocket",
                     {"--input", "scene", "--socket", "/tmp/none/targets.sock"},
                     {},
                     "/tmp/none/targets.sock: ",
                     "No such file or directory"},
             Mistake{"SocketPathTooLong",
                     {"--input", "scene", "--socket", "/tmp/" + std::string(108, 'x')},
                     {},
                     "/tmp/xxx",
                     "107"},
             with_file_at("FileInPlaceOfTheSocket", "--socket", "/tmp/targets.sock"),
             with_file_at("FileInPlaceOfTheStatusSocket", "--status-socket", "/tmp/status.sock")),
    name_of);

class HostMalformedLogTest : public service_test::HostTest {
protected:
    /** Plays a log with a bad value behind its 20th frame. */
    int play_damaged() {
        write_file(kLog, test_support::log_of(test_support::frames_of(20, 1000)) +
                             "20,99000,1,2,far,4,0,5\n");
        return start({"--input", kLog, "--rate", "max"}).wait();
    }
};

TEST_F(HostMalformedLogTest, ADamageFurtherOnIsNamedWithLineAndColumn) {
    EXPECT_EQ(play_damaged(), kFailed);
    // One line of columns, two for each frame before.
    EXPECT_THAT(host_->complaints(), ElementsAre(StartsWith("petrelradard: /tmp/walk.csv:42:")));
}

TEST_F(HostMalformedLogTest, TheFramesBeforeADamageAreRecorded) {
    play_damaged();
    // The last one may not be whole: the line behind it could be one of its targets.
    EXPECT_EQ(recorded().size(), 19U);
    EXPECT_THAT(test_support::recordings_in("/tmp", "radar"),
                ElementsAre(testing::EndsWith(".data")));
}

class HostSecondInstanceTest : public service_test::HostTest {
protected:
    int start_second(std::string const& status_socket) {
        start_scene();
        second_ = std::make_unique<HostProcess>(std::vector<std::string>{
            "--input", "scene", "--socket", host_->socket(), "--status-socket", status_socket});
        return second_->wait();
    }

    std::unique_ptr<HostProcess> second_;
};

TEST_F(HostSecondInstanceTest, IsRefusedWithTheSocket) {
    EXPECT_EQ(start_second("/tmp/other.sock"), kFailed);
    EXPECT_THAT(second_->complaints(), ElementsAre("petrelradard: " + host_->socket() +
                                                   ": already in use by a running service"));
}

TEST_F(HostSecondInstanceTest, DoesNotDisturbTheFirst) {
    start_second("/tmp/other.sock");
    EXPECT_EQ(host_->status()["state"], "running");
    EXPECT_EQ(host_->stop(SIGTERM), 0);
}

TEST_F(HostSecondInstanceTest, IsRefusedOnTheStatusSocketToo) {
    start_scene();
    HostProcess second({"--input", "scene", "--status-socket", host_->status_socket()});
    EXPECT_EQ(second.wait(), kFailed);
    EXPECT_THAT(second.complaints(), ElementsAre(HasSubstr(host_->status_socket())));
}

TEST_F(HostSecondInstanceTest, BeginsNoFile) {
    start_second("/tmp/other.sock");
    EXPECT_EQ(test_support::recordings_in("/tmp", "radar").size(), 1U);
}

}  // namespace
