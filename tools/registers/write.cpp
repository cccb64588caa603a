#include <fmt/core.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kit/base/input_error.h"
#include "kit/base/text.h"
#include "kit/base/usage_error.h"
#include "kit/base/whole_number.h"
#include "tools/cli/number_text.h"
#include "tools/cli/options.h"
#include "tools/registers/chip_access.h"
#include "tools/registers/regs.h"

namespace Tools {

namespace {

struct Options {
    ChipOptions chip;
    std::vector<std::string> settings;
    bool verify = false;
};

/** One thing to write. */
struct Setting {
    Selected selected;
    uint32_t value;
};

Setting parse_setting(RegisterMap const& map, std::string const& text) {
    const size_t sign = text.find('=');
    if (sign == std::string::npos) {
        throw Kit::UsageError(Kit::quoted(text) + " is not written NAME=VALUE");
    }
    const Selected selected = select_bits(map, text.substr(0, sign));
    const std::string value_text = text.substr(sign + 1);
    const std::optional<uint64_t> value = Kit::whole_number(value_text);
    if (!value || *value > selected.bits.largest()) {
        throw Kit::UsageError(fmt::format("{}: {} is not a number from 0 to {}", selected.bits.name,
                                          Kit::quoted(value_text), selected.bits.largest()));
    }
    return {selected, static_cast<uint32_t>(*value)};
}

/** Refuses what cannot be written, or not without reading what should not be read. */
void check_setting(Setting const& setting, Options const& options) {
    auto const& [bits, whole] = setting.selected;
    if (!bits.is_writable) throw Kit::InputError(bits.name + " can only be read");
    if (!bits.is_whole_register()) {
        // The register's other bits have to be known to be kept.
        if (!whole.is_readable) {
            throw Kit::InputError(bits.name + ": " + whole.label() +
                                  " cannot be read, so it has to be written as a whole");
        }
        check_harmless(setting.selected, options.chip.force);
    }
    if (!options.verify) return;
    if (!bits.is_readable) {
        throw Kit::InputError(bits.name + " can only be written, so --verify cannot look at it");
    }
    check_harmless(setting.selected, options.chip.force);
}

void verify(ChipAccess const& chip, Setting const& setting, size_t left) {
    const NamedBits& bits = setting.selected.bits;
    const uint32_t found = bits.of(chip.read(setting.selected.whole));
    if (found == setting.value) return;
    const int digits = (bits.bits.width + 3) / 4;
    std::string problem = bits.name + ": wrote " + hex_text(setting.value, digits) +
                          ", read back " + hex_text(found, digits);
    if (left > 0) problem += "; what follows was not written";
    throw Kit::Error(problem);
}

ExitStatus run(Options const& options) {
    const RegisterMap map = load_map(options.chip);
    std::vector<Setting> settings;
    for (std::string const& text : options.settings) settings.push_back(parse_setting(map, text));
    for (Setting const& setting : settings) check_setting(setting, options);

    ChipAccess chip(options.chip);
    size_t left = settings.size();
    for (Setting const& setting : settings) {
        chip.write(setting.selected, setting.value);
        --left;
        if (options.verify) verify(chip, setting, left);
    }
    return ExitStatus::kOk;
}

Run declare(OptionParser& parser) {
    const auto options = std::make_shared<Options>();
    parser
        .add_arguments("SETTING", options->settings,
                       "NAME=VALUE: a register or field, by name or address, and a number")
        .require();
    parser.add_flag("--verify", options->verify,
                    "Read back what was written, and fail if it differs");
    add_chip_options(parser, options->chip);
    return [options](Console&) { return run(*options); };
}

}  // namespace

Verb regs_write_verb() {
    return {"write",
            "Write registers and fields",
            {{"regs write control.frame_rate=30 control.enable=1 --verify",
              "two fields, and look whether the chip took them"},
             {"regs write reset=0x54455352", "a whole register"}},
            "Values are decimal, or with 0x hexadecimal. They are written in this order, each by\n"
            "itself, and nothing is written when one of them makes no sense. To write a field its\n"
            "register is read, and the other bits are kept.",
            declare};
}

}  // namespace Tools
