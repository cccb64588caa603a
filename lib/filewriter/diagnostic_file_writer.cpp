#include "filewriter/diagnostic_file_writer.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <ctime>
#include <memory>
#include <utility>

#include "log/failure_report.h"

namespace {

constexpr char kDirectory[] = "/tmp/radar-diagnostics";
constexpr unsigned kMaxFileSize = 8 * 1024 * 1024;
constexpr int kMaxFileCount = 4;

struct DirectoryCloser {
    void operator()(DIR* directory) const { closedir(directory); }
};

struct RecordedFile {
    std::string path;
    std::time_t modified;
};

bool is_recorded_file(dirent const& entry) {
    return entry.d_type == DT_REG && std::string(entry.d_name).compare(0, 5, "radar") == 0;
}

std::vector<RecordedFile> list_recorded_files(DIR* opened, std::string const& directory) {
    std::vector<RecordedFile> files;
    while (dirent const* entry = readdir(opened)) {
        if (!is_recorded_file(*entry)) continue;
        const std::string path = directory + "/" + entry->d_name;
        struct stat status = {};
        if (stat(path.c_str(), &status) < 0) {
            Radar::log_errno(1, "Failed to stat ", path);
            continue;
        }
        files.push_back({path, status.st_mtime});
    }
    return files;
}

}  // namespace

std::vector<std::string> scan_recorded_files(std::string directory) {
    const std::unique_ptr<DIR, DirectoryCloser> opened(opendir(directory.c_str()));
    if (!opened) {
        Radar::log_errno(2, "Failed to open ", directory);
        return {};
    }
    std::vector<RecordedFile> files = list_recorded_files(opened.get(), directory);
    std::sort(files.begin(), files.end(),
              [](RecordedFile const& a, RecordedFile const& b) { return a.modified < b.modified; });

    std::vector<std::string> paths;
    paths.reserve(files.size());
    for (RecordedFile& file : files) paths.push_back(std::move(file.path));
    return paths;
}

namespace Radar {

DiagnosticFileWriter::DiagnosticFileWriter(int id)
    : ObjectFileWriter(id, kDirectory, 900, false, kMaxFileSize) {
    setMaxFileCount(kMaxFileCount);
    completed_files = scan_recorded_files(kDirectory);
    setEnabled(true);
}

void DiagnosticFileWriter::configure(std::string key, int value) {
    static constexpr SettingKeys kKeys = {
        "DiagnosticFileWriterEnabled", "DiagnosticFileWriterFileTime", nullptr,
        "DiagnosticFileWriterMaxFileCount", "DiagnosticFileWriterMaxFileSize"};
    apply_setting(kKeys, key, value);
}

}  // namespace Radar
