#pragma once

#include <cerrno>
#include <cstring>
#include <ios>
#include <string>
#include <system_error>

#include "log/ilog.h"

namespace Radar {

// The text comes in two parts: joining them would allocate before `errno` is read.

/** Logs that a system call failed: `what` and `object` in one, ": ", description of `errno`. */
inline void log_errno(int level, char const* what, std::string const& object = {}) {
    const int error = errno;
    Petrel::ilog(level) << what << object << ": " << std::strerror(error) << std::endl;
}

/** Logs that a file stream failed: `what`, ":" and the exception's text. */
inline void log_stream_failure(int level, std::string const& what,
                               std::ios_base::failure const& failure) {
    Petrel::ilog(level) << what << ":" << failure.what() << std::endl;
}

/** The exception for `error`, an `errno` value: `what` and `object`, ": ", its description. */
inline std::system_error errno_exception(int error, char const* what,
                                         std::string const& object = {}) {
    return std::system_error(error, std::system_category(), what + object);
}

}  // namespace Radar
