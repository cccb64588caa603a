#pragma once

#include <google/protobuf/stubs/common.h>

#if GOOGLE_PROTOBUF_VERSION < 4022000
#include <google/protobuf/stubs/logging.h>
#define PETRELRADAR_INDEX_CHECK(condition) GOOGLE_CHECK(condition)
#else
#include <absl/log/absl_log.h>
#define PETRELRADAR_INDEX_CHECK(condition) \
    ABSL_LOG_IF(FATAL, !(condition)) << "CHECK failed: " #condition ": "
#endif

namespace Radar {

/**
 * Ends in protobuf's fatal check failure, with protobuf's own text, unless 0 <= index <
 * current_size_. Protobuf makes this check itself only in builds without NDEBUG.
 */
inline void check_index(int index, int current_size_) {
    PETRELRADAR_INDEX_CHECK((index) >= (0));
    PETRELRADAR_INDEX_CHECK((index) < (current_size_));
}

}  // namespace Radar

#undef PETRELRADAR_INDEX_CHECK
