#include "tools/registers/chip_access.h"

#include <optional>
#include <system_error>

#include "kit/base/input_error.h"
#include "kit/base/text.h"
#include "kit/base/usage_error.h"
#include "kit/base/whole_number.h"
#include "tools/cli/options.h"

namespace Tools {

namespace {

/** Bit 0 of the command byte tells a read from a write. */
std::optional<int> command_byte(std::string const& text) {
    const std::optional<uint64_t> value = Kit::whole_number(text);
    if (!value || *value > 0xFE || *value % 2 != 0) return std::nullopt;
    return static_cast<int>(*value);
}

[[noreturn]] void fail(MappedRegister const& whole, char const* what,
                       std::system_error const& error) {
    const std::string place = whole.name.empty() ? "" : " (" + address_text(whole.address) + ")";
    throw Kit::Error(whole.label() + place + " " + what + ": " + error.what());
}

Selected select_address(RegisterMap const& map, std::string const& text) {
    const std::optional<uint64_t> address = Kit::whole_number(text);
    if (!address || *address > kLastAddress) {
        throw Kit::UsageError(Kit::quoted(text) + " is not a valid address (0 to " +
                              address_text(kLastAddress) + ")");
    }
    const MappedRegister whole = map.register_at(static_cast<int32_t>(*address));
    return {{whole.label(), {whole.address, 0, 32}, whole.is_readable, whole.is_writable, ""},
            whole};
}

}  // namespace

void add_chip_options(OptionParser& parser, ChipOptions& options) {
    parser.add_text("--map", options.map_file, "FILE",
                    "Names of registers; without it, the demo chip's");
    const auto take_command_byte = [&options](std::string const& text) -> std::string {
        if (!command_byte(text)) return Kit::quoted(text) + " is not an even number from 0 to 0xfe";
        options.command_byte = text;
        return "";
    };
    parser.add_value("--command-byte", "N", take_command_byte,
                     "What write frames of this chip begin with; without it, 0x20");
    parser.add_flag("--force", options.force, "Read registers that change by being read, too");
}

RegisterMap load_map(ChipOptions const& options) {
    if (!options.map_file.empty()) return load_register_map(options.map_file);
    try {
        return load_register_map(default_register_map());
    } catch (Kit::InputError const& error) {
        throw Kit::InputError(std::string(error.what()) + "; name a map with --map");
    }
}

Selected select_bits(RegisterMap const& map, std::string const& text) {
    if (!text.empty() && text.front() >= '0' && text.front() <= '9') {
        return select_address(map, text);
    }
    NamedBits const* const bits = map.find(text);
    if (bits == nullptr) {
        throw Kit::UsageError(Kit::quoted(text) + " is not a register or field in " +
                              Kit::printable(map.name()));
    }
    return {*bits, map.register_at(bits->bits.address)};
}

void check_harmless(Selected const& selected, bool forced) {
    if (!selected.whole.changes_by_reading || forced) return;
    std::string const& name = selected.bits.name;
    const bool is_register = name == selected.whole.label();
    throw Kit::InputError(name + ": reading " + (is_register ? "it" : selected.whole.label()) +
                          " changes it (use --force to read it)");
}

void check_readable(Selected const& selected, bool forced) {
    if (!selected.bits.is_readable) {
        throw Kit::InputError(selected.bits.name + " can only be written");
    }
    check_harmless(selected, forced);
}

ChipAccess::ChipAccess(ChipOptions const& options)
    : device_(0, command_byte(options.command_byte).value()) {}

uint32_t ChipAccess::read(MappedRegister const& whole) const {
    try {
        return static_cast<uint32_t>(device_.read_register(whole.address));
    } catch (std::system_error const& error) {
        fail(whole, "cannot be read", error);
    }
}

void ChipAccess::write(Selected const& selected, uint32_t value) {
    try {
        if (selected.bits.is_whole_register()) {
            device_.write_register(selected.whole.address, static_cast<int>(value), 0);
            return;
        }
        // What it held before may have been changed by the chip, or by another program.
        device_.clear_cache();
        device_.write_field(selected.bits.bits, static_cast<int>(value));
    } catch (std::system_error const& error) {
        fail(selected.whole, "cannot be written", error);
    }
}

}  // namespace Tools
