#include "tools/settings/text.h"

#include <fmt/core.h>

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <utility>

#include "kit/base/glib_pointers.h"
#include "kit/base/input_error.h"
#include "kit/base/text.h"

namespace Tools {

namespace {

constexpr char kGroup[] = "Radar";
constexpr char kBlanks[] = " \t\f\v\r\n";

/** GLib's text for an error, in one line; frees the error. */
std::string take_message(GError* error) {
    return Kit::printable(Kit::GLibErrorPointer(error)->message);
}

/** Without blanks at either end. */
std::string_view trimmed(std::string_view text) {
    const size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

/** The name of the group that a line begins; nothing when it begins none. */
std::optional<std::string_view> group_of(std::string_view line) {
    const std::string_view inside = trimmed(line);
    if (inside.empty() || inside.front() != '[' || inside.back() != ']') return std::nullopt;
    const std::string_view group = inside.substr(1, inside.size() - 2);
    if (group.find(']') != std::string_view::npos) return std::nullopt;
    return group;
}

/** The key of a line "key=value"; empty when it is none. */
std::string_view key_of(std::string_view line) {
    const std::string_view inside = trimmed(line);
    const size_t sign = inside.find('=');
    if (inside.empty() || inside.front() == '#' || sign == std::string_view::npos) return {};
    return trimmed(inside.substr(0, sign));
}

/**
 * Where the value that begins there ends. A key file has comments on lines of their own only, but
 * an integer is read up to the first blank, so that people write them behind it.
 */
size_t end_of_value(std::string const& line, size_t begin) {
    const size_t end = std::min(line.find_first_of("\r\n", begin), line.size());
    size_t sign = line.find('#', begin);
    while (sign > begin && sign < end && line[sign - 1] != ' ' && line[sign - 1] != '\t') {
        sign = line.find('#', sign + 1);
    }
    if (sign == begin) return begin;
    return sign < end ? line.find_last_not_of(" \t", sign - 1) + 1 : end;
}

std::string line_number(size_t index) {
    return "line " + std::to_string(index + 1);
}

}  // namespace

SettingsText::SettingsText(std::string name, std::string_view text) : name_(std::move(name)) {
    if (text.find('\0') != std::string_view::npos) {
        throw Kit::InputError(Kit::printable(name_) +
                              ": holds a NUL byte, so it is not a key file");
    }
    if (text.substr(0, 3) == "\xef\xbb\xbf") {
        throw Kit::InputError(Kit::printable(name_) + ": begins with a byte-order mark");
    }
    take_lines(text);
    take_values();
}

void SettingsText::take_lines(std::string_view text) {
    bool is_in_radar_group = false;
    bool is_in_group = false;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end);
        if (const auto group = group_of(line)) {
            is_in_group = true;
            is_in_radar_group = *group == kGroup;
        } else if (!is_in_group && !key_of(line).empty()) {
            throw Kit::InputError(Kit::printable(name_) + ": " + line_number(lines_.size()) +
                                  " stands outside a group; a service would replace this file");
        }
        take_line(line, is_in_radar_group);
    }
    if (!lines_.empty() && lines_.front().text.find("\r\n") != std::string::npos)
        line_end_ = "\r\n";
}

void SettingsText::take_line(std::string_view text, bool is_in_radar_group) {
    Line line;
    line.text = text;
    line.is_group = group_of(text).has_value();
    line.is_in_radar_group = is_in_radar_group;
    if (is_in_radar_group && !line.is_group) line.key = key_of(text);
    lines_.push_back(std::move(line));
}

/** What a text means is GLib's to say. */
void SettingsText::take_values() {
    table_.clear();
    what_is_wrong_.clear();
    const Kit::KeyFilePointer file(g_key_file_new());
    const std::string whole = text();
    GError* error = nullptr;
    g_key_file_load_from_data(file.get(), whole.data(), whole.size(), G_KEY_FILE_NONE, &error);
    if (error != nullptr) throw Kit::InputError(Kit::printable(name_) + ": " + take_message(error));
    if (g_key_file_has_group(file.get(), kGroup) == FALSE) return;

    const Kit::TextListPointer keys(g_key_file_get_keys(file.get(), kGroup, nullptr, nullptr));
    for (gchar** key = keys.get(); *key != nullptr; ++key) {
        const int number = g_key_file_get_integer(file.get(), kGroup, *key, &error);
        if (error != nullptr) {
            g_error_free(error);
            what_is_wrong_ = no_integer(*key);
            return;
        }
        table_[*key] = number;
    }
}

std::string SettingsText::no_integer(std::string const& key) const {
    constexpr size_t kLongest = 40;
    const std::vector<size_t> places = lines_of(key);
    std::string where;
    std::string_view value;
    if (!places.empty()) {
        std::string_view line = lines_[places.back()].text;
        line.remove_prefix(line.find('=') + 1);
        value = trimmed(line);
        where = ": " + line_number(places.back());
    }
    return Kit::printable(name_) + where + ": " + Kit::printable(key) + " is " +
           Kit::quoted(value.substr(0, kLongest)) + (value.size() > kLongest ? "..." : "") +
           ", which is not a 32-bit integer";
}

std::vector<std::string> SettingsText::keys() const {
    std::vector<std::string> all;
    std::set<std::string> seen;
    for (Line const& line : lines_) {
        if (table_.count(line.key) == 1 && seen.insert(line.key).second) all.push_back(line.key);
    }
    return all;
}

std::optional<int32_t> SettingsText::value(std::string const& key) const {
    const auto found = table_.find(key);
    return found != table_.end() ? std::optional<int32_t>(found->second) : std::nullopt;
}

std::vector<std::string> SettingsText::repetitions() const {
    std::map<std::string, std::vector<size_t>> places;
    for (size_t i = 0; i < lines_.size(); ++i) {
        if (!lines_[i].key.empty()) places[lines_[i].key].push_back(i);
    }
    std::vector<std::string> all;
    for (auto const& [key, those] : places) {
        if (those.size() < 2) continue;
        all.push_back(fmt::format("{}: {} occurs {} times; {} counts", Kit::printable(name_),
                                  Kit::printable(key), those.size(), line_number(those.back())));
    }
    return all;
}

void SettingsText::set(std::string const& key, int32_t new_value) {
    const std::string value_text = std::to_string(new_value);
    const std::vector<size_t> places = lines_of(key);
    if (places.empty()) {
        add(key, value_text);
    } else {
        std::string& line = lines_[places.back()].text;
        const size_t sign = line.find('=') + 1;
        const size_t begin = std::min(line.find_first_not_of(" \t\f\v", sign), line.size());
        const size_t end = end_of_value(line, begin);
        const bool touches_comment = end < line.size() && line[end] == '#';
        line.replace(begin, end - begin, value_text + (touches_comment ? " " : ""));
    }
    take_values();
}

std::string SettingsText::text() const {
    std::string whole;
    for (Line const& line : lines_) whole += line.text;
    return whole;
}

/** The lines in which `key` has a value, by their index. */
std::vector<size_t> SettingsText::lines_of(std::string const& key) const {
    std::vector<size_t> places;
    for (size_t i = 0; i < lines_.size(); ++i) {
        if (lines_[i].key == key) places.push_back(i);
    }
    return places;
}

/** Adds a setting behind the last one of the group, or behind a group that is added, too. */
void SettingsText::add(std::string const& key, std::string const& value_text) {
    if (!lines_.empty() && lines_.back().text.back() != '\n') lines_.back().text += line_end_;
    const auto last = std::find_if(lines_.rbegin(), lines_.rend(), [](Line const& line) {
        return line.is_in_radar_group && (line.is_group || !line.key.empty());
    });
    Line line;
    line.text = key + "=" + value_text + line_end_;
    line.key = key;
    line.is_in_radar_group = true;
    if (last != lines_.rend()) {
        lines_.insert(last.base(), line);
        return;
    }
    if (!lines_.empty()) take_line(line_end_, false);
    take_line("[" + std::string(kGroup) + "]" + line_end_, true);
    lines_.push_back(line);
}

}  // namespace Tools
