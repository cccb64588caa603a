#include <fmt/core.h>

#include <algorithm>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "kit/base/usage_error.h"
#include "tools/cli/number_text.h"
#include "tools/cli/options.h"
#include "tools/cli/text_file.h"
#include "tools/registers/chip_access.h"
#include "tools/registers/dump_file.h"
#include "tools/registers/regs.h"

namespace Tools {

namespace {

using Json = nlohmann::ordered_json;

struct Options {
    ChipOptions chip;
    std::string before;
    std::string after;
    std::string format = "text";
};

/** A register on both sides; null where a side does not have it. */
struct Pair {
    RegisterValue const* before = nullptr;
    RegisterValue const* after = nullptr;

    bool is_same() const {
        return before != nullptr && after != nullptr && before->value == after->value;
    }
    RegisterValue const& either() const { return before != nullptr ? *before : *after; }
};

/** A field of a register on both sides, when its value differs. */
struct FieldChange {
    std::string name;
    uint32_t before;
    uint32_t after;
};

RegisterDump load_dump(std::string const& name) {
    if (name == "-") return parse_dump("standard input", read_standard_input());
    return parse_dump(name, read_text_file(name));
}

/** What the chip holds in the registers of `dump`; those that may not be read are left out. */
RegisterDump read_same_registers(RegisterDump const& dump, ChipOptions const& options) {
    const RegisterMap map = load_map(options);
    const ChipAccess chip(options);
    RegisterDump now;
    now.name = "the chip";
    for (RegisterValue const& whole : dump.registers) {
        const MappedRegister mapped = map.register_at(whole.address);
        // Nobody knows what reading a register does that is not in the map.
        const bool is_unknown = map.registers().count(whole.address) == 0 && !options.force;
        char const* const reason =
            is_unknown ? kNotInTheMap : reason_to_skip(mapped, options.force);
        if (reason != nullptr) {
            now.skipped.push_back({whole.address, mapped.label(), reason});
        } else {
            now.registers.push_back(register_value(mapped, chip.read(mapped)));
        }
    }
    return now;
}

/** The registers that differ, by address; those that were left out are none of them. */
std::map<int32_t, Pair> differences(RegisterDump const& before, RegisterDump const& after) {
    std::map<int32_t, Pair> pairs;
    for (RegisterValue const& whole : before.registers) pairs[whole.address].before = &whole;
    for (RegisterValue const& whole : after.registers) pairs[whole.address].after = &whole;
    for (SkippedRegister const& one : after.skipped) pairs.erase(one.address);
    for (auto pair = pairs.begin(); pair != pairs.end();) {
        pair = pair->second.is_same() ? pairs.erase(pair) : std::next(pair);
    }
    return pairs;
}

std::vector<FieldChange> changed_fields(Pair const& pair) {
    std::vector<FieldChange> changes;
    if (pair.before == nullptr || pair.after == nullptr) return changes;
    for (auto const& [name, value] : pair.before->fields) {
        for (auto const& [other_name, other] : pair.after->fields) {
            if (name == other_name && value != other) changes.push_back({name, value, other});
        }
    }
    return changes;
}

std::string value_text(RegisterValue const* whole) {
    return whole != nullptr ? hex_text(whole->value, 8) : "none";
}

std::string as_text(std::map<int32_t, Pair> const& pairs) {
    std::string text;
    for (auto const& [address, pair] : pairs) {
        RegisterValue const& either = pair.either();
        text += address_text(address) + " " + (either.name.empty() ? "-" : either.name) + " " +
                value_text(pair.before) + " -> " + value_text(pair.after);
        for (auto const& [name, before, after] : changed_fields(pair)) {
            text += fmt::format(" {}={}->{}", name, before, after);
        }
        text += "\n";
    }
    return text;
}

Json value_json(RegisterValue const* whole) {
    return whole != nullptr ? Json(whole->value) : Json(nullptr);
}

std::string as_json(std::map<int32_t, Pair> const& pairs) {
    Json array = Json::array();
    for (auto const& [address, pair] : pairs) {
        Json fields = Json::object();
        for (auto const& [name, before, after] : changed_fields(pair)) {
            fields[name] = {{"before", before}, {"after", after}};
        }
        std::string const& name = pair.either().name;
        array.push_back({{"address", address},
                         {"name", name.empty() ? Json(nullptr) : Json(name)},
                         {"before", value_json(pair.before)},
                         {"after", value_json(pair.after)},
                         {"fields", fields}});
    }
    return Json({{"differences", array}}).dump(2, ' ', false, Json::error_handler_t::replace) +
           "\n";
}

ExitStatus run(Options const& options, Console& console) {
    if (options.before == "-" && options.after == "-") {
        throw Kit::UsageError("standard input holds one dump, not two");
    }
    const RegisterDump before = load_dump(options.before);
    const RegisterDump after = options.after.empty() ? read_same_registers(before, options.chip)
                                                     : load_dump(options.after);
    const std::map<int32_t, Pair> pairs = differences(before, after);
    console.out.write(options.format == "json" ? as_json(pairs) : as_text(pairs));
    const std::string problem = skipped_text(after.skipped);
    if (!problem.empty()) console.messages.warn(problem);
    if (!pairs.empty()) return ExitStatus::kFailed;
    return problem.empty() ? ExitStatus::kOk : ExitStatus::kDamaged;
}

Run declare(OptionParser& parser) {
    const auto options = std::make_shared<Options>();
    parser.add_argument("BEFORE", options->before, "A dump, as text or JSON; - is standard input")
        .require();
    parser.add_argument("AFTER", options->after, "Another dump; without it, the chip as it is now");
    parser.add_choice("--format", options->format, {"text", "json"}, "Print what differs as");
    add_chip_options(parser, options->chip);
    return [options](Console& console) { return run(*options, console); };
}

}  // namespace

Verb regs_diff_verb() {
    return {"diff",
            "Compare two dumps, or a dump with the chip",
            {{"regs diff before.txt", "what has changed on the chip since that dump"},
             {"regs diff before.txt after.json", "what differs between two dumps"}},
            "Prints a line for every register that differs, with the fields that do. Exit status:\n"
            "0 the same, 1 different, or they could not be compared; 3 the same, but registers of\n"
            "the dump could not be read from the chip and were skipped.",
            declare};
}

}  // namespace Tools
