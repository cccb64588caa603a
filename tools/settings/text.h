#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Tools {

/**
 * The text of a settings file: a key file whose group "Radar" holds integers. Edited line by line,
 * so that comments, other groups, and the order and form of all other lines stay. A plain value.
 */
class SettingsText {
public:
    /**
     * Takes a file's text.
     *
     * @param name of the file, for messages.
     * @throws Kit::InputError with the name and the reason when it is no key file, or has a line
     *         outside a group.
     */
    SettingsText(std::string name, std::string_view text);

    /** The keys that have a value, in the order of the text, each once. */
    std::vector<std::string> keys() const;

    /** The values, by key, up to the first that is a problem(). */
    std::unordered_map<std::string, int> const& values() const { return table_; }

    /** The value of `key`; nothing when there is none. */
    std::optional<int32_t> value(std::string const& key) const;

    /**
     * The first value that is no 32-bit integer, in one line; empty when there is none. A service
     * reads neither that setting nor those behind it.
     */
    std::string const& problem() const { return what_is_wrong_; }

    /** One line for every key that is there more than once; the last one counts. */
    std::vector<std::string> repetitions() const;

    /** Replaces the value of `key` where it is, or adds both at the end of the group. */
    void set(std::string const& key, int32_t new_value);

    /** The text as it is now. */
    std::string text() const;

private:
    struct Line {
        std::string text;  // with its end
        bool is_group = false;
        bool is_in_radar_group = false;
        std::string key;  // empty where no setting of the group is
    };

    void take_lines(std::string_view text);
    void take_line(std::string_view text, bool is_in_radar_group);
    void take_values();
    std::string no_integer(std::string const& key) const;
    std::vector<size_t> lines_of(std::string const& key) const;
    void add(std::string const& key, std::string const& value_text);

    std::string name_;
    std::string line_end_ = "\n";
    std::vector<Line> lines_;
    std::unordered_map<std::string, int> table_;
    std::string what_is_wrong_;
};

}  // namespace Tools
