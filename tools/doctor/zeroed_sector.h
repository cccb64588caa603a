#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Tools {

/** What a storage medium writes at once, in bytes. */
constexpr uint64_t kSectorSize = 512;

/**
 * Looks for a sector that holds nothing but zeros, as one that was never written does. Looks at 32
 * MiB at most.
 *
 * @param path of the file; none is found where it is no regular one, or cannot be read.
 * @param begin, end the part of the file in which the whole sector lies, in bytes.
 * @return where the first one begins, in bytes from the front of the file.
 */
std::optional<uint64_t> find_zeroed_sector(std::string const& path, uint64_t begin, uint64_t end);

}  // namespace Tools
