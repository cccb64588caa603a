#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "radar/radar_interface.h"

namespace Tools {

/** Bits of a register under a name: a field of it, or all of it. */
struct NamedBits {
    std::string name;
    Radar::RadarField bits;
    bool is_readable;
    bool is_writable;
    std::string description;

    bool is_whole_register() const { return bits.width == 32; }
    /** The largest value that fits. */
    uint32_t largest() const;
    /** The bits in a value of their register. */
    uint32_t of(uint32_t register_value) const;
};

/** A register, and what a map tells of it. A plain value. */
struct MappedRegister {
    int32_t address = 0;
    /** Empty when only fields of it have names. */
    std::string name;
    std::vector<NamedBits> fields;
    bool is_readable = false;
    bool is_writable = false;
    /** Whether reading it, or any field of it, changes it. */
    bool changes_by_reading = false;

    /** Its name, else its address. */
    std::string label() const;
    /** The name of one of its fields without its own in front: "enable" of "control.enable". */
    std::string short_name(NamedBits const& field) const;
};

/** `address` as it is printed everywhere: 0x0010. */
std::string address_text(int32_t address);

/** The last address that a bus frame has room for; the first is 0. */
constexpr int32_t kLastAddress = 0xFFFF;

/**
 * The names of a chip's registers and fields, from a map file: text, one name a line, with "name
 * address shift width access description"; docs/register-map.md has the details. A plain
 * value.
 */
class RegisterMap {
public:
    /**
     * Takes a map file's text.
     *
     * @param name of the file, for messages.
     * @throws Kit::InputError "NAME:LINE:COLUMN: reason" for the first thing that is wrong.
     */
    RegisterMap(std::string name, std::string const& text);

    /** What the map is called in messages. */
    std::string const& name() const { return map_name_; }

    /** By address. */
    std::map<int32_t, MappedRegister> const& registers() const { return by_address_; }

    /** The register at `address`; one without a name when the map has none, of which nothing is
     * known: it can be read and written. */
    MappedRegister register_at(int32_t address) const;

    /** The bits of that name; null when the map has none. */
    NamedBits const* find(std::string const& bits_name) const;

private:
    void add(NamedBits const& bits, bool changes_by_reading);

    std::string map_name_;
    std::map<int32_t, MappedRegister> by_address_;
    std::unordered_map<std::string, NamedBits> by_name_;
};

/** Reads the map file `path`. @throws Kit::InputError as RegisterMap, and when it is no file. */
RegisterMap load_register_map(std::string const& path);

/** Where the map of the demo chip was installed or built, seen from this program. */
std::string default_register_map();

}  // namespace Tools
