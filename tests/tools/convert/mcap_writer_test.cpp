#include "tools/convert/mcap_writer.h"

#include <gmock/gmock.h>

#include "kit/recording/format.h"
#include "tests/support/private_paths.h"
#include "tests/support/shell.h"

namespace {

using test_support::print_mcap;
using testing::HasSubstr;

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

/** The CRC-32 of IEEE 802.3, a bit at a time. */
uint32_t crc32_of(std::string_view bytes) {
    uint32_t crc = 0xFFFFFFFF;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ (crc & 1) * 0xEDB88320;
    }
    return ~crc;
}

TEST(Crc32Test, OfKnownBytesIsTheKnownOne) {
    EXPECT_EQ(crc32_of("123456789"), 0xCBF43926u);
    EXPECT_EQ(crc32_of("The quick brown fox jumps over the lazy dog"), 0x414FA339u);
}

/** Where the checksums of a finished file stand, with one chunk. */
class McapChecksumTest : public McapWriterTest {
protected:
    static constexpr size_t kMagicSize = 8;
    static constexpr size_t kRecordHeadSize = 9;

    /** The contents of a file that has these messages in its one chunk. */
    std::string file_with(std::vector<std::string_view> const& data) {
        const auto channel = add_channel("/a");
        for (auto const each : data) writer.add_message(channel, 1, 1, each);
        finish();
        return test_support::read_file(kPath);
    }

    /** The offset of the first record with this opcode. */
    static size_t find_record(std::string const& bytes, char opcode) {
        size_t offset = kMagicSize;
        while (bytes.at(offset) != opcode) offset += kRecordHeadSize + word(bytes, offset + 1);
        return offset;
    }

    static uint32_t word(std::string const& bytes, size_t offset) {
        return Kit::read_word(std::string_view(bytes).substr(offset));
    }

    static uint32_t crc_between(std::string const& bytes, size_t begin, size_t end) {
        return crc32_of(std::string_view(bytes).substr(begin, end - begin));
    }
};

TEST_F(McapChecksumTest, AChunkHasTheCrcOfItsMessages) {
    const std::string bytes = file_with({"first", "second"});
    const size_t chunk = find_record(bytes, 0x06);
    const size_t begin = chunk + kRecordHeadSize + 40;
    const size_t end = chunk + kRecordHeadSize + word(bytes, chunk + 1);
    EXPECT_EQ(word(bytes, chunk + kRecordHeadSize + 24), crc_between(bytes, begin, end));
}

TEST_F(McapChecksumTest, TheDataEndHasTheCrcOfAllBeforeIt) {
    const std::string bytes = file_with({"first"});
    const size_t data_end = find_record(bytes, 0x0F);
    EXPECT_EQ(word(bytes, data_end + kRecordHeadSize), crc_between(bytes, 0, data_end));
}

TEST_F(McapChecksumTest, TheFooterHasTheCrcOfAllSinceTheDataEnd) {
    const std::string bytes = file_with({"first"});
    const size_t summary = find_record(bytes, 0x0F) + kRecordHeadSize + 4;
    const size_t crc = bytes.size() - kMagicSize - 4;
    EXPECT_EQ(word(bytes, crc), crc_between(bytes, summary, crc));
}

TEST_F(McapChecksumTest, AMessageWithoutDataDoesNotResetTheCrc) {
    const std::string bytes = file_with({"first", std::string_view()});
    const size_t data_end = find_record(bytes, 0x0F);
    EXPECT_EQ(word(bytes, data_end + kRecordHeadSize), crc_between(bytes, 0, data_end));
}

TEST_F(McapChecksumTest, ALargeMessageIsInTheCrcOfItsChunk) {
    const std::string large(3 << 20, 'x');
    const std::string bytes = file_with({large});
    const size_t chunk = find_record(bytes, 0x06);
    const size_t begin = chunk + kRecordHeadSize + 40;
    const size_t end = chunk + kRecordHeadSize + word(bytes, chunk + 1);
    EXPECT_EQ(word(bytes, chunk + kRecordHeadSize + 24), crc_between(bytes, begin, end));
}

/** What a reader that is not of this project's making makes of the finished file. */
class McapReadBackTest : public McapWriterTest {
protected:
    void SetUp() override {
        McapWriterTest::SetUp();
        if (IsSkipped()) return;
        const auto outcome = print_mcap("/dev/null");
        if (outcome.status == 77) GTEST_SKIP() << outcome.out;
    }

    std::string read_back() {
        finish();
        const auto outcome = print_mcap(kPath);
        EXPECT_EQ(outcome.status, 0) << outcome.out;
        return outcome.out;
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
