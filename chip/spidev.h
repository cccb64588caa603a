#pragma once

#include <linux/spi/spidev.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "chip/client_memory.h"
#include "chip/spi_slave.h"

namespace Chip {

/**
 * What the kernel's spidev driver does between a program and the bus, with a slave of ours on it:
 * messages of transfers, plain reads and writes, and the settings of the bus, which are kept and
 * have no effect. Errors are the driver's, as negative errno values.
 *
 * The slave is not owned and must outlive the object. One thread at a time.
 */
class Spidev {
public:
    /** Most bytes that one message takes from, or brings to, a program's buffers. */
    static constexpr size_t kBufferSize = 4096;

    explicit Spidev(SpiSlave& slave);

    /** Answer to an ioctl: a result, and the bytes that go back through its argument. */
    struct Reply {
        int result = 0;
        std::vector<uint8_t> argument;
    };

    /**
     * An ioctl with the bytes that its argument points at. A message gives the sum of its
     * transfers' lengths, or -EMSGSIZE when its buffers have more than kBufferSize bytes, -EFAULT
     * when one of them is not the client's, -EINVAL when the argument is no whole number of
     * transfers. A request that is not spidev's gives -ENOTTY.
     */
    Reply control(unsigned request, std::vector<uint8_t> const& argument, ClientMemory& client);

    /** Clocks out zeros under one chip select; returns what came back. @pre size <= kBufferSize */
    std::vector<uint8_t> read(size_t size);

    /** Clocks out bytes under one chip select. */
    void write(uint8_t const* bytes, size_t size);

private:
    int message(std::vector<uint8_t> const& argument, ClientMemory& client);
    int transfer(std::vector<spi_ioc_transfer> const& transfers, ClientMemory& client);
    std::vector<uint8_t> clock(std::vector<spi_ioc_transfer> const& transfers,
                               std::vector<uint8_t> const& sent);

    SpiSlave& slave_;
    uint32_t mode_ = 0;
    uint8_t lsb_first_ = 0;
    uint8_t bits_per_word_ = 8;
    uint32_t speed_hz_ = 500000;
};

}  // namespace Chip
