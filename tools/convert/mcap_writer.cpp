#include "tools/convert/mcap_writer.h"

#include <zlib.h>

#include <algorithm>

namespace Tools {

namespace {

constexpr std::string_view kMagic("\x89MCAP0\r\n", 8);

/** In front of every record: opcode and length. */
constexpr size_t kRecordHeadSize = 9;

/** What a message has in front of its data. */
constexpr size_t kMessageHeadSize = 22;

/** Readers take a chunk as a whole, so that a small one is found faster. */
constexpr size_t kChunkSize = 1U << 20;

/** Very long files have larger chunks, so that there are not too many to remember. */
constexpr uint32_t kManyChunks = 4096;
constexpr size_t kLargeChunkSize = 4U << 20;

constexpr char kNoCompression[] = "";

/** The CRC-32 of what `crc` is of, followed by `bytes`; that of nothing is 0. */
uint32_t extend_crc(uint32_t crc, std::string_view bytes) {
    // Without an address zlib returns the CRC of nothing, whatever came before.
    if (bytes.empty()) return crc;
    return static_cast<uint32_t>(
        crc32_z(crc, reinterpret_cast<Bytef const*>(bytes.data()), bytes.size()));
}

}  // namespace

void McapWriter::Span::add(uint64_t time, bool is_first) {
    begin = is_first ? time : std::min(begin, time);
    end = is_first ? time : std::max(end, time);
}

McapWriter::McapWriter(OutputFile& file, std::string const& library) : file_(file) {
    write(kMagic);
    McapBytes content;
    content.add_text("");  // of no profile
    content.add_text(library);
    write_record(Op::kHeader, content);
}

void McapWriter::add_record_head(McapBytes& into, Op op, uint64_t size) {
    into.add_u8(static_cast<uint8_t>(op));
    into.add_u64(size);
}

void McapWriter::add_record(McapBytes& into, Op op, McapBytes const& content) {
    add_record_head(into, op, content.size());
    into.add(content.view());
}

void McapWriter::write(std::string_view bytes) {
    file_.write(bytes);
    crc_ = extend_crc(crc_, bytes);
}

void McapWriter::write_record(Op op, McapBytes const& content) {
    McapBytes record;
    add_record(record, op, content);
    write(record.view());
}

uint16_t McapWriter::add_schema(std::string const& name, std::string const& encoding,
                                std::string const& data) {
    McapBytes content;
    content.add_u16(++schema_count_);
    content.add_text(name);
    content.add_text(encoding);
    content.add_text(data);
    write_record(Op::kSchema, content);
    add_record(schemas_, Op::kSchema, content);
    return schema_count_;
}

uint16_t McapWriter::add_channel(uint16_t schema, std::string const& topic,
                                 std::string const& encoding, Texts const& metadata) {
    const auto number = static_cast<uint16_t>(message_counts_.size() + 1);
    message_counts_[number] = 0;
    McapBytes content;
    content.add_u16(number);
    content.add_u16(schema);
    content.add_text(topic);
    content.add_text(encoding);
    content.add_texts(metadata);
    write_record(Op::kChannel, content);
    add_record(channels_, Op::kChannel, content);
    return number;
}

void McapWriter::add_metadata(std::string const& name, Texts const& metadata) {
    McapBytes content;
    content.add_text(name);
    content.add_texts(metadata);
    McapBytes index;
    index.add_u64(file_.size());
    index.add_u64(kRecordHeadSize + content.size());
    index.add_text(name);
    write_record(Op::kMetadata, content);
    add_record(metadata_indexes_, Op::kMetadataIndex, index);
    ++metadata_count_;
}

void McapWriter::add_message(uint16_t channel, uint32_t sequence, uint64_t log_time,
                             std::string_view data) {
    const size_t size = kRecordHeadSize + kMessageHeadSize + data.size();
    if (!chunk_.empty() && chunk_.size() + size > largest_chunk()) write_chunk("");
    McapBytes& index = message_indexes_[channel];
    index.add_u64(log_time);
    index.add_u64(chunk_.size());
    chunk_span_.add(log_time, chunk_.empty());
    span_.add(log_time, message_count_ == 0);
    add_record_head(chunk_, Op::kMessage, kMessageHeadSize + data.size());
    chunk_.add_u16(channel);
    chunk_.add_u32(sequence);
    chunk_.add_u64(log_time);
    chunk_.add_u64(log_time);  // when it was published
    ++message_count_;
    ++message_counts_[channel];
    if (size > largest_chunk()) {
        write_chunk(data);
    } else {
        chunk_.add(data);
    }
}

size_t McapWriter::largest_chunk() const {
    return chunk_count_ < kManyChunks ? kChunkSize : kLargeChunkSize;
}

/** @param large_message the data of the last message, where the chunk does not have it. */
void McapWriter::write_chunk(std::string_view large_message) {
    const uint64_t offset = file_.size();
    const uint64_t size = chunk_.size() + large_message.size();
    McapBytes head;
    head.add_u64(chunk_span_.begin);
    head.add_u64(chunk_span_.end);
    head.add_u64(size);
    head.add_u32(extend_crc(extend_crc(0, chunk_.view()), large_message));
    head.add_text(kNoCompression);
    head.add_u64(size);
    McapBytes record;
    add_record_head(record, Op::kChunk, head.size() + size);
    record.add(head.view());
    write(record.view());
    write(chunk_.view());
    write(large_message);

    McapBytes index;
    index.add_u64(chunk_span_.begin);
    index.add_u64(chunk_span_.end);
    index.add_u64(offset);
    index.add_u64(file_.size() - offset);
    McapBytes offsets;
    const uint64_t indexes_size = write_message_indexes(offsets);
    index.add_text(offsets.view());
    index.add_u64(indexes_size);
    index.add_text(kNoCompression);
    index.add_u64(size);
    index.add_u64(size);
    add_record(chunk_indexes_, Op::kChunkIndex, index);
    ++chunk_count_;
    chunk_.clear();
}

/** Returns the size of what was written, and adds where each one is to `offsets`. */
uint64_t McapWriter::write_message_indexes(McapBytes& offsets) {
    const uint64_t begin = file_.size();
    for (auto const& [channel, entries] : message_indexes_) {
        offsets.add_u16(channel);
        offsets.add_u64(file_.size());
        McapBytes content;
        content.add_u16(channel);
        content.add_text(entries.view());
        write_record(Op::kMessageIndex, content);
    }
    message_indexes_.clear();
    return file_.size() - begin;
}

void McapWriter::finish() {
    if (!chunk_.empty()) write_chunk("");
    McapBytes content;
    content.add_u32(crc_);
    write_record(Op::kDataEnd, content);
    crc_ = 0;
    write_summary();
    write(kMagic);
}

void McapWriter::write_summary() {
    const uint64_t begin = file_.size();
    McapBytes all_statistics;
    add_record(all_statistics, Op::kStatistics, statistics());
    McapBytes offsets;
    const std::pair<Op, McapBytes const&> groups[] = {{Op::kSchema, schemas_},
                                                      {Op::kChannel, channels_},
                                                      {Op::kStatistics, all_statistics},
                                                      {Op::kChunkIndex, chunk_indexes_},
                                                      {Op::kMetadataIndex, metadata_indexes_}};
    for (auto const& [op, records] : groups) {
        if (records.empty()) continue;
        McapBytes content;
        content.add_u8(static_cast<uint8_t>(op));
        content.add_u64(file_.size());
        content.add_u64(records.size());
        add_record(offsets, Op::kSummaryOffset, content);
        write(records.view());
    }
    const uint64_t offsets_begin = file_.size();
    write(offsets.view());

    McapBytes footer;
    constexpr uint64_t kFooterSize = 8 + 8 + 4;
    add_record_head(footer, Op::kFooter, kFooterSize);
    footer.add_u64(begin);
    footer.add_u64(offsets_begin);
    write(footer.view());
    McapBytes summary_crc;
    summary_crc.add_u32(crc_);
    write(summary_crc.view());
}

McapBytes McapWriter::statistics() const {
    McapBytes content;
    content.add_u64(message_count_);
    content.add_u16(schema_count_);
    content.add_u32(static_cast<uint32_t>(message_counts_.size()));
    content.add_u32(0);  // attachments
    content.add_u32(metadata_count_);
    content.add_u32(chunk_count_);
    content.add_u64(span_.begin);
    content.add_u64(span_.end);
    McapBytes counts;
    for (auto const& [channel, count] : message_counts_) {
        counts.add_u16(channel);
        counts.add_u64(count);
    }
    content.add_text(counts.view());
    return content;
}

}  // namespace Tools
