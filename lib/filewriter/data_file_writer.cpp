#include "filewriter/data_file_writer.h"

#include <ctime>
#include <utility>

namespace Radar {

DataFileWriter::DataFileWriter() : DataFileWriter("/tmp", 10, false, "radar", 0) {}

DataFileWriter::DataFileWriter(std::string folder, long seconds, bool on, std::string name_prefix,
                               unsigned bytes)
    : FileWriter(std::move(folder), std::move(name_prefix), -1),
      enabled(on),
      file_time(seconds),
      max_file_size(bytes) {}

void DataFileWriter::write(std::string const& frame) {
    if (!enabled) return;
    FileWriter::write(frame);  // a frame that is not stored was logged, and the limits still hold
    if (is_due()) {
        close();
        open();
    }
}

void DataFileWriter::write(char const* data, unsigned size) {
    if (enabled) write(std::string(data, size));
}

void DataFileWriter::setEnabled(bool on) {
    if (on == enabled) return;
    enabled = on;
    if (enabled) {
        open();
    } else {
        close();
    }
}

void DataFileWriter::restart() {
    if (!enabled) return;
    setEnabled(false);
    setEnabled(true);
}

void DataFileWriter::setFileTime(long seconds) {
    if (seconds != file_time) file_time = seconds;
}

void DataFileWriter::setMaxFileSize(unsigned bytes) {
    if (bytes != max_file_size) max_file_size = bytes;
}

void DataFileWriter::configure(std::string key, int value) {
    // The size limit has one key for this recorder and the object recorder.
    static constexpr SettingKeys kKeys = {"DataFileWriterEnabled", "DataFileWriterFileTime",
                                          "DataFileWriterLocation", "DataFileWriterMaxFileCount",
                                          "FileWriterMaxFileSize"};
    apply_setting(kKeys, key, value);
}

void DataFileWriter::apply_setting(SettingKeys const& keys, std::string const& key, int value) {
    if (key == keys.enabled) {
        setEnabled(value == 1);
    } else if (key == keys.file_time) {
        setFileTime(value);
    } else if (keys.location != nullptr && key == keys.location) {
        set_location(value);
    } else if (key == keys.max_file_count) {
        setMaxFileCount(value);
    } else if (key == keys.max_file_size) {
        setMaxFileSize(static_cast<unsigned>(value));
    }
}

void DataFileWriter::set_location(int location) {
    if (location == 0) {
        directory = "/tmp";
    } else if (location == 1) {
        directory = "/var/spool/storage/SD_DISK";
    } else {
        return;
    }
    restart();
}

bool DataFileWriter::is_due() const {
    const auto age = static_cast<int32_t>(std::time(nullptr) - open_time.tv_sec);
    return age > file_time || (max_file_size != 0 && get_bytes_written() > max_file_size);
}

}  // namespace Radar
