#include "filewriter/object_file_writer.h"

#include <utility>

#include "formats.h"

namespace Radar {

namespace {

constexpr int kDefaultId = 0x2050;

}  // namespace

ObjectFileWriter::ObjectFileWriter() : ObjectFileWriter(kDefaultId, "/tmp", 10, false, 0) {}

ObjectFileWriter::ObjectFileWriter(int id, std::string folder, long seconds, bool on,
                                   unsigned bytes)
    : DataFileWriter(std::move(folder), seconds, on, "radar", bytes),
      record_magic(kRecordTag | static_cast<uint32_t>(id)) {}

std::string ObjectFileWriter::formatData(SocketBuffer const& frame) {
    const std::string encoding = frame.data();
    const auto length = static_cast<uint32_t>(encoding.size());
    std::string record;
    record.reserve(sizeof(record_magic) + sizeof(length) + encoding.size());
    record += bytes_of(record_magic);
    record += bytes_of(length);
    return record += encoding;
}

void ObjectFileWriter::write(SocketBuffer const& frame) {
    if (enabled) DataFileWriter::write(formatData(frame));
}

void ObjectFileWriter::configure(std::string key, int value) {
    static constexpr SettingKeys kKeys = {"FileWriterEnabled", "FileWriterFileTime",
                                          "FileWriterLocation", "FileWriterMaxFileCount",
                                          "FileWriterMaxFileSize"};
    apply_setting(kKeys, key, value);
}

}  // namespace Radar
