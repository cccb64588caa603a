#include "kit/settings/table.h"

#include <algorithm>
#include <limits>

namespace Kit {

namespace {

constexpr int32_t kAny = std::numeric_limits<int32_t>::max();

constexpr char kEnabled[] = "1 records, 0 does not";
constexpr char kLocation[] = "0 is /tmp, 1 is /var/spool/storage/SD_DISK";
constexpr char kFileTime[] = "how old a file grows before the next begins";
constexpr char kFileSize[] = "how large a file grows before the next begins; 0 is no limit";
constexpr char kFileCount[] = "how many completed files are kept; below 1 all of them";

constexpr char kIsMount[] = "1 records to the SD card only while it is mounted";
constexpr char kQueueFrames[] = "how many frames wait for slow storage, for each recorder";
constexpr char kQueueBytes[] = "how many bytes of frames wait for slow storage, for each recorder";

constexpr auto kRefused = Setting::Outside::kRefused;
constexpr auto kWarned = Setting::Outside::kWarned;

}  // namespace

std::vector<Setting> const& all_settings() {
    static const std::vector<Setting> settings = {
        {"FileWriterEnabled", "objects", "", kEnabled, 1, 0, 1, kWarned, false},
        {"FileWriterLocation", "objects", "", kLocation, 0, 0, 1, kRefused, false},
        {"FileWriterFileTime", "objects", "s", kFileTime, 900, 1, kAny, kRefused, false},
        {"FileWriterMaxFileSize", "objects, raw", "bytes", kFileSize, 0, 0, kAny, kRefused, false},
        {"FileWriterMaxFileCount", "objects", "files", kFileCount, -1, -1, kAny, kWarned, false},
        {"DataFileWriterEnabled", "raw", "", kEnabled, 0, 0, 1, kWarned, false},
        {"DataFileWriterLocation", "raw", "", kLocation, 0, 0, 1, kRefused, false},
        {"DataFileWriterFileTime", "raw", "s", kFileTime, 10, 1, kAny, kRefused, false},
        {"DataFileWriterMaxFileCount", "raw", "files", kFileCount, -1, -1, kAny, kWarned, false},
        {"DiagnosticFileWriterEnabled", "diagnostics", "", kEnabled, 1, 0, 1, kWarned, false},
        {"DiagnosticFileWriterFileTime", "diagnostics", "s", kFileTime, 900, 1, kAny, kRefused,
         false},
        {"DiagnosticFileWriterMaxFileSize", "diagnostics", "bytes", kFileSize, 8388608, 0, kAny,
         kRefused, false},
        {"DiagnosticFileWriterMaxFileCount", "diagnostics", "files", kFileCount, 4, -1, kAny,
         kWarned, false},
        {"StorageIsMount", "objects, raw", "", kIsMount, 1, 0, 1, kRefused, false},
        {"RecorderQueueFrames", "objects, raw, diagnostics", "frames", kQueueFrames, 900, 1, 100000,
         kRefused, false},
        {"RecorderQueueBytes", "objects, raw, diagnostics", "bytes", kQueueBytes, 4194304, 65536,
         1073741824, kRefused, false},
        {"WatchdogTimeout", "host", "s", "how long no frame may come before that is a failure", 2,
         1, 86400, kRefused, false},
        {"TargetLimit", "host", "targets", "how many targets a frame may hold", 128, 1, 65536,
         kRefused, false},
    };
    return settings;
}

Setting const* find_setting(std::string const& name) {
    auto const& settings = all_settings();
    const auto found = std::find_if(settings.begin(), settings.end(),
                                    [&](Setting const& setting) { return setting.name == name; });
    return found != settings.end() ? &*found : nullptr;
}

std::string outside_of_range(Setting const& setting, int32_t value) {
    return std::string(setting.name) + " is " + std::to_string(value) + ", not between " +
           std::to_string(setting.lowest) + " and " + std::to_string(setting.highest);
}

}  // namespace Kit
