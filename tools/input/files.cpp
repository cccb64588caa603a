#include "tools/input/files.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <tuple>
#include <utility>

#include "kit/base/directory_of.h"
#include "kit/base/input_error.h"
#include "kit/base/text.h"
#include "kit/base/whole_number.h"

namespace Tools {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kCompleted = ".data";

std::string base_name(std::string const& path) {
    std::string name(Kit::file_name_of(path));
    if (name.size() > kCompleted.size() &&
        name.compare(name.size() - kCompleted.size(), kCompleted.size(), kCompleted) == 0) {
        name.resize(name.size() - kCompleted.size());
    }
    return name;
}

bool is_earlier(Kit::RecordingFile const& a, Kit::RecordingFile const& b) {
    return std::forward_as_tuple(a.begin_ms(), a.path) <
           std::forward_as_tuple(b.begin_ms(), b.path);
}

/** A tag as people write it: "0xFEED0007", or the recorder's number in it, "7". */
std::optional<uint32_t> parse_tag(std::string_view text) {
    const std::optional<uint64_t> number = Kit::whole_number(text);
    if (!number || *number > UINT32_MAX) return std::nullopt;
    const auto tag = static_cast<uint32_t>(*number);
    return tag > 0xFFFF ? tag : Kit::kRecordTag | tag;
}

}  // namespace

std::string current_path(std::string const& path) {
    std::error_code ignored;
    const std::string completed = path + std::string(kCompleted);
    return !fs::exists(path, ignored) && fs::exists(completed, ignored) ? completed : path;
}

SourceFiles::SourceFiles(std::string const& path, std::string const& recorder, bool follow)
    : found_(Kit::list_recordings(path)), following_(follow) {
    std::error_code ignored;
    directory_given_ = fs::is_directory(path, ignored);
    directory_ = directory_given_ ? path : Kit::directory_of(path);
    if (directory_given_) choose_recorder(path, recorder);
    for (Kit::RecordingFile const& file : found_) {
        size_ += file.size;
        if (tag_ || !file.tag) continue;
        tag_ = file.tag;
        if (file.name) prefix_ = file.name->prefix;
    }
    if (!follow) return;
    for (Kit::RecordingFile const& file : found_) known_.insert(base_name(file.path));
    if (directory_given_) return;
    // What the recorder began earlier is not what comes next.
    for (Kit::RecordingFile const& file : Kit::list_recordings(directory_)) {
        if (is_earlier(file, found_.front())) known_.insert(base_name(file.path));
    }
}

void SourceFiles::choose_recorder(std::string const& path, std::string const& recorder) {
    const std::vector<std::string> recorders = Kit::recorders_of(found_);
    if (recorder.empty()) {
        if (recorders.size() > 1) {
            throw Kit::InputError(path +
                                  ": holds files of several recorders, choose with "
                                  "--recorder: " +
                                  Kit::joined(recorders, ", "));
        }
    } else {
        const size_t blank = recorder.rfind(' ');  // "radar 0xFEED0007"
        tag_ = parse_tag(recorder.substr(blank + 1));
        if (blank != std::string::npos || !tag_) prefix_ = recorder.substr(0, blank);
        const auto others = std::stable_partition(found_.begin(), found_.end(),
                                                  [&](auto const& file) { return belongs(file); });
        other_files_ = static_cast<size_t>(found_.end() - others);
        for (auto file = others; file != found_.end(); ++file) known_.insert(base_name(file->path));
        found_.erase(others, found_.end());
    }
    if (!found_.empty() || following_) return;
    throw Kit::InputError(path + (recorder.empty()
                                      ? ": holds no recordings"
                                      : ": holds no recordings of " + recorder +
                                            ", but of: " + Kit::joined(recorders, ", ")));
}

/** Whether a file is of the chosen recorder, as far as is known. */
bool SourceFiles::belongs(Kit::RecordingFile const& file) const {
    if (tag_ && file.tag && *tag_ != *file.tag) return false;
    return prefix_.empty() || !file.name || file.name->prefix == prefix_;
}

std::optional<Kit::RecordingFile> SourceFiles::next() {
    if (position_ == found_.size() && following_) look_for_new_files();
    if (position_ == found_.size()) return std::nullopt;
    return found_[position_++];
}

bool SourceFiles::has_newer() {
    if (position_ == found_.size()) look_for_new_files();
    return position_ < found_.size();
}

void SourceFiles::look_for_new_files() {
    std::error_code error;
    std::vector<Kit::RecordingFile> added;
    for (fs::directory_iterator entry(directory_, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (!Kit::parse_recording_name(name) || known_.count(base_name(name)) != 0) continue;
        Kit::RecordingFile file = Kit::examine_recording(current_path(entry->path().string()));
        // Whose a file is its first record tells; until it is there, the file is left for later.
        if (!file.tag && !file.raw) continue;
        known_.insert(base_name(name));
        if (!file.raw && belongs(file)) added.push_back(std::move(file));
    }
    std::sort(added.begin(), added.end(), is_earlier);
    for (Kit::RecordingFile& file : added) {
        if (!tag_) tag_ = file.tag;
        size_ += file.size;
        found_.push_back(std::move(file));
    }
}

}  // namespace Tools
