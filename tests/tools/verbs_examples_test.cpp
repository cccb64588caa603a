// The examples of the help texts, and the commands on the pages, do what they are there for. They
// run as they are printed, in a shell, in a folder with files of the names that they use.

#include <gmock/gmock.h>
#include <sys/mount.h>

#include <algorithm>
#include <cctype>
#include <csignal>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <sstream>

#include "tests/support/chip_program.h"
#include "tests/support/eventually.h"
#include "tests/support/host_process.h"
#include "tests/support/private_paths.h"
#include "tests/support/recording_bytes.h"
#include "tools/verbs.h"

namespace {

namespace fs = std::filesystem;
using test_support::kBegin;
using test_support::read_file;
using test_support::write_file;

/** A command as it is printed, and where that is. */
struct Example {
    std::string name;
    std::string command;  // "petrelradar cat day.data | head"
};

std::ostream& operator<<(std::ostream& os, Example const& example) {
    return os << example.command;
}

bool begins(std::string const& text, std::string const& beginning) {
    return text.rfind(beginning, 0) == 0;
}

bool holds(std::string const& text, std::string const& part) {
    return text.find(part) != std::string::npos;
}

void add_help(Tools::Verb const& verb, std::string const& before, std::vector<Example>& all) {
    int number = 0;
    for (Tools::Verb::Example const& example : verb.examples) {
        all.push_back({before + verb.name + "_help" + std::to_string(++number),
                       "petrelradar " + example.arguments});
    }
    for (Tools::Verb const& part : verb.verbs) add_help(part, verb.name + "_", all);
}

/** The commands of a page are the lines of its code blocks for the shell. */
void add_page(fs::path const& page, std::vector<Example>& all) {
    std::string name = page.stem();
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    std::istringstream lines(read_file(page));
    int number = 0;
    bool in_block = false;
    for (std::string line; std::getline(lines, line);) {
        if (begins(line, "```")) in_block = line == "```sh";
        if (!in_block || !begins(line, "petrelradar ")) continue;
        all.push_back({name + "_page" + std::to_string(++number), line});
    }
}

/** Every command once. */
std::vector<Example> all_examples() {
    std::vector<Example> all;
    for (Tools::Verb const& verb : Tools::all_verbs()) add_help(verb, "", all);
    std::set<fs::path> pages = {PETRELRADAR_SOURCE_DIR "/README.md"};
    for (auto const& entry : fs::directory_iterator(PETRELRADAR_SOURCE_DIR "/docs")) {
        if (entry.path().extension() == ".md") pages.insert(entry.path());
    }
    for (fs::path const& page : pages) add_page(page, all);
    std::set<std::string> seen;
    all.erase(
        std::remove_if(all.begin(), all.end(),
                       [&](Example const& each) { return !seen.insert(each.command).second; }),
        all.end());
    return all;
}

/** Statuses other than 0, of commands that begin so: the files are made to show something. */
int status_of(std::string const& command) {
    for (char const* const beginning :
         {"petrelradar doctor - < FSCK0000.REC", "petrelradar recover radar_150525_093007_042 ",
          "petrelradar recover --format json FSCK0000.REC", "petrelradar diff before.data",
          "petrelradar diff --brief"}) {
        if (begins(command, beginning)) return 3;
    }
    return 0;
}

/**
 * What shows that a command that does not end by itself is at work: a file, by the beginning of its
 * path, or else what it prints. None for other commands.
 */
std::optional<std::string> sign_of_endless(std::string const& command) {
    if (begins(command, "petrelradar export unix:")) return "/tmp/desk/.live.ndjson.";
    if (holds(command, " --loop") || holds(command, " --wait")) return "/tmp/radar.sock";
    if (holds(command, " --count 60 > changes.ndjson")) return "/tmp/desk/changes.ndjson";
    const bool prints = command == "petrelradar listen" || holds(command, " --follow") ||
                        holds(command, " --watch") || begins(command, "petrelradar regs watch");
    return prints ? std::optional<std::string>("") : std::nullopt;
}

std::string recording(int count, uint64_t step_us, uint64_t begin = kBegin, float range = 2) {
    std::vector<std::string> frames;
    for (int i = 0; i < count; ++i) {
        const auto number = static_cast<uint64_t>(i);
        frames.push_back(test_support::frame(begin + number * step_us, {{range, 0.5F, 0.1F}}));
    }
    return test_support::recording(frames);
}

/** The files that the examples speak of. */
void make_files() {
    for (char const* const path : {"/tmp/desk", "/tmp/home", "/tmp/bin", "/tmp/pid"}) {
        fs::remove_all(path);
    }
    const std::string walk = recording(6, 50000);
    const std::string cut = walk.substr(0, walk.size() - 9);
    for (char const* const path :
         {"/tmp/", "/tmp/desk/", "/var/spool/storage/SD_DISK/", "/media/card1/", "/media/card2/"}) {
        fs::create_directories(path);
        write_file(std::string(path) + "radar_150525_093007_042.data", walk);
    }
    fs::current_path("/tmp/desk");
    write_file("radar_150525_093007_042", cut);
    write_file("FSCK0000.REC", cut);
    write_file("before.data", walk);
    write_file("after.data", recording(6, 50000, kBegin, 2.0005F));
    write_file("morning.data", walk);
    write_file("evening.data", recording(6, 50000, kBegin + 36000000000));
    write_file("day.data", recording(1200, 100000));
    write_file("log.data", recording(300, 100000));
    write_file("my.conf", "[Radar]\nTargetLimit=64\n");
    write_file("/etc/radar/radar.conf", "[Radar]\nFileWriterFileTime=900\n");
    fs::copy_file(PETRELRADAR_SOURCE_DIR "/chip/demo-chip.map", "my-chip.map");
}

/** The programs that the examples name, and the folders of a person that they write to. */
void make_home() {
    fs::create_directories("/tmp/bin");
    fs::create_symlink(PETRELRADAR_PROGRAM, "/tmp/bin/petrelradar");
    // It may not be on the machine; what is asked of it is one key of one document.
    write_file("/tmp/bin/jq",
               "#!/bin/sh\n"
               "exec python3 -c 'import json, sys; "
               "print(json.dumps(json.load(sys.stdin)[sys.argv[1][1:]]))' \"$1\"\n");
    fs::permissions("/tmp/bin/jq", fs::perms::owner_all);
    for (char const* const path :
         {".local/share/bash-completion/completions", ".zfunc", ".config/fish/completions"}) {
        fs::create_directories(fs::path("/tmp/home") / path);
    }
}

/** Puts an empty file system in the place of a folder; of this process's namespace only. */
bool make_private(char const* path) {
    return fs::is_directory(path) && mount("tmpfs", path, "tmpfs", 0, nullptr) == 0;
}

class ExampleTest : public test_support::PrivatePathsTest,
                    public testing::WithParamInterface<Example> {
protected:
    static std::string const& command() { return GetParam().command; }
    static bool needs_chip() { return begins(command(), "petrelradar regs "); }

    void SetUp() override {
        PrivatePathsTest::SetUp();
        if (IsSkipped()) return;
        if (!make_private("/run") || !make_private("/media")) {
            GTEST_SKIP() << "no private /run and /media";
        }
        if (needs_chip() && !test_support::chip_problem().empty()) {
            GTEST_SKIP() << test_support::chip_problem();
        }
        make_files();
        make_home();
        remove_output();
        const bool needs_service = begins(command(), "petrelradar listen") ||
                                   begins(command(), "petrelradar status") ||
                                   holds(command(), "unix:/run/");
        if (needs_service) start_service();
    }

    /** One example's output has the name of what another one reads. */
    static void remove_output() {
        const size_t option = command().find(" -o ");
        if (option != std::string::npos) fs::remove_all(command().substr(option + 4));
    }

    /** A service that streams a scene at the paths where the programs look for it. */
    void start_service() {
        write_file("/tmp/service.conf",
                   "[Radar]\nFileWriterEnabled=0\nDiagnosticFileWriterEnabled=0\n");
        service_ = std::make_unique<test_support::HostProcess>(std::vector<std::string>{
            "--input", "scene:1", "--frame-rate", "1000", "--settings", "/tmp/service.conf"});
        service_->await_ready();
        service_->await_status([](auto const& document) {
            return test_support::number(document["counters"]["frames"]) > 20;
        });
        fs::create_directory("/run/petrelradar");
        fs::create_symlink(service_->socket(), "/run/petrelradar/targets.sock");
        fs::create_symlink(service_->socket(), "/run/radar.sock");
        fs::create_symlink(service_->status_socket(), "/run/petrelradar/status.sock");
    }

    /** The command in a shell, beside a chip if it needs one. It tells its process in a file. */
    static std::vector<std::string> shell() {
        std::string script = "cd /tmp/desk; export PATH=/tmp/bin:$PATH HOME=/tmp/home TERM=dumb; ";
        if (needs_chip()) {
            script +=
                "petrelradar regs dump > before.txt 2> notes && "
                "petrelradar regs dump --format json > after.json 2> notes || exit 99; ";
        }
        script += "echo $$ > /tmp/.pid && mv /tmp/.pid /tmp/pid; ";
        if (sign_of_endless(command())) script += "exec ";
        script += command();
        const std::vector<std::string> words = {"sh", "-c", script};
        return needs_chip() ? test_support::chip_with(words) : words;
    }

    static void await_file(std::string const& beginning) {
        const std::string folder = fs::path(beginning).parent_path();
        const auto exists = [&] {
            for (std::string const& name : test_support::list_directory(folder)) {
                const std::string path = folder + "/" + name;
                // An empty one is the shell's, before the program has begun.
                const bool is_shells = path == "/tmp/desk/changes.ndjson" && fs::is_empty(path);
                if (begins(path, beginning) && !is_shells) return true;
            }
            return false;
        };
        ASSERT_TRUE(test_support::eventually(exists)) << beginning;
    }

    /** Ends a command that is at work as a person would. */
    static void interrupt(test_support::Process& process, std::string const& sign) {
        if (sign.empty()) {
            ASSERT_TRUE(process.prints("\n")) << process.err();
        } else {
            await_file(sign);
        }
        kill(std::stoi(read_file("/tmp/pid")), SIGINT);
    }

    std::unique_ptr<test_support::HostProcess> service_;
};

TEST_P(ExampleTest, WorksAsItIsPrinted) {
    test_support::Process process(shell());
    if (const auto sign = sign_of_endless(command())) interrupt(process, *sign);
    EXPECT_EQ(process.finish().status, status_of(command())) << process.out() << process.err();
}

INSTANTIATE_TEST_SUITE_P(, ExampleTest, testing::ValuesIn(all_examples()),
                         [](auto const& test) { return test.param.name; });

}  // namespace
