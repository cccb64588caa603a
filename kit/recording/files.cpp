#include "kit/recording/files.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <system_error>
#include <tuple>
#include <utility>

#include "kit/base/block_reader.h"
#include "kit/base/errno_text.h"
#include "kit/base/input_error.h"
#include "kit/base/words.h"

namespace Kit {

namespace {

namespace fs = std::filesystem;

/** Kind and size of the file at `path`; no kind where it cannot be examined. */
struct stat status_of(std::string const& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) status = {};  // to open it fails, too, with the reason
    return status;
}

void examine_first_bytes(std::string_view bytes, RecordingFile& file) {
    if (bytes.size() < kRecordingHeaderSize || !begins_recording(bytes)) return;
    file.header = read_header(bytes);
    bytes.remove_prefix(kRecordingHeaderSize);
    if (bytes.size() < 4) return;
    const uint32_t word = read_word(bytes);
    file.raw = !is_record_tag(word) && word != kRecordingMagic;
    if (is_record_tag(word)) file.tag = word;
}

/** The regular file at `path`, if it is a recorded file; if it has just been completed, as that. */
std::optional<RecordingFile> find_recording(std::string path) {
    std::error_code ignored;  // what cannot be examined is not at that path
    const std::string completed = path + std::string(kCompletedSuffix);
    if (!fs::exists(path, ignored) && fs::exists(completed, ignored)) path = completed;
    if (!S_ISREG(status_of(path).st_mode)) return std::nullopt;
    RecordingFile file = examine_recording(path);
    if (!file.name && !file.header) return std::nullopt;
    return file;
}

std::vector<RecordingFile> list_directory(std::string const& path) {
    std::set<std::string> paths;
    std::error_code error;
    for (fs::directory_iterator entry(path, error), end; !error && entry != end;
         entry.increment(error)) {
        paths.insert(entry->path().string());
    }
    if (error) throw InputError(path + ": " + errno_text(error.value()));
    std::vector<RecordingFile> files;
    for (std::string const& entry : paths) {
        std::optional<RecordingFile> file = find_recording(entry);
        if (file && (file->path == entry || paths.count(file->path) == 0)) {
            files.push_back(std::move(*file));
        }
    }
    return files;
}

}  // namespace

int64_t RecordingFile::begin_ms() const {
    const int64_t seconds = header ? header->seconds : name ? begin_of(*name) : 0;
    return seconds * 1000 + (name ? name->millisecond : 0);
}

RecordingFile examine_recording(std::string const& path) {
    RecordingFile file;
    file.path = path;
    file.name = parse_recording_name(file_name_of(path));
    const struct stat status = status_of(path);
    if (S_ISFIFO(status.st_mode)) return file;  // what is read from it now would be missing later
    file.size = static_cast<uint64_t>(status.st_size);
    try {
        constexpr size_t kFirstBytes = kRecordingHeaderSize + kRecordHeaderSize;
        BlockReader reader(path, kFirstBytes);
        examine_first_bytes(reader.window(kFirstBytes), file);
    } catch (InputError const& error) {
        file.problem = error.what();
    }
    return file;
}

std::vector<RecordingFile> list_recordings(std::string const& path) {
    if (!S_ISDIR(status_of(path).st_mode)) {
        RecordingFile file = examine_recording(path);
        if (!file.problem.empty()) throw InputError(file.problem);
        return {std::move(file)};
    }
    std::vector<RecordingFile> files = list_directory(path);
    std::sort(files.begin(), files.end(), [](RecordingFile const& a, RecordingFile const& b) {
        return std::forward_as_tuple(a.begin_ms(), a.path) <
               std::forward_as_tuple(b.begin_ms(), b.path);
    });
    return files;
}

std::vector<std::string> recorders_of(std::vector<RecordingFile> const& files) {
    std::map<uint32_t, std::set<std::string>> prefixes;
    for (RecordingFile const& file : files) {
        if (!file.tag) continue;
        std::set<std::string>& of_tag = prefixes[*file.tag];
        if (file.name) of_tag.insert(file.name->prefix);
    }
    std::vector<std::string> recorders;
    for (auto const& [tag, names] : prefixes) {
        for (std::string const& prefix : names)
            recorders.push_back(prefix + " " + hexadecimal(tag));
        if (names.empty()) recorders.push_back(hexadecimal(tag));
    }
    return recorders;
}

}  // namespace Kit
