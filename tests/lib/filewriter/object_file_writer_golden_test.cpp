#include <cmath>
#include <limits>

#include "filewriter/data_file_writer.h"
#include "filewriter/object_file_writer.h"
#include "lib/filewriter/recorder_fixture.h"
#include "lib/filewriter/recording.h"

namespace {

using test_support::parse_recording;
using test_support::parse_records;
using test_support::read_file;
using test_support::Record;
using test_support::Recording;

/** Recordings that every version has to reproduce byte for byte and to read. */
class GoldenRecordingTest : public test_support::RecorderTest {
protected:
    static std::string golden(std::string const& file) {
        return read_file(std::string(PETRELRADAR_SOURCE_DIR "/tests/data/") + file);
    }

    static void use_settings(std::string const& sensitivity, std::string const& height,
                             std::string const& tilt) {
        test_support::write_file("/etc/radar/analytics.conf",
                                 "[ANALYTICS]\ndetection_sensitivity=" + sensitivity +
                                     "\nmounting_height=" + height + "\nmounting_tilt=" + tilt +
                                     "\n");
    }

    static std::string counted_bytes() {
        std::string bytes;
        for (int i = 0; i < 300; ++i) bytes += static_cast<char>(i % 256);
        return bytes;
    }

    /** Fills `frame` as the second of the recorded frames. */
    static void fill_second(Radar::SocketBuffer& frame) {
        frame.set_timestamp(1747301407042);
        RO::TargetData* const target = frame.add_targets();
        target->set_rcs(1.5F);
        target->set_r(12.25F);
        target->set_rdot(-3.5F);
        target->set_theta(0.125F);
        target->set_options(5);
        target->set_snr(20.0F);
        frame.add_targets();
    }

    /** Fills `frame` as the third. */
    static void fill_third(Radar::SocketBuffer& frame) {
        frame.clear();
        frame.set_timestamp(std::numeric_limits<uint64_t>::max());
        RO::TargetData* const target = frame.add_targets();
        target->set_r(-0.0F);
        target->set_options(std::numeric_limits<uint32_t>::max());
    }
};

TEST_F(GoldenRecordingTest, AnObjectRecordingIsReproduced) {
    use_settings("high", "2.75", "-12.5");
    {
        Radar::ObjectFileWriter writer(7, "/tmp", 60, true, 0);
        Radar::SocketBuffer frame(10);
        writer.write(frame);
        fill_second(frame);
        writer.write(frame);
        fill_third(frame);
        writer.write(frame);
    }
    EXPECT_EQ(read_file(first_name + ".data"), golden("object_recording.data"));
}

TEST_F(GoldenRecordingTest, ARawRecordingIsReproduced) {
    use_settings("low", "0.5", "0.25");
    {
        Radar::DataFileWriter writer("/tmp", 60, true, "radar", 0);
        writer.write("\0\1\2\xFF", 4);
        writer.write("");
        writer.write(counted_bytes());
    }
    EXPECT_EQ(read_file(first_name + ".data"), golden("raw_recording.data"));
}

TEST_F(GoldenRecordingTest, TheHeaderOfAnObjectRecordingIsRead) {
    const Recording recording = parse_recording(golden("object_recording.data"));
    test_support::expect_header(recording, 3);
}

TEST_F(GoldenRecordingTest, TheFramesOfAnObjectRecordingAreRead) {
    const auto records = parse_records(parse_recording(golden("object_recording.data")).body);
    ASSERT_EQ(records.size(), 3U);
    Radar::SocketBuffer frame(0);
    for (Record const& record : records) {
        EXPECT_EQ(record.tag, 0xFEED0007);
        EXPECT_TRUE(frame.set_data(record.payload));
    }
    EXPECT_EQ(frame.timestamp(), std::numeric_limits<uint64_t>::max());
    ASSERT_EQ(frame.size(), 1);
    EXPECT_EQ(frame[0].options(), std::numeric_limits<uint32_t>::max());
    EXPECT_FALSE(std::signbit(frame[0].r())) << "a negative zero is not stored";

    ASSERT_TRUE(frame.set_data(records[1].payload));
    EXPECT_EQ(frame.timestamp(), 1747301407042U);
    ASSERT_EQ(frame.size(), 2);
    EXPECT_EQ(frame[0].rdot(), -3.5F);
    EXPECT_EQ(frame[1].snr(), 0.0F);
}

TEST_F(GoldenRecordingTest, ARawRecordingIsRead) {
    const Recording recording = parse_recording(golden("raw_recording.data"));
    EXPECT_EQ(recording.seconds, 1747301407);
    EXPECT_EQ(recording.height, 0.5);
    EXPECT_EQ(recording.tilt, 0.25);
    EXPECT_EQ(recording.sensitivity, 0);
    EXPECT_EQ(recording.frames, 3U);
    EXPECT_EQ(recording.body, std::string("\0\1\2\xFF", 4) + counted_bytes());
}

}  // namespace
