#include "tools/registers/map.h"

#include <fmt/core.h>

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include "kit/base/input_error.h"
#include "kit/base/text.h"
#include "tools/cli/number_text.h"
#include "tools/cli/text_file.h"
#include "tools/cli/text_line.h"

namespace Tools {

namespace {

constexpr int kRegisterBits = 32;

bool is_letter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           character == '_';
}

bool is_digit(char character) {
    return character >= '0' && character <= '9';
}

/** Names are told from addresses by their first character, and end where '=' begins a value. */
bool is_name(std::string_view text) {
    return is_letter(text.front()) && std::all_of(text.begin(), text.end(), [](char character) {
               return is_letter(character) || is_digit(character) || character == '.' ||
                      character == '-';
           });
}

std::string take_name(TextLine& line) {
    const std::string_view found = line.word("name");
    if (is_name(found)) return std::string(found);
    line.fail(Kit::quoted(found) +
              " is not a name: a letter, then letters, digits, '.', '-' and '_'");
}

Radar::RadarField take_place(TextLine& line) {
    const auto address = static_cast<int32_t>(line.number("address", 0, kLastAddress));
    const auto shift = static_cast<int32_t>(line.number("shift", 0, kRegisterBits - 1));
    const auto width = static_cast<int32_t>(line.number("width", 1, kRegisterBits));
    if (shift + width <= kRegisterBits) return {address, shift, width};
    line.fail(fmt::format("bits {} to {} are more than a register has, which is 0 to 31", shift,
                          shift + width - 1));
}

std::string take_access(TextLine& line) {
    const std::string_view found = line.word("access");
    if (found == "r" || found == "w" || found == "rw" || found == "rc") return std::string(found);
    line.fail(Kit::quoted(found) + " is not an access: r, w, rw or rc");
}

}  // namespace

uint32_t NamedBits::largest() const {
    return bits.width >= kRegisterBits ? ~uint32_t{0} : (uint32_t{1} << bits.width) - 1;
}

uint32_t NamedBits::of(uint32_t register_value) const {
    return (register_value >> bits.shift) & largest();
}

std::string MappedRegister::label() const {
    return name.empty() ? address_text(address) : name;
}

std::string MappedRegister::short_name(NamedBits const& field) const {
    const std::string before = name + ".";
    const bool has_it = field.name.size() > before.size() && field.name.rfind(before, 0) == 0;
    return has_it && !name.empty() ? field.name.substr(before.size()) : field.name;
}

std::string address_text(int32_t address) {
    return hex_text(static_cast<uint32_t>(address), 4);
}

RegisterMap::RegisterMap(std::string name, std::string const& text) : map_name_(std::move(name)) {
    std::unordered_map<std::string, int> lines;
    for_each_line(map_name_, text, [&](TextLine& line, int number) {
        const std::string bits_name = take_name(line);
        const auto [earlier, is_new] = lines.emplace(bits_name, number);
        if (!is_new) {
            line.fail(
                fmt::format("the name '{}' was given in line {}", bits_name, earlier->second));
        }
        const Radar::RadarField bits = take_place(line);
        const std::string access = take_access(line);
        const bool is_writable = access == "w" || access == "rw";
        add({bits_name, bits, access != "w", is_writable, Kit::printable(line.rest())},
            access == "rc");
    });
    if (by_name_.empty()) throw Kit::InputError(Kit::printable(map_name_) + ": names no register");
}

void RegisterMap::add(NamedBits const& bits, bool changes_by_reading) {
    by_name_.emplace(bits.name, bits);
    MappedRegister& mapped = by_address_[bits.bits.address];
    mapped.address = bits.bits.address;
    mapped.is_readable = mapped.is_readable || bits.is_readable;
    mapped.is_writable = mapped.is_writable || bits.is_writable;
    mapped.changes_by_reading = mapped.changes_by_reading || changes_by_reading;
    if (!bits.is_whole_register()) {
        mapped.fields.push_back(bits);
    } else if (mapped.name.empty()) {
        mapped.name = bits.name;
    }
}

MappedRegister RegisterMap::register_at(int32_t address) const {
    const auto found = by_address_.find(address);
    if (found != by_address_.end()) return found->second;
    MappedRegister unknown;
    unknown.address = address;
    unknown.is_readable = true;
    unknown.is_writable = true;
    return unknown;
}

NamedBits const* RegisterMap::find(std::string const& bits_name) const {
    const auto found = by_name_.find(bits_name);
    return found != by_name_.end() ? &found->second : nullptr;
}

RegisterMap load_register_map(std::string const& path) {
    return RegisterMap(path, read_text_file(path));
}

std::string default_register_map() {
    namespace fs = std::filesystem;
    std::error_code none;
    const fs::path program = fs::read_symlink("/proc/self/exe", none);
    return (program.parent_path() / PETRELRADAR_DATA_FOLDER / "demo-chip.map").lexically_normal();
}

}  // namespace Tools
