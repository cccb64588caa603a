#include "tools/registers/dump_file.h"

#include <fmt/core.h>

#include <algorithm>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <string_view>

#include "kit/base/input_error.h"
#include "kit/base/text.h"
#include "kit/base/whole_number.h"
#include "tools/cli/number_text.h"
#include "tools/cli/text_line.h"

namespace Tools {

namespace {

using Json = nlohmann::json;
using OrderedJson = nlohmann::ordered_json;

constexpr uint32_t kLargest = std::numeric_limits<uint32_t>::max();

constexpr char kChanges[] = "reading changes it";
constexpr char kWriteOnly[] = "it can only be written";

OrderedJson to_json(RegisterValue const& whole) {
    OrderedJson fields = OrderedJson::object();
    for (auto const& [name, value] : whole.fields) fields[name] = value;
    return {{"address", whole.address},
            {"name", whole.name.empty() ? OrderedJson(nullptr) : OrderedJson(whole.name)},
            {"value", whole.value},
            {"fields", fields}};
}

/** "events (reading changes it; use --force to read it)" */
std::string reason_text(std::string const& labels, std::string const& reason) {
    const std::string remedy = reason == kWriteOnly ? "" : "; use --force to read it";
    return labels + " (" + reason + remedy + ")";
}

[[noreturn]] void fail(std::string const& name, std::string const& reason) {
    throw Kit::InputError(Kit::printable(name) + ": " + reason);
}

/** "NAME:LINE:COLUMN" of a byte, which is counted from 1. */
std::string place_of(std::string const& name, std::string_view text, size_t byte) {
    const std::string_view before = text.substr(0, byte == 0 ? 0 : byte - 1);
    const auto line = 1 + std::count(before.begin(), before.end(), '\n');
    const size_t column = before.size() - (before.rfind('\n') + 1) + 1;
    return fmt::format("{}:{}:{}", name, line, column);
}

std::pair<std::string, uint32_t> take_field(TextLine& line) {
    const std::string field(line.word("field"));
    const size_t sign = field.find('=');
    const auto value =
        sign == std::string::npos ? std::nullopt : Kit::whole_number(field.substr(sign + 1));
    if (sign == 0 || !value || *value > kLargest) {
        line.fail(Kit::quoted(field) + " is not a field (expected NAME=VALUE)");
    }
    return {field.substr(0, sign), static_cast<uint32_t>(*value)};
}

RegisterValue take_register(TextLine& line) {
    RegisterValue whole;
    whole.address = static_cast<int32_t>(line.number("address", 0, kLastAddress));
    whole.name = line.word("name");
    if (whole.name == "-") whole.name.clear();
    whole.value = line.number("value", 0, kLargest);
    while (!line.is_at_end()) whole.fields.push_back(take_field(line));
    return whole;
}

/** A number of a JSON document. @throws Kit::InputError without its place when it is none. */
uint32_t number_of(Json const& value, std::string const& name, uint32_t largest) {
    if (value.is_number_unsigned() && value <= largest) return value.get<uint32_t>();
    throw Kit::InputError(
        fmt::format("{} is not a number from 0 to {}", Kit::quoted(name), largest));
}

RegisterValue register_in(Json const& object) {
    RegisterValue whole;
    const Json none;
    const auto member = [&](char const* key) -> Json const& {
        const auto found = object.find(key);
        return found != object.end() ? *found : none;
    };
    whole.address = static_cast<int32_t>(number_of(member("address"), "address", kLastAddress));
    whole.value = number_of(member("value"), "value", kLargest);
    if (member("name").is_string()) whole.name = Kit::printable(member("name").get<std::string>());
    if (!member("fields").is_object()) return whole;
    for (auto const& [field, value] : member("fields").items()) {
        whole.fields.emplace_back(Kit::printable(field), number_of(value, field, kLargest));
    }
    return whole;
}

std::vector<RegisterValue> parse_json(std::string const& name, std::string const& text) {
    Json document;
    try {
        document = Json::parse(text);
    } catch (Json::parse_error const& error) {
        throw Kit::InputError(place_of(Kit::printable(name), text, error.byte) + ": no valid JSON");
    }
    const auto registers = document.find("registers");
    if (registers == document.end() || !registers->is_array()) fail(name, "no dump of registers");
    std::vector<RegisterValue> values;
    for (Json const& object : *registers) {
        try {
            values.push_back(register_in(object));
        } catch (Kit::InputError const& error) {
            fail(name, fmt::format("register {}: {}", values.size() + 1, error.what()));
        }
    }
    return values;
}

std::vector<RegisterValue> parse_text(std::string const& name, std::string const& text) {
    std::vector<RegisterValue> values;
    for_each_line(name, text, [&](TextLine& line, int) { values.push_back(take_register(line)); });
    return values;
}

}  // namespace

RegisterValue register_value(MappedRegister const& whole, uint32_t value) {
    RegisterValue read = {whole.address, whole.name, value, {}};
    for (NamedBits const& field : whole.fields) {
        read.fields.emplace_back(whole.short_name(field), field.of(value));
    }
    return read;
}

char const* reason_to_skip(MappedRegister const& whole, bool forced) {
    if (!whole.is_readable) return kWriteOnly;
    return whole.changes_by_reading && !forced ? kChanges : nullptr;
}

RegisterDump dump_chip(RegisterMap const& map, ChipAccess const& chip, bool forced) {
    RegisterDump dump;
    dump.name = "the chip";
    for (auto const& [address, whole] : map.registers()) {
        char const* const reason = reason_to_skip(whole, forced);
        if (reason != nullptr) {
            dump.skipped.push_back({address, whole.label(), reason});
        } else {
            dump.registers.push_back(register_value(whole, chip.read(whole)));
        }
    }
    return dump;
}

std::string skipped_text(std::vector<SkippedRegister> const& skipped) {
    std::map<std::string, std::string> labels;  // by reason
    for (SkippedRegister const& one : skipped) {
        std::string& those = labels[one.reason];
        those += (those.empty() ? "" : ", ") + one.label;
    }
    std::string text;
    for (auto const& [reason, those] : labels) {
        text += (text.empty() ? "skipped: " : "; ") + reason_text(those, reason);
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
            line += fmt::format(" {}={}", name, value);
        }
    }
    for (SkippedRegister const& one : dump.skipped) {
        lines[one.address] =
            "# " + address_text(one.address) + " " + one.label + " skipped: " + one.reason;
    }
    std::string text = "# Registers of a chip: address, name, value, fields.\n";
    for (auto const& [address, line] : lines) text += line + "\n";
    return text;
}

std::string dump_as_json(RegisterDump const& dump) {
    OrderedJson registers = OrderedJson::array();
    for (RegisterValue const& whole : dump.registers) registers.push_back(to_json(whole));
    OrderedJson skipped = OrderedJson::array();
    for (SkippedRegister const& one : dump.skipped) {
        skipped.push_back({{"address", one.address}, {"name", one.label}, {"reason", one.reason}});
    }
    return OrderedJson({{"registers", registers}, {"left_out", skipped}}).dump(2) + "\n";
}

RegisterDump parse_dump(std::string const& name, std::string const& text) {
    const size_t first = text.find_first_not_of(" \t\r\n");
    const bool is_json = first != std::string::npos && text[first] == '{';
    RegisterDump dump;
    dump.name = name;
    dump.registers = is_json ? parse_json(name, text) : parse_text(name, text);
    if (dump.registers.empty()) fail(name, "holds no register");

    std::set<int32_t> addresses;
    for (RegisterValue const& whole : dump.registers) {
        if (addresses.insert(whole.address).second) continue;
        fail(name, "holds " + address_text(whole.address) + " twice");
    }
    std::sort(dump.registers.begin(), dump.registers.end(),
              [](auto const& a, auto const& b) { return a.address < b.address; });
    return dump;
}

}  // namespace Tools
