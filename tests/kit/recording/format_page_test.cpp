// What docs/recorded-files.md shows is what happens.

#include <gmock/gmock.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "filewriter/object_file_writer.h"
#include "kit/recording/scanner.h"
#include "tests/support/page.h"
#include "tests/support/private_paths.h"
#include "tests/support/system_calls.h"

namespace {

using Item = Kit::RecordingScanner::Item;

constexpr char kPath[] = "/tmp/radar_150525_093007_042.data";

std::string code_block(std::string const& kind) {
    return test_support::code_block("recorded-files.md", kind);
}

std::string example_bytes() {
    return test_support::bytes_of_dump(code_block("hex"), 28);
}

class RecordedFilesPageTest : public test_support::PrivatePathsTest {
protected:
    /** Records the frames of the example, in the zone and at the time that the page says. */
    static void record_example() {
        setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
        test_support::write_file("/etc/radar/analytics.conf",
                                 "[ANALYTICS]\ndetection_sensitivity=high\nmounting_height=2.75\n"
                                 "mounting_tilt=-0.5\n");
        test_support::SystemCalls system_calls;
        system_calls.gettimeofday = [](timeval* now) {
            *now = {1747294207, 42000};
            return 0;
        };
        system_calls.time = [] { return time_t{1747294207}; };
        Radar::ObjectFileWriter writer(7, "/tmp", 900, true, 0);
        Radar::SocketBuffer buffer(1);
        RO::TargetData& target = *buffer.add_targets();
        target.set_r(2.25F);
        target.set_rdot(-0.5F);
        target.set_theta(0.125F);
        target.set_snr(20.0F);
        buffer.set_timestamp(1747294207050000);
        writer.write(buffer);
        buffer.clear();
        buffer.set_timestamp(1747294207100000);
        writer.write(buffer);
    }

    /** What the reader of the page prints about the file at kPath. */
    static std::string output_of_reader() {
        test_support::write_file("/tmp/reader.py", code_block("python"));
        const std::string command = std::string("python3 /tmp/reader.py ") + kPath + " 2>&1";
        FILE* const reader = popen(command.c_str(), "r");
        std::string output;
        std::array<char, 512> line;
        while (std::fgets(line.data(), static_cast<int>(line.size()), reader) != nullptr) {
            output += line.data();
        }
        pclose(reader);
        return output;
    }

    static bool has_python() {
        return std::system("python3 -c 'import sys; sys.exit(sys.version_info < (3, 8))'") == 0;
    }
};

TEST_F(RecordedFilesPageTest, TheExampleIsWhatARecorderWrites) {
    record_example();
    EXPECT_EQ(test_support::read_file(kPath), example_bytes());
}

TEST_F(RecordedFilesPageTest, TheExampleIsUndamaged) {
    test_support::write_file(kPath, example_bytes());
    Kit::RecordingScanner scanner(kPath);
    EXPECT_EQ(scanner.next(), Item::kHeader);
    EXPECT_EQ(scanner.header().frame_count, 2u);
    EXPECT_EQ(scanner.next(), Item::kRecord);
    EXPECT_EQ(scanner.record().frame.targets, 1u);
    EXPECT_EQ(scanner.next(), Item::kRecord);
    EXPECT_EQ(scanner.record().frame.timestamp, 1747294207100000u);
    EXPECT_EQ(scanner.next(), Item::kEnd);
}

TEST_F(RecordedFilesPageTest, TheReaderPrintsTheExample) {
    if (!has_python()) GTEST_SKIP() << "needs Python 3.8 or newer";
    test_support::write_file(kPath, example_bytes());
    EXPECT_EQ(output_of_reader(), code_block("text"));
}

TEST_F(RecordedFilesPageTest, TheReaderTakesAnUnfinishedFile) {
    if (!has_python()) GTEST_SKIP() << "needs Python 3.8 or newer";
    std::string bytes = example_bytes();
    bytes.pop_back();
    test_support::write_file(kPath, bytes);
    const std::string all = code_block("text");
    EXPECT_EQ(output_of_reader(), all.substr(0, all.rfind("record")));
}

TEST_F(RecordedFilesPageTest, TheReaderSaysThatRawDataIsNone) {
    if (!has_python()) GTEST_SKIP() << "needs Python 3.8 or newer";
    test_support::write_file(kPath, example_bytes().substr(0, 40) + "raw data");
    EXPECT_THAT(output_of_reader(), testing::EndsWith("raw data, or damage\n"));
}

}  // namespace
