#include "chip/client_memory.h"

#include <cerrno>

namespace Chip {

namespace {

size_t total_size(std::vector<iovec> const& pieces) {
    size_t size = 0;
    for (iovec const& piece : pieces) size += piece.iov_len;
    return size;
}

/** What a transfer of `wanted` bytes came to: the calls stop quietly at the first bad page. */
int error_of(ssize_t moved, size_t wanted) {
    if (moved < 0) return errno;
    return static_cast<size_t>(moved) == wanted ? 0 : EFAULT;
}

}  // namespace

ProcessMemory::ProcessMemory(pid_t pid) : pid_(pid) {}

int ProcessMemory::fetch(std::vector<iovec> const& pieces, std::vector<uint8_t>& bytes) {
    bytes.resize(total_size(pieces));
    if (bytes.empty()) return 0;
    const iovec local = {bytes.data(), bytes.size()};
    return error_of(process_vm_readv(pid_, &local, 1, pieces.data(), pieces.size(), 0),
                    bytes.size());
}

int ProcessMemory::store(std::vector<iovec> const& pieces, std::vector<uint8_t> const& bytes) {
    if (bytes.empty()) return 0;
    // The call does not write to the local side.
    const iovec local = {const_cast<uint8_t*>(bytes.data()), bytes.size()};
    return error_of(process_vm_writev(pid_, &local, 1, pieces.data(), pieces.size(), 0),
                    bytes.size());
}

}  // namespace Chip
