#pragma once

#include <chrono>
#include <string>

namespace Tools {

/** How long a service may take for its status. */
constexpr std::chrono::seconds kStatusPatience(5);

/**
 * Returns the status document of the service that answers at the UNIX socket `path`, as it came.
 *
 * @throws Kit::InputError with the path and the reason: nobody answers, or not within `patience`,
 *         the document is larger than 16 MiB, or the user has ended the wait.
 */
std::string read_status(std::string const& path, std::chrono::milliseconds patience);

}  // namespace Tools
