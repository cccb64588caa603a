#pragma once

#include <cstdint>

namespace Chip {

/** Registers of 32 bits behind a bus. One thread at a time. */
class RegisterFile {
public:
    RegisterFile() = default;
    virtual ~RegisterFile() = default;
    RegisterFile(RegisterFile const&) = delete;
    RegisterFile& operator=(RegisterFile const&) = delete;

    /** The value of a register; 0 for an address that has none. May change the registers. */
    virtual uint32_t read(uint16_t address) = 0;

    /**
     * Writes the bits of `value` that are set in `mask`; the others keep what they have. An address
     * without a register, and a register that cannot be written, take no notice.
     */
    virtual void write(uint16_t address, uint32_t value, uint32_t mask) = 0;
};

}  // namespace Chip
