#pragma once

#include <sys/types.h>
#include <sys/uio.h>

#include <cstdint>
#include <vector>

namespace Chip {

/** Memory of the process that a request came from. */
class ClientMemory {
public:
    ClientMemory() = default;
    virtual ~ClientMemory() = default;
    ClientMemory(ClientMemory const&) = delete;
    ClientMemory& operator=(ClientMemory const&) = delete;

    /**
     * Fetches the client's `pieces`, one after the other. Returns 0, or the error: EFAULT when not
     * every byte is readable there.
     */
    virtual int fetch(std::vector<iovec> const& pieces, std::vector<uint8_t>& bytes) = 0;

    /**
     * Stores `bytes` to the client's `pieces`, which together have that size. Returns 0, or the
     * error: EFAULT when not every byte is writable there.
     */
    virtual int store(std::vector<iovec> const& pieces, std::vector<uint8_t> const& bytes) = 0;
};

/**
 * The memory of another process, which must be one that this process may trace: its own user's, or
 * any in the user namespace where it has CAP_SYS_PTRACE.
 */
class ProcessMemory : public ClientMemory {
public:
    explicit ProcessMemory(pid_t pid);

    int fetch(std::vector<iovec> const& pieces, std::vector<uint8_t>& bytes) override;
    int store(std::vector<iovec> const& pieces, std::vector<uint8_t> const& bytes) override;

private:
    pid_t pid_;
};

}  // namespace Chip
