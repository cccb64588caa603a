#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "radar/spi_radar_interface.h"
#include "tools/registers/map.h"

namespace Tools {

class OptionParser;

/** How a person tells the verbs on registers which chip there is. */
struct ChipOptions {
    std::string map_file;  // empty: the demo chip's
    std::string command_byte = "0x20";
    /** Whether registers are read that change by that. */
    bool force = false;
};

/** Adds --map, --command-byte and --force. */
void add_chip_options(OptionParser& parser, ChipOptions& options);

/** Reads the map. @throws Kit::InputError */
RegisterMap load_map(ChipOptions const& options);

/** A register or a field of it that a person named. */
struct Selected {
    NamedBits bits;
    MappedRegister whole;
};

/**
 * Finds what `text` names in the map: a register, a field, or an address, which is a register of
 * the map or one that the map does not have.
 *
 * @throws Kit::UsageError when it is none of these.
 */
Selected select_bits(RegisterMap const& map, std::string const& text);

/** Refuses, unless it is `forced`, what changes by being read. @throws Kit::InputError */
void check_harmless(Selected const& selected, bool forced);

/** Refuses what cannot be read, and as check_harmless(). @throws Kit::InputError */
void check_readable(Selected const& selected, bool forced);

/**
 * The registers of the chip, over the SPI bus. Owns the device. One thread at a time. What fails
 * throws Kit::InputError with the register and the system's reason.
 */
class ChipAccess {
public:
    /** Opens the device. @throws std::system_error with its name and the reason. */
    explicit ChipAccess(ChipOptions const& options);

    /** Reads a register, once. */
    uint32_t read(MappedRegister const& whole) const;

    /** Writes a register, or reads it and writes it back with these bits changed. */
    void write(Selected const& selected, uint32_t value);

private:
    Radar::SPIRadarInterface device_;
};

}  // namespace Tools
