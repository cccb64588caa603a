#include "tools/convert/mcap_writer.h"

#include <gmock/gmock.h>

#include "tests/support/private_paths.h"
#include "tests/support/shell.h"

namespace {

using testing::HasSubstr;
using tools_test::print_mcap;

constexpr char kPath[] = "/tmp/file.mcap";

std::string hex(std::string const& bytes) {
    std::string text;
    for (const char byte : bytes) {
        constexpr char kDigits[] = "0123456789abcdef";
        text += kDigits[static_cast<unsigned char>(byte) >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

std::string line_of(int channel, unsigned sequence, uint64_t time, std::string const& data) {
    const std::string time_text = std::to_string(time);
    return "message " + std::to_string(channel) + " " + std::to_string(sequence) + " " + time_text +
           " " + time_text + " " + hex(data) + "\n";
}

class McapWriterTest : public test_support::PrivatePathsTest {
protected:
    McapWriterTest()
        : file(kPath, false),
          writer(file, "test 1"),
          schema(writer.add_schema("Name", "encoding", "data")) {}

    uint16_t add_channel(std::string const& topic) {
        return writer.add_channel(schema, topic, "encoding", {{"key", "value"}});
    }

    void add(uint16_t channel, uint64_t time, std::string const& data) {
        writer.add_message(channel, ++messages, time, data);
        expected += line_of(channel, messages, time, data);
    }

    void finish() {
        writer.finish();
        file.finish();
    }

    Tools::OutputFile file;
    Tools::McapWriter writer;
    uint16_t schema;
    unsigned messages = 0;
    std::string expected;
};

/** What a reader that is not of this project's making makes of the finished file. */
class McapReadBackTest : public McapWriterTest {
protected:
    void SetUp() override {
        McapWriterTest::SetUp();
        if (IsSkipped()) return;
        const auto outcome = print_mcap("/dev/null");
        if (outcome.status == 77) GTEST_SKIP() << outcome.text;
    }

    std::string read_back() {
        finish();
        const auto outcome = print_mcap(kPath);
        EXPECT_EQ(outcome.status, 0) << outcome.text;
        return outcome.text;
    }
};

TEST_F(McapReadBackTest, EveryMessageIsRead) {
    const auto channel = add_channel("/a");
    add(channel, 5, "first");
    add(channel, 7, "");
    add(channel, 6, std::string("\0\xFF", 2));
    EXPECT_THAT(read_back(), testing::EndsWith(expected));
}

TEST_F(McapReadBackTest, TheSummaryTellsWhatThereIs) {
    add(add_channel("/a"), 5, "first");
    const auto second = add_channel("/b");
    add(second, 3, "second");
    add(second, 4, "third");
    EXPECT_THAT(read_back(), HasSubstr("header test 1\n"
                                       "schema 1 Name encoding 64617461\n"
                                       "channel 1 schema 1 /a encoding key=value\n"
                                       "channel 2 schema 1 /b encoding key=value\n"
                                       "statistics messages 3 schemas 1 channels 2 metadata 0 "
                                       "chunks 1 times 3 5 of 1=1 2=2\n"
                                       "chunks 1\n"
                                       "offsets 3 4 8 11\n"));
}

TEST_F(McapReadBackTest, MetadataIsRead) {
    add_channel("/a");
    writer.add_metadata("about", {{"height", "2.75"}, {"tilt", "-0.5"}});
    EXPECT_THAT(read_back(), HasSubstr("metadata about height=2.75 tilt=-0.5\n"));
}

TEST_F(McapReadBackTest, AFileWithoutMessagesIsRead) {
    add_channel("/a");
    EXPECT_THAT(read_back(), HasSubstr("statistics messages 0 schemas 1 channels 1 metadata 0 "
                                       "chunks 0 times 0 0 of 1=0\n"));
}

TEST_F(McapReadBackTest, ManyMessagesFillSeveralChunks) {
    const auto channel = add_channel("/a");
    for (unsigned i = 0; i < 30; ++i) add(channel, i, std::string(100000, static_cast<char>(i)));
    const std::string text = read_back();
    EXPECT_THAT(text, HasSubstr("\nchunks 3\n"));
    EXPECT_TRUE(text.find(expected) != std::string::npos);
}

TEST_F(McapReadBackTest, AMessageLargerThanAChunkHasOneOfItsOwn) {
    const auto channel = add_channel("/a");
    add(channel, 1, "before");
    add(channel, 2, std::string(3 << 20, 'x'));
    add(channel, 3, "behind");
    const std::string text = read_back();
    EXPECT_THAT(text.substr(0, text.find("message ")), HasSubstr("\nchunks 3\n"));
    EXPECT_TRUE(text.find(expected) != std::string::npos);
}

TEST_F(McapReadBackTest, AChangedByteIsNoticedWhereverItIs) {
    add(add_channel("/a"), 1, "data of a message");
    finish();
    const std::string whole = test_support::read_file(kPath);
    for (char const* const place : {"test 1", "data of a", "/a"}) {
        std::string bytes = whole;
        bytes[bytes.rfind(place)] ^= 1;
        test_support::write_file(kPath, bytes);
        EXPECT_NE(print_mcap(kPath).status, 0) << place;
    }
}

}  // namespace
