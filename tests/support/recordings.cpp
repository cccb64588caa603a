#include "tests/support/recordings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "kit/base/words.h"
#include "kit/recording/format.h"
#include "tests/support/private_paths.h"

namespace test_support {

namespace {

/** Names end in DDMMYY_HHMMSS_mmm: what sorts as text within one year sorts by time. */
std::string sort_key(std::string const& name, size_t prefix_size) {
    const std::string date = name.substr(prefix_size + 1);
    return date.substr(4, 2) + date.substr(2, 2) + date.substr(0, 2) + date.substr(6);
}

}  // namespace

std::string log_of(std::vector<RO::RadarObjects> const& frames) {
    std::ostringstream log;
    log << "frame_index,timestamp_us,rcs,r,rdot,theta,options,snr\n";
    for (size_t i = 0; i < frames.size(); ++i) {
        for (RO::TargetData const& target : frames[i].targets()) {
            log << i << "," << frames[i].timestamp() << "," << target.rcs() << "," << target.r()
                << "," << target.rdot() << "," << target.theta() << "," << target.options() << ","
                << target.snr() << "\n";
        }
    }
    return log.str();
}

std::vector<RO::RadarObjects> Recording::frames() const {
    std::vector<RO::RadarObjects> all;
    for (auto const& [tag, payload] : records) {
        RO::RadarObjects frame;
        EXPECT_TRUE(frame.ParseFromString(payload));
        all.push_back(frame);
    }
    return all;
}

Recording read_recording(std::string const& path) {
    const std::string bytes = read_file(path);
    Recording recording;
    if (bytes.size() < Kit::kRecordingHeaderSize ||
        Kit::read_word(bytes, 0) != Kit::kRecordingMagic) {
        ADD_FAILURE() << path << " has no header";
        return recording;
    }
    recording.frame_counter = Kit::read_word(bytes, Kit::kFrameCountOffset);
    size_t offset = Kit::kRecordingHeaderSize;
    while (bytes.size() - offset >= Kit::kRecordHeaderSize) {
        const uint32_t length = Kit::read_word(bytes, offset + 4);
        if (bytes.size() - offset - Kit::kRecordHeaderSize < length) break;
        recording.records.emplace_back(Kit::read_word(bytes, offset),
                                       bytes.substr(offset + Kit::kRecordHeaderSize, length));
        offset += Kit::kRecordHeaderSize + length;
    }
    recording.rest = bytes.substr(offset);
    return recording;
}

std::vector<std::string> recordings_in(std::string const& directory, std::string const& prefix) {
    std::vector<std::string> names;
    for (std::string const& name : list_directory(directory)) {
        if (name.rfind(prefix + "_", 0) == 0) names.push_back(name);
    }
    std::sort(names.begin(), names.end(), [&](auto const& left, auto const& right) {
        return sort_key(left, prefix.size()) < sort_key(right, prefix.size());
    });
    return names;
}

std::vector<RO::RadarObjects> recorded_frames(std::string const& directory,
                                              std::vector<std::string> const& names) {
    std::vector<RO::RadarObjects> all;
    for (std::string const& name : names) {
        for (RO::RadarObjects const& frame : read_recording(directory + "/" + name).frames()) {
            all.push_back(frame);
        }
    }
    return all;
}

}  // namespace test_support
