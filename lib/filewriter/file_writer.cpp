#include "filewriter/file_writer.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <string_view>
#include <utility>

#include "config/analytics.h"
#include "filewriter/local_time.h"
#include "filewriter/timeval_printer.h"
#include "formats.h"
#include "log/failure_report.h"

namespace Radar {

namespace {

constexpr char kCompletedSuffix[] = ".data";

/** Flushes the content of the file at `path` to storage. */
bool sync_file(std::string const& path) {
    const int fd = open(path.c_str(), O_RDONLY);
    if (fd < 0) {
        log_errno(1, "Failed to open ", path);
        return false;
    }
    bool synced = true;
    if (fsync(fd) < 0) {
        log_errno(1, "Failed to fsync ", path);
        synced = false;
    }
    if (::close(fd) < 0) {
        log_errno(1, "Failed to close ", path);
        synced = false;
    }
    return synced;
}

}  // namespace

FileWriter::FileWriter(std::string folder, std::string name_prefix, int file_count)
    : directory(std::move(folder)),
      prefix(std::move(name_prefix)),
      open_time{},
      frame_counter(0),
      frame_counter_offset(-1),
      max_file_count(file_count),
      bytes_written(0) {
    file.exceptions(std::ios_base::failbit | std::ios_base::badbit);
}

FileWriter::~FileWriter() {
    try {
        close();
    } catch (...) {  // NOLINT(bugprone-empty-catch): no caller to report it to
    }
}

bool FileWriter::open() {
    return try_open();
}

bool FileWriter::try_open() {
    if (gettimeofday(&open_time, nullptr) < 0) log_errno(2, "gettimeofday failed");
    delete_surplus_files();

    rewind_file_name();
    file_name << directory << "/" << prefix << "_" << open_time;
    const std::string name = file_name.str();
    try {
        file.open(name, std::ios_base::out | std::ios_base::binary | std::ios_base::trunc);
    } catch (std::ios_base::failure const& failure) {
        log_stream_failure(2, "Failed to open " + name, failure);
        file.clear();
        return false;
    }
    bytes_written = 0;
    write_file_header();
    return true;
}

bool FileWriter::check_open() {
    return is_open() || try_open();
}

bool FileWriter::is_open() {
    const std::string name = file_name.str();
    if (file_exist(name) || !file.is_open()) return file.is_open();
    try {
        file.close();
        rewind_file_name();
        return file.is_open();
    } catch (std::ios_base::failure const& failure) {
        log_stream_failure(2, "Failed to close " + name, failure);
        file.clear();
        return true;
    }
}

void FileWriter::write(char const* data, unsigned size) {
    try {
        // A failure that a rewrite of the frame counter has left: the stream would drop these bytes
        // without an exception.
        file.setstate(file.rdstate());
        file.write(data, size);
        bytes_written += size;
    } catch (std::ios_base::failure const& failure) {
        log_stream_failure(1, "Error writing " + file_name.str(), failure);
        file.clear();
    }
}

bool FileWriter::write(std::string const& data) {
    if (!check_open()) return false;
    write(data.data(), static_cast<unsigned>(data.size()));
    return increment_frame_counter();
}

void FileWriter::write_file_header() {
    const std::tm local = local_time(open_time.tv_sec);
    const double height = get_height();
    const double tilt = get_tilt();
    const int32_t sensitivity = get_sensitivity();
    frame_counter = 0;

    const auto write_number = [this](auto number) {
        const std::string_view bytes = bytes_of(number);
        write(bytes.data(), static_cast<unsigned>(bytes.size()));
    };
    write_number(kFileMagic);
    write_number(kFileVersion);
    write_number(static_cast<int32_t>(open_time.tv_sec));
    write_number(int32_t{local.tm_isdst});
    write_number(height);
    write_number(tilt);
    write_number(sensitivity);
    frame_counter_offset = static_cast<int32_t>(file.tellp());
    write_number(frame_counter);
}

bool FileWriter::increment_frame_counter() {
    ++frame_counter;
    if (frame_counter_offset < 0) return false;
    const std::streamoff position = file.tellp();
    if (position < 0) return false;
    file.seekp(frame_counter_offset);
    try {
        const std::string_view bytes = bytes_of(frame_counter);
        file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        file.seekp(position);
    } catch (std::ios_base::failure const&) {
        reopen_at_end();
        throw;
    }
    return true;
}

/**
 * Keeps the next frame from being written after the counter, over the first ones: the stream is
 * positioned there and may still hold the counter, which only closing makes it drop. The stream's
 * state does not change.
 */
void FileWriter::reopen_at_end() {
    std::filebuf& buffer = *file.rdbuf();
    buffer.close();
    // Where this fails no file is open, and the next frame begins one.
    buffer.open(file_name.str(), std::ios_base::in | std::ios_base::out | std::ios_base::binary |
                                     std::ios_base::ate);
}

unsigned FileWriter::get_bytes_written() const {
    return bytes_written;
}

void FileWriter::setMaxFileCount(int count) {
    if (count != max_file_count) max_file_count = count;
}

void FileWriter::close() {
    if (!file.is_open()) return;
    const std::string name = file_name.str();
    const std::string completed_name = name + kCompletedSuffix;
    try {
        file.close();
    } catch (std::ios_base::failure const& failure) {
        log_stream_failure(2, "Could not close " + name, failure);
        file.clear();
    }
    if (!file_exist(name)) return;

    if (!sync_file(name)) {
        Petrel::ilog(2) << "Failed to sync data file " << name << "!" << std::endl;
    }
    if (std::rename(name.c_str(), completed_name.c_str()) < 0) {
        log_errno(1, "Error renaming completed data file ", name);
    }
    if (max_file_count > 0) completed_files.push_back(completed_name);
    rewind_file_name();
}

void FileWriter::delete_surplus_files() {
    if (max_file_count <= 0) return;
    while (completed_files.size() > static_cast<std::size_t>(max_file_count)) {
        const std::string oldest = completed_files.front();
        completed_files.erase(completed_files.begin());
        if (unlink(oldest.c_str()) < 0) log_errno(2, "Failed to unlink ", oldest);
    }
}

/** Goes to the start without emptying: a shorter name keeps the end of the longer one before. */
void FileWriter::rewind_file_name() {
    file_name.seekp(0);
    file_name.clear();
}

}  // namespace Radar
