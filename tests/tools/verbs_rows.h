#pragma once

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "tests/support/private_paths.h"
#include "tests/support/recording_bytes.h"

namespace tools_test {

using test_support::frame;
using test_support::kBegin;
using test_support::recording;

// In the arguments of a verb, in the place of what is read.
inline constexpr char kSource[] = "SOURCE";
inline constexpr char kGood[] = "/tmp/in/good.data";
inline constexpr char kLater[] = "/tmp/in/later.data";
inline constexpr int kFrames = 6;

struct VerbRow {
    std::string name;
    std::vector<std::string> arguments;
    std::string output;   // what it writes below /tmp/out; empty: nothing
    bool prints = false;  // whether it has data for standard output
    /** A file that is in the way of the output, where that is a folder. */
    std::string obstacle = {};
    /** Where it tells what is wrong with a file, no file is too wrong for it. */
    int status_without_frames = 1;
    /** What it says of a file that is being written, since there may be more of it later. */
    std::string note_while_written = {};
};

inline std::ostream& operator<<(std::ostream& os, VerbRow const& verb) {
    return os << verb.name;
}

inline const VerbRow kVerbs[] = {
    {"cat", {kSource}, "", true},
    {"cut", {kSource, "-o", "/tmp/out/part.data"}, "part.data"},
    {"diff", {kSource, kGood}, "", true},
    {"doctor", {kSource}, "", true, "", 3},
    {"export", {kSource, "-o", "/tmp/out/all.mcap"}, "all.mcap"},
    {"info", {kSource}, "", true},
    {"merge", {kSource, kLater, "-o", "/tmp/out/both.data"}, "both.data"},
    {"play", {kSource, "--socket", "/tmp/play.sock", "--rate", "max"}, ""},
    {"plot", {kSource, "-o", "/tmp/out/walk.svg"}, "walk.svg"},
    {"recover",
     {kSource, "-o", "/tmp/out/saved"},
     "saved",
     true,
     "saved/radar_150525_093007_042.data",
     1,
     "being written: what exists so far is saved"},
};

inline std::string good_frame(int number) {
    return frame(kBegin + static_cast<uint64_t>(number) * 50000, {{2, 0.5F, 0}});
}

/** A recording of the frames from `first` to before `end`. */
inline std::string good_recording(int first = 0, int end = kFrames) {
    std::vector<std::string> frames;
    for (int i = first; i < end; ++i) frames.push_back(good_frame(i));
    return recording(frames);
}

inline std::vector<std::string> command(VerbRow const& verb, std::string const& source) {
    std::vector<std::string> words = {verb.name};
    for (std::string const& word : verb.arguments) words.push_back(word == kSource ? source : word);
    return words;
}

/** A folder with recordings for the verbs, and one for what they write. */
class VerbTest : public test_support::PrivatePathsTest {
protected:
    void SetUp() override {
        PrivatePathsTest::SetUp();
        if (IsSkipped()) return;
        for (char const* const folder : {"/tmp/in", "/tmp/out"}) {
            std::filesystem::remove_all(folder);
            std::filesystem::create_directory(folder);
        }
        test_support::write_file(kGood, good_recording());
        test_support::write_file(kLater, good_recording(kFrames, kFrames + 2));
    }
};

}  // namespace tools_test
