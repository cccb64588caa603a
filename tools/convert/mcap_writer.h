#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "tools/convert/mcap_bytes.h"
#include "tools/output/file.h"

namespace Tools {

/**
 * Writes an MCAP file, version 0: messages in uncompressed chunks, with message indexes, a summary
 * and all checksums. Holds one chunk, a message that is larger than a chunk not at all, and 83
 * bytes for each chunk. The file outlives it. One thread at a time. Throws what the file throws,
 * after which it is of no use.
 *
 *     McapWriter writer(file, "petrelradar 0.1");
 *     const auto schema = writer.add_schema("RO.RadarObjects", "protobuf", descriptors);
 *     const auto channel = writer.add_channel(schema, "/radar/objects", "protobuf", {});
 *     writer.add_message(channel, 0, 1747294207050000000, payload);
 *     writer.finish();
 *     file.finish();
 */
class McapWriter {
public:
    using Texts = McapBytes::Texts;

    /** Begins the file. @param library the program that writes it. */
    McapWriter(OutputFile& file, std::string const& library);

    /** Returns the schema's number, from 1 on. */
    uint16_t add_schema(std::string const& name, std::string const& encoding,
                        std::string const& data);

    /** Returns the channel's number, from 1 on. `schema` is the number of one that was added. */
    uint16_t add_channel(uint16_t schema, std::string const& topic, std::string const& encoding,
                         Texts const& metadata);

    /** @param log_time in ns; messages need not be in order. */
    void add_message(uint16_t channel, uint32_t sequence, uint64_t log_time, std::string_view data);

    /** Adds something to know about the file. */
    void add_metadata(std::string const& name, Texts const& metadata);

    /** Writes what ends the file. Nothing may be added after that. */
    void finish();

private:
    /** The opcodes of records. They stand in files and never change. */
    enum class Op : uint8_t {
        kHeader = 0x01,
        kFooter = 0x02,
        kSchema = 0x03,
        kChannel = 0x04,
        kMessage = 0x05,
        kChunk = 0x06,
        kMessageIndex = 0x07,
        kChunkIndex = 0x08,
        kStatistics = 0x0B,
        kMetadata = 0x0C,
        kMetadataIndex = 0x0D,
        kSummaryOffset = 0x0E,
        kDataEnd = 0x0F
    };

    /** The earliest and the latest of some times; 0 when there were none. */
    struct Span {
        uint64_t begin = 0;
        uint64_t end = 0;

        void add(uint64_t time, bool is_first);
    };

    static void add_record_head(McapBytes& into, Op op, uint64_t size);
    static void add_record(McapBytes& into, Op op, McapBytes const& content);

    void write(std::string_view bytes);
    void write_record(Op op, McapBytes const& content);
    void write_chunk(std::string_view large_message);
    uint64_t write_message_indexes(McapBytes& offsets);
    void write_summary();
    McapBytes statistics() const;
    size_t largest_chunk() const;

    OutputFile& file_;
    uint32_t crc_ = 0;  // CRC-32 of what was written since the last one that stands in the file

    // The chunk that is collected.
    McapBytes chunk_;
    Span chunk_span_;
    std::map<uint16_t, McapBytes> message_indexes_;  // of each channel

    // What the summary will say.
    McapBytes schemas_;
    McapBytes channels_;
    McapBytes chunk_indexes_;
    McapBytes metadata_indexes_;
    std::map<uint16_t, uint64_t> message_counts_;  // of each channel
    Span span_;
    uint64_t message_count_ = 0;
    uint16_t schema_count_ = 0;
    uint32_t metadata_count_ = 0;
    uint32_t chunk_count_ = 0;
};

}  // namespace Tools
