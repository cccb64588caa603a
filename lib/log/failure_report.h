#pragma once

#include <cerrno>
#include <cstring>
#include <ios>
#include <string>
#include <system_error>

#include "log/ilog.h"

namespace Radar {

/** Logs that a system call failed, with the description of `errno`: `what`, ": ", reason. */
inline void log_errno(int level, std::string const& what) {
    const int error = errno;
    Petrel::ilog(level) << what << ": " << std::strerror(error) << std::endl;
}

/** Logs that a file stream failed: `what`, ":" and the exception's text. */
inline void log_stream_failure(int level, std::string const& what,
                               std::ios_base::failure const& failure) {
    Petrel::ilog(level) << what << ":" << failure.what() << std::endl;
}

/** The exception for `error`, an `errno` value: what() is `what`, ": " and its description. */
inline std::system_error errno_exception(int error, std::string const& what) {
    return std::system_error(error, std::system_category(), what);
}

}  // namespace Radar
