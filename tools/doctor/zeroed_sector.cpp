#include "tools/doctor/zeroed_sector.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

namespace Tools {

namespace {

constexpr uint64_t kMostLookedAt = 32 * 1024 * 1024;
constexpr uint64_t kPieceSize = 128 * kSectorSize;

int open_regular(std::string const& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return -1;
    return open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
}

std::optional<uint64_t> find_in(int fd, uint64_t begin, uint64_t end) {
    std::vector<char> piece(kPieceSize);
    for (uint64_t offset = begin; offset + kSectorSize <= end; offset += kPieceSize) {
        const auto wanted = static_cast<size_t>(std::min(end - offset, kPieceSize));
        const ssize_t size = pread(fd, piece.data(), wanted, static_cast<off_t>(offset));
        const auto sectors = static_cast<uint64_t>(std::max<ssize_t>(size, 0)) / kSectorSize;
        for (uint64_t i = 0; i < sectors; ++i) {
            char const* const sector = piece.data() + i * kSectorSize;
            const auto is_zero = [](char byte) { return byte == 0; };
            if (std::all_of(sector, sector + kSectorSize, is_zero)) {
                return offset + i * kSectorSize;
            }
        }
        if (size < static_cast<ssize_t>(wanted)) break;
    }
    return std::nullopt;
}

}  // namespace

std::optional<uint64_t> find_zeroed_sector(std::string const& path, uint64_t begin, uint64_t end) {
    begin = (begin + kSectorSize - 1) / kSectorSize * kSectorSize;
    end = std::min(end, begin + kMostLookedAt);
    if (begin + kSectorSize > end) return std::nullopt;
    const int fd = open_regular(path);
    if (fd < 0) return std::nullopt;
    const auto found = find_in(fd, begin, end);
    close(fd);
    return found;
}

}  // namespace Tools
