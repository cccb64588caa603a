#include <fmt/core.h>

#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tools/cli/number_text.h"
#include "tools/cli/options.h"
#include "tools/registers/chip_access.h"
#include "tools/registers/regs.h"

namespace Tools {

namespace {

struct Options {
    ChipOptions chip;
    std::vector<std::string> names;
    std::string format = "text";
};

/** Bits of the chip with the value that was read. */
struct Value {
    NamedBits bits;
    uint32_t value;
};

/** A named register brings its fields. */
void add_values(Selected const& selected, uint32_t register_value, std::vector<Value>& values) {
    values.push_back({selected.bits, selected.bits.of(register_value)});
    if (!selected.bits.is_whole_register()) return;
    for (NamedBits const& field : selected.whole.fields) {
        values.push_back({field, field.of(register_value)});
    }
}

std::string as_text(std::vector<Value> const& values) {
    std::string text;
    for (auto const& [bits, value] : values) {
        text += fmt::format("{}={}\n", bits.name,
                            bits.is_whole_register() ? hex_text(value, 8) : std::to_string(value));
    }
    return text;
}

std::string as_json(std::vector<Value> const& values) {
    auto array = nlohmann::ordered_json::array();
    for (auto const& [bits, value] : values) {
        array.push_back({{"name", bits.name},
                         {"address", bits.bits.address},
                         {"shift", bits.bits.shift},
                         {"width", bits.bits.width},
                         {"value", value}});
    }
    return nlohmann::ordered_json({{"values", array}}).dump(2) + "\n";
}

ExitStatus run(Options const& options, Console& console) {
    const RegisterMap map = load_map(options.chip);
    std::vector<Selected> selected;
    for (std::string const& name : options.names) selected.push_back(select_bits(map, name));
    for (Selected const& one : selected) check_readable(one, options.chip.force);

    // Once each: fields are then of one moment, and a register that reading clears is not lost.
    const ChipAccess chip(options.chip);
    std::map<int32_t, uint32_t> registers;
    std::vector<Value> values;
    for (Selected const& one : selected) {
        const int32_t address = one.whole.address;
        if (registers.count(address) == 0) registers[address] = chip.read(one.whole);
        add_values(one, registers[address], values);
    }
    console.out.write(options.format == "json" ? as_json(values) : as_text(values));
    return ExitStatus::kOk;
}

Run declare(OptionParser& parser) {
    const auto options = std::make_shared<Options>();
    parser.add_arguments("NAME", options->names, "Registers and fields, by name or by address")
        .require();
    parser.add_choice("--format", options->format, {"text", "json"}, "Print the values as");
    add_chip_options(parser, options->chip);
    return [options](Console& console) { return run(*options, console); };
}

}  // namespace

Verb regs_read_verb() {
    return {"read",
            "Read registers and fields",
            {{"regs read control", "a register and its fields"},
             {"regs read control.frame_rate version.major", "two fields"},
             {"regs read 0x0400 --map my-chip.map", "a register of another chip, by its address"}},
            "Prints NAME=VALUE lines, which 'petrelradar regs write' takes. Each register is read\n"
            "once, so that its fields are of one moment. One that changes by being read is not\n"
            "read without --force.",
            declare};
}

}  // namespace Tools
