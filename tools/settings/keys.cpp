#include "tools/settings/keys.h"

#include <algorithm>
#include <limits>

namespace Tools {

namespace {

constexpr int32_t kAny = std::numeric_limits<int32_t>::max();

constexpr char kEnabled[] = "1 records, 0 does not";
constexpr char kLocation[] = "0 is /tmp, 1 is /var/spool/storage/SD_DISK";
constexpr char kFileTime[] = "how old a file grows before the next begins";
constexpr char kFileSize[] = "how large a file grows before the next begins; 0 is no limit";
constexpr char kFileCount[] = "how many completed files are kept; below 1 all of them";

}  // namespace

std::vector<SettingKey> const& setting_keys() {
    static const std::vector<SettingKey> keys = {
        {"FileWriterEnabled", "objects", "", kEnabled, 1, 0, 1},
        {"FileWriterLocation", "objects", "", kLocation, 0, 0, 1},
        {"FileWriterFileTime", "objects", "s", kFileTime, 900, 0, kAny},
        {"FileWriterMaxFileSize", "objects, raw", "bytes", kFileSize, 0, 0, kAny},
        {"FileWriterMaxFileCount", "objects", "files", kFileCount, -1, -1, kAny},
        {"DataFileWriterEnabled", "raw", "", kEnabled, 0, 0, 1},
        {"DataFileWriterLocation", "raw", "", kLocation, 0, 0, 1},
        {"DataFileWriterFileTime", "raw", "s", kFileTime, 10, 0, kAny},
        {"DataFileWriterMaxFileCount", "raw", "files", kFileCount, -1, -1, kAny},
        {"DiagnosticFileWriterEnabled", "diagnostics", "", kEnabled, 1, 0, 1},
        {"DiagnosticFileWriterFileTime", "diagnostics", "s", kFileTime, 900, 0, kAny},
        {"DiagnosticFileWriterMaxFileSize", "diagnostics", "bytes", kFileSize, 8388608, 0, kAny},
        {"DiagnosticFileWriterMaxFileCount", "diagnostics", "files", kFileCount, 4, -1, kAny},
        {"WatchdogTimeout", "host", "s", "how long no frame may come before that is a failure", 2,
         1, 86400},
        {"TargetLimit", "host", "targets", "how many targets a frame may hold", 128, 1, 65536},
    };
    return keys;
}

SettingKey const* find_setting_key(std::string const& name) {
    auto const& keys = setting_keys();
    const auto found = std::find_if(keys.begin(), keys.end(),
                                    [&](SettingKey const& key) { return key.name == name; });
    return found != keys.end() ? &*found : nullptr;
}

}  // namespace Tools
