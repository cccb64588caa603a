#include "tools/registers/dump_file.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>

#include "tools/cli/number_text.h"

namespace Tools {

namespace {

using Json = nlohmann::ordered_json;

constexpr char kChanges[] = "reading changes it";
constexpr char kWriteOnly[] = "it can only be written";

Json to_json(RegisterValue const& whole) {
    Json fields = Json::object();
    for (auto const& [name, value] : whole.fields) fields[name] = value;
    return {{"address", whole.address},
            {"name", whole.name.empty() ? Json(nullptr) : Json(whole.name)},
            {"value", whole.value},
            {"fields", fields}};
}

/** "events (reading changes it; --force reads it)" */
std::string reason_text(std::string const& labels, std::string const& reason) {
    const std::string remedy = reason == kWriteOnly ? "" : "; --force reads it";
    return labels + " (" + reason + remedy + ")";
}

}  // namespace

RegisterValue register_value(MappedRegister const& whole, uint32_t value) {
    RegisterValue read = {whole.address, whole.name, value, {}};
    for (NamedBits const& field : whole.fields) {
        read.fields.emplace_back(whole.short_name(field), field.of(value));
    }
    return read;
}

char const* reason_to_leave_out(MappedRegister const& whole, bool forced) {
    if (!whole.is_readable) return kWriteOnly;
    return whole.changes_by_reading && !forced ? kChanges : nullptr;
}

RegisterDump dump_chip(RegisterMap const& map, ChipAccess const& chip, bool forced) {
    RegisterDump dump;
    dump.name = "the chip";
    for (auto const& [address, whole] : map.registers()) {
        char const* const reason = reason_to_leave_out(whole, forced);
        if (reason != nullptr) {
            dump.left_out.push_back({address, whole.label(), reason});
        } else {
            dump.registers.push_back(register_value(whole, chip.read(whole)));
        }
    }
    return dump;
}

std::string left_out_text(std::vector<LeftOut> const& left_out) {
    std::map<std::string, std::string> labels;  // by reason
    for (LeftOut const& one : left_out) {
        std::string& those = labels[one.reason];
        those += (those.empty() ? "" : ", ") + one.label;
    }
    std::string text;
    for (auto const& [reason, those] : labels) {
        text += (text.empty() ? "left out: " : "; ") + reason_text(those, reason);
    }
    return text;
}

std::string dump_as_text(RegisterDump const& dump) {
    std::map<int32_t, std::string> lines;  // by address
    for (RegisterValue const& whole : dump.registers) {
        std::string& line = lines[whole.address];
        line = address_text(whole.address) + " " + (whole.name.empty() ? "-" : whole.name) + " " +
               hex_text(whole.value, 8);
        for (auto const& [name, value] : whole.fields) {
            line += " " + name + "=" + std::to_string(value);
        }
    }
    for (LeftOut const& one : dump.left_out) {
        lines[one.address] =
            "# " + address_text(one.address) + " " + one.label + " left out: " + one.reason;
    }
    std::string text = "# Registers of a chip: address, name, value, fields.\n";
    for (auto const& [address, line] : lines) text += line + "\n";
    return text;
}

std::string dump_as_json(RegisterDump const& dump) {
    Json registers = Json::array();
    for (RegisterValue const& whole : dump.registers) registers.push_back(to_json(whole));
    Json left_out = Json::array();
    for (LeftOut const& one : dump.left_out) {
        left_out.push_back({{"address", one.address}, {"name", one.label}, {"reason", one.reason}});
    }
    return Json({{"registers", registers}, {"left_out", left_out}}).dump(2) + "\n";
}

}  // namespace Tools
