#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace test_support {

/** A recorded file, taken apart. */
struct Recording {
    uint32_t magic;
    uint32_t version;
    int32_t seconds;
    int32_t daylight;
    double height;
    double tilt;
    int32_t sensitivity;
    uint32_t frames;
    /** What follows the header. */
    std::string body;
};

/** Takes the bytes of a number off the front of `bytes`; fails the test when there are too few. */
template <typename Number>
Number take(std::string& bytes) {
    Number number = {};
    if (bytes.size() < sizeof(number)) {
        ADD_FAILURE() << "the bytes end inside a number";
        bytes.clear();
        return number;
    }
    std::memcpy(&number, bytes.data(), sizeof(number));
    bytes.erase(0, sizeof(number));
    return number;
}

inline Recording parse_recording(std::string bytes) {
    Recording recording;
    recording.magic = take<uint32_t>(bytes);
    recording.version = take<uint32_t>(bytes);
    recording.seconds = take<int32_t>(bytes);
    recording.daylight = take<int32_t>(bytes);
    recording.height = take<double>(bytes);
    recording.tilt = take<double>(bytes);
    recording.sensitivity = take<int32_t>(bytes);
    recording.frames = take<uint32_t>(bytes);
    recording.body = bytes;
    return recording;
}

/** Expects the header of a file that was begun at the first moment of the tests' clock. */
inline void expect_header(Recording const& recording, uint32_t frames) {
    EXPECT_EQ(recording.magic, 0xBADABADA);
    EXPECT_EQ(recording.version, 5U);
    EXPECT_EQ(recording.seconds, 1747301407);
    EXPECT_EQ(recording.daylight, 0);
    EXPECT_EQ(recording.height, 2.75);
    EXPECT_EQ(recording.tilt, -12.5);
    EXPECT_EQ(recording.sensitivity, 2);
    EXPECT_EQ(recording.frames, frames);
}

/** One frame of an object recording. */
struct Record {
    uint32_t tag;
    std::string payload;

    bool operator==(Record const& other) const {
        return tag == other.tag && payload == other.payload;
    }
};

/** Takes the body of an object recording apart; fails the test when it ends inside a record. */
inline std::vector<Record> parse_records(std::string body) {
    std::vector<Record> records;
    while (!body.empty()) {
        const auto tag = take<uint32_t>(body);
        const auto length = take<uint32_t>(body);
        EXPECT_LE(length, body.size()) << "the file ends inside a record";
        records.push_back({tag, body.substr(0, length)});
        body.erase(0, length);
    }
    return records;
}

}  // namespace test_support
