#pragma once

#include <google/protobuf/stubs/common.h>

#if GOOGLE_PROTOBUF_VERSION < 4022000
#include <google/protobuf/stubs/logging.h>
#define PETRELRADAR_FATAL_IF GOOGLE_LOG_IF
#else
#include <absl/log/absl_log.h>
#define PETRELRADAR_FATAL_IF ABSL_LOG_IF
#endif

namespace Radar {

/**
 * Ends in protobuf's fatal check failure, with protobuf's own text, unless 0 <= index < size.
 * Protobuf makes this check itself only in builds without NDEBUG.
 */
inline void check_index(int index, int size) {
    PETRELRADAR_FATAL_IF(FATAL, index < 0) << "CHECK failed: (index) >= (0): ";
    PETRELRADAR_FATAL_IF(FATAL, index >= size) << "CHECK failed: (index) < (current_size_): ";
}

}  // namespace Radar

#undef PETRELRADAR_FATAL_IF
