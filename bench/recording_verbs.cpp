// What the verbs cost that read recordings, as against protobuf alone.
//
//   recording_verbs [MEGABYTES [TARGETS [RUNS]]]
//
// Writes a recording of frames with so many targets each to a directory of its own in /tmp, and
// reads it with `info`, `doctor` and `cat --format csv`, whose output goes to /dev/null. Protobuf
// alone parses the same records, which are in memory, into one message again and again. Prints the
// best of so many runs of each, in turns, and how fast the verb is compared with protobuf, by the
// clock and by the time of all processors: `cat` uses several, where there are several and idle.
// The file is in the page cache. Exit status 1 when a verb is slower than is promised.

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "kit/encoding/frame_magic.h"
#include "kit/recording/format.h"
#include "radar_objects/radar_objects.pb.h"
#include "tools/program.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Contender {
    std::string name;
    double promised;  // part of protobuf's speed; 0 for protobuf itself
    std::function<void()> work;
    double seconds = 1e9;
    double cpu_seconds = 1e9;  // of all threads
};

[[noreturn]] void fail(std::string const& what) {
    throw std::runtime_error(what);
}

/** A frame whose numbers are as a radar's: range and speed in steps, the others in finer ones. */
RO::RadarObjects make_frame(int number, int targets) {
    static std::mt19937 random;
    const auto step = [](uint32_t steps) { return static_cast<float>(random() % steps); };
    RO::RadarObjects frame;
    frame.set_magic(Kit::kFrameMagic);
    frame.set_timestamp(1747301407000000ULL + 33333ULL * static_cast<unsigned>(number));
    for (int i = 0; i < targets; ++i) {
        RO::TargetData& target = *frame.add_targets();
        target.set_rcs(-56.0f + step(20000) * 0.0011f);
        target.set_r(step(80) * 0.043577f);
        target.set_rdot((step(17) - 8.0f) * 0.1253f);
        target.set_theta(step(15000) * 0.0001f - 0.75f);
        target.set_snr(8.0f + step(3000) * 0.01f);
    }
    return frame;
}

/** All records of a recording, and where each payload is. */
struct Recording {
    std::string bytes;
    std::vector<std::pair<size_t, size_t>> payloads;
};

Recording make_recording(size_t size, int targets) {
    Recording recording;
    Kit::RecordingHeader header;
    header.magic = Kit::kRecordingMagic;
    header.version = Kit::kRecordingVersion;
    header.seconds = 1747301407;
    recording.bytes = Kit::encode_header(header);
    for (int i = 0; recording.bytes.size() < size; ++i) {
        const std::string payload = make_frame(i, targets).SerializeAsString();
        recording.bytes +=
            Kit::encode_record_header(Kit::kRecordTag | 7, static_cast<uint32_t>(payload.size()));
        recording.payloads.emplace_back(recording.bytes.size(), payload.size());
        recording.bytes += payload;
    }
    header.frame_count = static_cast<uint32_t>(recording.payloads.size());
    recording.bytes.replace(0, Kit::kRecordingHeaderSize, Kit::encode_header(header));
    return recording;
}

void parse(Recording const& recording) {
    RO::RadarObjects frame;
    for (auto const& [offset, size] : recording.payloads) {
        if (!frame.ParseFromArray(recording.bytes.data() + offset, static_cast<int>(size))) {
            fail("protobuf does not decode a record");
        }
    }
}

/** Runs a verb in this process with its standard output thrown away. */
void run_verb(std::vector<std::string> const& arguments) {
    std::vector<char const*> words = {"petrelradar"};
    for (std::string const& argument : arguments) words.push_back(argument.c_str());
    std::fflush(stdout);
    const int kept = dup(STDOUT_FILENO);
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(null, STDOUT_FILENO);
    const auto status = Tools::run_program(static_cast<int>(words.size()), words.data());
    dup2(kept, STDOUT_FILENO);
    close(null);
    close(kept);
    if (status != Tools::ExitStatus::kOk) fail(arguments.front() + " failed");
}

double cpu_time() {
    timespec now = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

void measure(Contender& contender) {
    const auto begin = Clock::now();
    const double cpu_begin = cpu_time();
    contender.work();
    const std::chrono::duration<double> taken = Clock::now() - begin;
    contender.seconds = std::min(contender.seconds, taken.count());
    contender.cpu_seconds = std::min(contender.cpu_seconds, cpu_time() - cpu_begin);
}

bool report(std::vector<Contender> const& contenders, size_t bytes) {
    bool all_kept = true;
    Contender const& protobuf = contenders.front();
    std::printf("%-18s %10s %10s %10s %10s\n", "", "MB/s", "ratio", "CPU ratio", "promised");
    for (Contender const& contender : contenders) {
        const double ratio = protobuf.seconds / contender.seconds;
        std::printf("%-18s %10.0f %9.0f%% %9.0f%%", contender.name.c_str(),
                    static_cast<double>(bytes) / 1e6 / contender.seconds, ratio * 100,
                    protobuf.cpu_seconds / contender.cpu_seconds * 100);
        if (contender.promised > 0) {
            const bool kept = ratio >= contender.promised;
            std::printf(" %9.0f%% %s", contender.promised * 100, kept ? "" : "MISSED");
            all_kept = all_kept && kept;
        }
        std::printf("\n");
    }
    return all_kept;
}

int argument(int argc, char** argv, int number, int otherwise) {
    const int value = argc > number ? std::atoi(argv[number]) : otherwise;
    if (value <= 0) fail("usage: recording_verbs [MEGABYTES [TARGETS [RUNS]]]");
    return value;
}

int run(int argc, char** argv) {
    const int megabytes = argument(argc, argv, 1, 50);
    const int targets = argument(argc, argv, 2, 20);
    const int runs = argument(argc, argv, 3, 5);
    const Recording recording = make_recording(static_cast<size_t>(megabytes) * 1000000, targets);
    char directory[] = "/tmp/recording-verbs-XXXXXX";
    if (mkdtemp(directory) == nullptr) fail("no directory in /tmp");
    const std::string path = std::string(directory) + "/bench.data";
    std::ofstream(path, std::ios::binary) << recording.bytes;
    std::vector<Contender> contenders = {{"protobuf alone", 0, [&] { parse(recording); }},
                                         {"info", 0.6,
                                          [&] {
                                              run_verb({"info", path});
                                          }},
                                         {"doctor", 0.4,
                                          [&] {
                                              run_verb({"doctor", path});
                                          }},
                                         {"cat --format csv", 0.2, [&] {
                                              run_verb({"cat", "--format", "csv", path});
                                          }}};
    for (int i = 0; i < runs; ++i) {
        for (Contender& contender : contenders) measure(contender);
    }
    std::filesystem::remove_all(directory);
    std::printf("%zu records, %d targets each, %.1f MB; best of %d runs\n",
                recording.payloads.size(), targets,
                static_cast<double>(recording.bytes.size()) / 1e6, runs);
    return report(contenders, recording.bytes.size()) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (std::exception const& error) {
        std::fprintf(stderr, "recording_verbs: %s\n", error.what());
        return 2;
    }
}
