// The verb info: what it tells.

#include <gmock/gmock.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/tools/inspect/info_fixture.h"

namespace {

using Json = nlohmann::json;
using test_support::frame;
using test_support::header;
using test_support::kBegin;
using test_support::Outcome;
using test_support::read_file;
using test_support::recording;
using test_support::steady_recording;
using test_support::word;
using test_support::write_file;
using testing::HasSubstr;
using testing::Not;
using tools_test::InfoTest;
using tools_test::kRecording;

TEST_F(InfoTest, TheTextTellsEverything) {
    write_file(kRecording,
               recording({frame(kBegin, {}), frame(kBegin + 40000, {{1, 0, 0}, {2, 0, 0}}),
                          frame(kBegin + 100000, {{1, 0, 0}})}));
    const Outcome outcome = info();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.out,
              "source        /tmp/radar_150525_093007_042.data\n"
              "bytes         " +
                  std::to_string(std::filesystem::file_size(kRecording)) +
                  "\n"
                  "version       5\n"
                  "begun         2025-05-15T09:30:07Z, daylight saving time off\n"
                  "height        0\n"
                  "tilt          0\n"
                  "sensitivity   1\n"
                  "counter       3, agrees\n"
                  "tags          0xFEED0007\n"
                  "records       3\n"
                  "targets       3, in a frame 0 to 2, on average 1.00\n"
                  "first frame   1747301407000000 us (2025-05-15T09:30:07.000000Z)\n"
                  "last frame    1747301407100000 us (2025-05-15T09:30:07.100000Z)\n"
                  "duration      100.0 ms\n"
                  "rate          20.000 frames a second\n"
                  "interval      50.0 ms +- 14.1 ms, 40.0 ms to 60.0 ms\n"
                  "gaps          0\n"
                  "condition     complete\n");
}

TEST_F(InfoTest, TheHeaderIsTold) {
    write_file(kRecording, golden());
    const Json head = json()["files"][0]["header"];
    EXPECT_EQ(head["version"], 5);
    EXPECT_EQ(head["start_s"], 1747301407);
    EXPECT_EQ(head["start"], "2025-05-15T09:30:07Z");
    EXPECT_EQ(head["height"], 2.75);
    EXPECT_EQ(head["tilt"], -12.5);
    EXPECT_EQ(head["sensitivity"], 2);
    EXPECT_EQ(head["frame_count"], 3);
}

struct Daylight {
    char const* name;
    uint32_t flag;
    char const* text;
    char const* json;
};

std::ostream& operator<<(std::ostream& os, Daylight const& tested) {
    return os << tested.name;
}

class InfoDaylightTest : public InfoTest, public testing::WithParamInterface<Daylight> {};

TEST_P(InfoDaylightTest, TheFlagIsTold) {
    std::string bytes = header(0);
    bytes.replace(12, 4, word(GetParam().flag));
    write_file(kRecording, bytes);
    EXPECT_THAT(info().out, HasSubstr(GetParam().text));
    EXPECT_EQ(json()["files"][0]["header"]["daylight_saving"].dump(), GetParam().json);
}

INSTANTIATE_TEST_SUITE_P(, InfoDaylightTest,
                         testing::Values(Daylight{"On", 1, "daylight saving time on\n", "true"},
                                         Daylight{"Off", 0, "daylight saving time off\n", "false"},
                                         Daylight{"NotKnown", 0xFFFFFFFF,
                                                  "daylight saving time not known\n", "null"}),
                         [](auto const& tested) { return tested.param.name; });

TEST_F(InfoTest, RecordsAndTargetsAreCounted) {
    write_file(kRecording, golden());
    const Json all = json();
    EXPECT_EQ(all["records"], "3");
    EXPECT_EQ(all["targets"], Json::parse(R"({"count": "3", "min": 0, "mean": 1.0, "max": 2})"));
    EXPECT_EQ(all["tags"], Json::parse(R"(["0xFEED0007"])"));
    EXPECT_EQ(all["bytes"], std::to_string(golden().size()));
}

TEST_F(InfoTest, TimesAreStringsSinceTheyHave64Bits) {
    write_file(kRecording, golden());
    EXPECT_EQ(json()["first_timestamp_us"], "0");
    EXPECT_EQ(json()["last_timestamp_us"], "18446744073709551615");
}

TEST_F(InfoTest, RateAndSpreadAreTold) {
    write_file(kRecording, steady_recording(11, 50000));
    const Json all = json();
    EXPECT_DOUBLE_EQ(all["rate_hz"], 20);
    EXPECT_DOUBLE_EQ(all["interval_ms"]["mean"], 50);
    EXPECT_DOUBLE_EQ(all["interval_ms"]["deviation"], 0);
    EXPECT_DOUBLE_EQ(all["interval_ms"]["min"], 50);
    EXPECT_DOUBLE_EQ(all["interval_ms"]["max"], 50);
}

TEST_F(InfoTest, AGapIsToldWithItsPlace) {
    std::vector<std::string> frames;
    for (unsigned i = 0; i < 30; ++i) {
        frames.push_back(frame(kBegin + i * 50000U + (i >= 20 ? 700000 : 0), {}));
    }
    write_file(kRecording, recording(frames));
    const Json gaps = json()["gaps"];
    EXPECT_EQ(gaps["count"], "1");
    ASSERT_EQ(gaps["longest"].size(), 1U);
    EXPECT_EQ(gaps["longest"][0]["frame"], "20");
    EXPECT_EQ(gaps["longest"][0]["length_ms"], 750.0);
    EXPECT_EQ(gaps["longest"][0]["begin_us"], std::to_string(kBegin + 19 * 50000));
    EXPECT_EQ(gaps["longest"][0]["offset"], std::to_string(40 + 20 * (8 + frames[0].size())));
    EXPECT_THAT(info().out, HasSubstr("750.0 ms before frame 20 at offset "));
}

TEST_F(InfoTest, StepsBackInTimeAreCounted) {
    write_file(kRecording, recording({frame(kBegin + 9, {}), frame(kBegin, {})}));
    EXPECT_EQ(json()["steps_back"], "1");
    EXPECT_THAT(info().out, HasSubstr("time back     1 time\n"));
}

TEST_F(InfoTest, ACounterThatDisagreesIsToldAndLeavesStatus3) {
    std::string bytes = steady_recording(3, 1000);
    bytes.replace(36, 4, word(7));
    write_file(kRecording, bytes);
    const Outcome outcome = info();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.out, HasSubstr("counter       7, disagrees\n"));
    EXPECT_THAT(outcome.err, HasSubstr("the header counts 7 frames, 3 were found"));
    EXPECT_EQ(json(kRecording, 3)["files"][0]["frame_count_agrees"], false);
}

TEST_F(InfoTest, ACutFileTellsWhere) {
    const std::string whole = steady_recording(3, 1000);
    write_file(kRecording, whole.substr(0, whole.size() - 5));
    const Outcome outcome = info();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.out, HasSubstr("condition     complete, cut off at offset 98"));
    const Json file = json(kRecording, 3)["files"][0];
    EXPECT_EQ(file["cut_offset"], "98");
    EXPECT_EQ(file["records"], "2");
}

TEST_F(InfoTest, DamageIsCounted) {
    std::string bytes = steady_recording(3, 1000);
    bytes.insert(69, "damage");
    write_file(kRecording, bytes);
    const Json all = json(kRecording, 3);
    EXPECT_EQ(all["skipped_bytes"], "6");
    EXPECT_EQ(all["files"][0]["damaged_places"], "1");
    EXPECT_EQ(all["files"][0]["cut_offset"], nullptr);
    EXPECT_EQ(all["records"], "3");
}

TEST_F(InfoTest, WithoutRecordsWhatThereIsNotIsNull) {
    write_file(kRecording, header(0));
    const Json all = json();
    EXPECT_EQ(all["targets"], nullptr);
    EXPECT_EQ(all["first_timestamp_us"], nullptr);
    EXPECT_EQ(all["rate_hz"], nullptr);
    EXPECT_EQ(all["interval_ms"], nullptr);
    EXPECT_THAT(info().out, Not(HasSubstr("first frame")));
}

TEST_F(InfoTest, RawDataIsToldAndLeavesStatus3) {
    write_file(kRecording, header(2) + "raw data of a radar, which has no records");
    const Outcome outcome = info();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("raw data"));
}

TEST_F(InfoTest, EveryFieldOfTheJsonIsDocumented) {
    const std::string page = read_file(PETRELRADAR_SOURCE_DIR "/docs/info.md");
    std::vector<std::string> frames;
    for (unsigned i = 0; i < 30; ++i) {
        frames.push_back(frame(kBegin + i * 50000U + (i >= 20 ? 700000 : 0), {{1, 0, 0}}));
    }
    write_file(kRecording, recording(frames));
    const Json all = json().flatten();
    for (auto const& [path, value] : all.items()) {
        std::string name = path;  // "/gaps/longest/0/file"
        while (std::isdigit(static_cast<unsigned char>(name.back())) != 0) {
            name.erase(name.rfind('/'));
        }
        name.erase(0, name.rfind('/') + 1);
        EXPECT_THAT(page, testing::ContainsRegex("[`.]" + name + "[[`]")) << path;
    }
}

}  // namespace
