#include <algorithm>
#include <array>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "kit/base/text.h"
#include "kit/settings/table.h"
#include "tools/cli/options.h"
#include "tools/settings/file_option.h"
#include "tools/settings/settings.h"

namespace Tools {

namespace {

struct Options {
    std::string file;
    std::string format = "text";
};

/** One setting as it is listed. */
struct Row {
    std::string name;
    std::optional<int32_t> value;
    Kit::Setting const* key;  // null for one that nobody understands
};

/** Those that are understood, then those of the file that are not. */
std::vector<Row> make_rows(SettingsText const& settings) {
    std::vector<Row> rows;
    for (Kit::Setting const& key : Kit::all_settings()) {
        rows.push_back({key.name, settings.value(key.name), &key});
    }
    for (std::string const& name : settings.keys()) {
        if (Kit::find_setting(name) == nullptr)
            rows.push_back({name, settings.value(name), nullptr});
    }
    return rows;
}

constexpr size_t kColumns = 6;
using Cells = std::array<std::string, kColumns>;

Cells cells_of(Row const& row) {
    const std::string value = row.value ? std::to_string(*row.value) : "-";
    if (row.key == nullptr)
        return {Kit::printable(row.name), value, "-", "-", "-", "not understood"};
    const std::string unit = row.key->unit;
    return {row.name,
            value,
            std::to_string(row.key->default_value),
            unit.empty() ? "-" : unit,
            row.key->reader,
            row.key->meaning};
}

std::string as_text(std::vector<Row> const& rows) {
    std::vector<Cells> table = {{"SETTING", "VALUE", "DEFAULT", "UNIT", "OF", "MEANING"}};
    for (Row const& row : rows) table.push_back(cells_of(row));
    std::array<size_t, kColumns> widths = {};
    for (Cells const& cells : table) {
        for (size_t i = 0; i < kColumns; ++i) {
            widths[i] = std::max(widths[i], cells[i].size());
        }
    }
    std::string text;
    for (Cells const& cells : table) {
        for (size_t i = 0; i < kColumns; ++i) {
            text += cells[i];
            if (i + 1 < kColumns) text.append(widths[i] - cells[i].size() + 2, ' ');
        }
        text += "\n";
    }
    return text;
}

std::string as_json(std::vector<Row> const& rows, std::string const& file) {
    using Json = nlohmann::ordered_json;
    Json array = Json::array();
    for (auto const& [name, value, key] : rows) {
        Json object = {{"name", name}, {"value", value ? Json(*value) : Json(nullptr)}};
        object["understood"] = key != nullptr;
        if (key != nullptr) {
            const std::string unit = key->unit;
            object["default"] = key->default_value;
            object["unit"] = unit.empty() ? Json(nullptr) : Json(unit);
            object["of"] = key->reader;
            object["meaning"] = key->meaning;
        }
        array.push_back(object);
    }
    const Json document = {{"file", file}, {"settings", array}};
    return document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

ExitStatus run(Options const& options, Console& console) {
    const std::vector<Row> rows = make_rows(load_settings(options.file, console.messages));
    const std::string file = options.file.empty() ? kDefaultSettingsFile : options.file;
    console.out.write(options.format == "json" ? as_json(rows, file) : as_text(rows));
    return ExitStatus::kOk;
}

Run declare(OptionParser& parser) {
    const auto options = std::make_shared<Options>();
    parser.add_choice("--format", options->format, {"text", "json"}, "Print the list as");
    add_settings_file(parser, options->file);
    return [options](Console& console) { return run(*options, console); };
}

}  // namespace

Verb settings_list_verb() {
    return {"list",
            "List every setting, with its meaning, unit and default",
            {{"settings list", "the settings of the service on this machine"},
             {"settings list --file my.conf --format json", "those of a file, for programs"}},
            "A setting without a value is not in the file, and has its default. Those that no\n"
            "recorder and no host understands are listed, too.",
            declare};
}

}  // namespace Tools
