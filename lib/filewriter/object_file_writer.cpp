#include "filewriter/object_file_writer.h"

#include <utility>

namespace Radar {

namespace {

/** Upper half of the tag in front of every record. Never changes. */
constexpr uint32_t kRecordMagic = 0xFEED0000;
constexpr int kDefaultId = 0x2050;

void append_word(std::string& record, uint32_t word) {
    record.append(reinterpret_cast<char const*>(&word), sizeof(word));
}

}  // namespace

ObjectFileWriter::ObjectFileWriter() : ObjectFileWriter(kDefaultId, "/tmp", 10, false, 0) {}

ObjectFileWriter::ObjectFileWriter(int id, std::string directory_, long file_time_, bool enabled_,
                                   unsigned max_file_size_)
    : DataFileWriter(std::move(directory_), file_time_, enabled_, "radar", max_file_size_),
      record_magic(kRecordMagic | static_cast<uint32_t>(id)) {}

std::string ObjectFileWriter::formatData(SocketBuffer const& frame) {
    const std::string encoding = frame.data();
    std::string record;
    record.reserve(2 * sizeof(uint32_t) + encoding.size());
    append_word(record, record_magic);
    append_word(record, static_cast<uint32_t>(encoding.size()));
    return record += encoding;
}

void ObjectFileWriter::write(SocketBuffer const& frame) {
    if (enabled) DataFileWriter::write(formatData(frame));
}

void ObjectFileWriter::configure(std::string key, int value) {
    static constexpr SettingKeys keys = {"FileWriterEnabled", "FileWriterFileTime",
                                         "FileWriterLocation", "FileWriterMaxFileCount",
                                         "FileWriterMaxFileSize"};
    apply_setting(keys, key, value);
}

}  // namespace Radar
