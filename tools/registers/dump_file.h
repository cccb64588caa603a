#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tools/registers/chip_access.h"
#include "tools/registers/map.h"

namespace Tools {

/** A register and what it held. */
struct RegisterValue {
    int32_t address = 0;
    std::string name;  // empty when only its fields have names
    uint32_t value = 0;
    std::vector<std::pair<std::string, uint32_t>> fields;

    /** Its name, else its address. */
    std::string label() const { return name.empty() ? address_text(address) : name; }
};

/** A register that was left alone. */
struct SkippedRegister {
    int32_t address;
    std::string label;
    char const* reason;
};

/** What the registers of a chip held, by address. A plain value. */
struct RegisterDump {
    std::string name;  // for messages
    std::vector<RegisterValue> registers;
    std::vector<SkippedRegister> skipped;
};

/** The reason of a register that a map does not have. */
constexpr char kNotInTheMap[] = "not in the map";

/** What `whole` holds, with its fields. */
RegisterValue register_value(MappedRegister const& whole, uint32_t value);

/** Why `whole` is left out of what reads all registers; null when it is not. */
char const* reason_to_skip(MappedRegister const& whole, bool forced);

/** Reads every register of the map that may be read. @throws Kit::InputError */
RegisterDump dump_chip(RegisterMap const& map, ChipAccess const& chip, bool forced);

/** One line for people about what was left out, without its end; empty when nothing was. */
std::string skipped_text(std::vector<SkippedRegister> const& skipped);

// The two formats of a dump; docs/register-map.md describes them.
std::string dump_as_text(RegisterDump const& dump);
std::string dump_as_json(RegisterDump const& dump);

/**
 * Takes a dump of either format.
 *
 * @throws Kit::InputError "NAME:LINE:COLUMN: reason" when it is none.
 */
RegisterDump parse_dump(std::string const& name, std::string const& text);

}  // namespace Tools
