// How much memory the verbs take that read recordings: it has nothing to do with the file's size.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "kit/recording/format.h"
#include "tests/support/live_bytes.h"
#include "tests/support/private_paths.h"
#include "tests/support/recording_bytes.h"
#include "tools/program.h"

namespace {

using test_support::frame;
using test_support::header;
using test_support::record;
using test_support::word;

constexpr char kPath[] = "/tmp/radar_150525_093007_042.data";
constexpr long kMostKib = 32 * 1024;

// What a sanitizer adds to a process is more than what is measured here.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
constexpr bool kSanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
constexpr bool kSanitized = false;
#endif

/** Runs the program with its output thrown away; what it held in memory at most, in KiB. */
long resident_memory_of(std::vector<std::string> words) {
    words.insert(words.begin(), PETRELRADAR_PROGRAM);
    std::vector<char*> arguments;
    for (std::string& each : words) arguments.push_back(each.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    pid_t pid = 0;
    EXPECT_EQ(posix_spawn(&pid, PETRELRADAR_PROGRAM, &actions, nullptr, arguments.data(), environ),
              0);
    posix_spawn_file_actions_destroy(&actions);
    int status = -1;
    struct rusage usage = {};
    wait4(pid, &status, 0, &usage);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << words[1] << " " << status;
    return usage.ru_maxrss;
}

/** The same, of what it held through `new`, which is the same under a sanitizer. */
long allocated_memory_of(std::vector<std::string> words) {
    int ends[2] = {-1, -1};
    EXPECT_EQ(pipe(ends), 0);
    const pid_t pid = fork();
    if (pid == 0) {
        freopen("/dev/null", "w", stdout);
        std::vector<char const*> arguments = {"petrelradar"};
        for (std::string const& word : words) arguments.push_back(word.c_str());
        const test_support::LiveBytes memory;
        const auto status =
            Tools::run_program(static_cast<int>(arguments.size()), arguments.data());
        const auto peak = static_cast<long>(memory.peak() / 1024);
        const bool told = write(ends[1], &peak, sizeof(peak)) == sizeof(peak);
        _exit(told ? static_cast<int>(status) : 99);
    }
    close(ends[1]);
    long peak = -1;
    EXPECT_EQ(read(ends[0], &peak, sizeof(peak)), ssize_t{sizeof(peak)});
    close(ends[0]);
    int status = -1;
    waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << words[0] << " " << status;
    return peak;
}

struct Verb {
    char const* name;
    std::vector<std::string> arguments;
};

std::ostream& operator<<(std::ostream& os, Verb const& verb) {
    return os << verb.name;
}

class RecordingMemoryTest : public test_support::PrivatePathsTest,
                            public testing::WithParamInterface<Verb> {
protected:
    static void expect_at_most(long kib) {
        clear_output();
        const long allocated = allocated_memory_of(GetParam().arguments);
        RecordProperty("allocated_kib", std::to_string(allocated));
        EXPECT_LT(allocated, kib);
        if (kSanitized) return;
        clear_output();
        EXPECT_LT(resident_memory_of(GetParam().arguments), kib);
    }

    static void clear_output() {
        for (char const* const output : {"/tmp/saved", "/tmp/o", "/tmp/o.mcap", "/tmp/plot.svg"}) {
            std::filesystem::remove_all(output);
        }
    }
};

TEST_P(RecordingMemoryTest, IsBoundedWhateverTheFilesSize) {
    constexpr uint32_t kFrames = 24000;
    const std::string unknown = "\x22\x80\x10" + std::string(2048, 'x');  // a field of 2 KiB
    std::ofstream file(kPath, std::ios::binary);
    file << header(kFrames);
    for (uint64_t i = 0; i < kFrames; ++i) {
        file << record(frame(1747301407000000 + i * 33333, 10) + unknown);
    }
    file.close();
    expect_at_most(kMostKib);
}

/** Writes a record of the largest size without ever holding it: what is held counts for children.
 */
void write_largest_record(std::ostream& file) {
    std::string begin = frame(1747301407000000) + "\x22";  // a field that nobody knows
    const size_t rest = Kit::kLargestPayload - begin.size() - 4;
    for (int shift = 0; shift < 28; shift += 7) {
        begin += static_cast<char>((rest >> shift & 0x7F) | (shift < 21 ? 0x80 : 0));
    }
    const std::string kilobyte(1024, 'x');
    file << word(0xFEED0007) << word(Kit::kLargestPayload) << begin;
    for (size_t i = 0; i < rest / 1024; ++i) file << kilobyte;
    file << kilobyte.substr(0, rest % 1024);
}

TEST_P(RecordingMemoryTest, TheLargestRecordsAddTheirSizeOnce) {
    std::ofstream file(kPath, std::ios::binary);
    file << header(3);
    for (int i = 0; i < 3; ++i) write_largest_record(file);
    file.close();
    expect_at_most(kMostKib + 16 * 1024);
}

INSTANTIATE_TEST_SUITE_P(
    Verbs, RecordingMemoryTest,
    testing::Values(Verb{"Info", {"info", kPath}}, Verb{"Doctor", {"doctor", kPath}},
                    Verb{"Recover", {"recover", kPath, "-o", "/tmp/saved"}},
                    Verb{"Cat", {"cat", "--format", "csv", kPath}},
                    Verb{"Export", {"export", kPath, "-o", "/tmp/o.mcap"}},
                    Verb{"Cut", {"cut", kPath, "-o", "/tmp/o"}},
                    Verb{"Merge", {"merge", kPath, kPath, "-o", "/tmp/o"}},
                    Verb{"Diff", {"diff", kPath, kPath}},
                    Verb{"Play", {"play", "--socket", "/tmp/s", "--rate", "max", kPath}},
                    Verb{"Plot", {"plot", "-o", "/tmp/plot.svg", kPath}}),
    [](auto const& test) { return test.param.name; });

}  // namespace
