#include "kit/recording/name.h"

#include <fmt/core.h>

#include <ctime>

#include "kit/base/text_parts.h"

namespace Kit {

namespace {

/** How a recorder's name ends, with a 0 for every digit. */
constexpr std::string_view kNameEnd = "_000000_000000_000";

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

/** Years since 2000: two digits, three from 2100 on, a minus and one or two before 2000. */
bool parse_year(TextParts& parts, int& year) {
    const size_t size = parts.rest().find('_');
    if (size == std::string_view::npos || size < 2 || size > 3) return false;
    const bool is_before = parts.character('-');
    if (!parts.number(is_before ? size - 1 : size, 0, 999, year)) return false;
    year = is_before ? 2000 - year : 2000 + year;
    return true;
}

bool parse_time(TextParts& parts, RecordingName& name) {
    return parts.character('_') && parts.number(2, 1, 31, name.day) &&
           parts.number(2, 1, 12, name.month) && parse_year(parts, name.year) &&
           parts.character('_') && parts.number(2, 0, 23, name.hour) &&
           parts.number(2, 0, 59, name.minute) && parts.number(2, 0, 60, name.second) &&
           parts.character('_') && parts.number(3, 0, 999, name.millisecond);
}

/** Whether `text` can be the end of a name that a recorder gave. */
bool can_be_surplus(std::string_view text) {
    for (size_t i = 1; i <= text.size() && i <= kNameEnd.size(); ++i) {
        const char c = text[text.size() - i];
        const bool digit = kNameEnd[kNameEnd.size() - i] == '0';
        if (digit ? !is_digit(c) && c != '-' : c != '_') return false;
    }
    return true;
}

std::tm time_in(RecordingName const& name) {
    std::tm time = {};
    time.tm_year = name.year - 1900;
    time.tm_mon = name.month - 1;
    time.tm_mday = name.day;
    time.tm_hour = name.hour;
    time.tm_min = name.minute;
    time.tm_sec = name.second;
    time.tm_isdst = -1;
    return time;
}

}  // namespace

std::optional<RecordingName> parse_recording_name(std::string_view file_name) {
    RecordingName name;
    name.complete = is_completed_name(file_name);
    if (name.complete) file_name.remove_suffix(kCompletedSuffix.size());
    for (size_t place = file_name.find('_'); place != std::string_view::npos;
         place = file_name.find('_', place + 1)) {
        TextParts parts(file_name.substr(place));
        if (!parse_time(parts, name) || !can_be_surplus(parts.rest())) continue;
        name.prefix = file_name.substr(0, place);
        name.surplus = parts.rest();
        return name;
    }
    return std::nullopt;
}

bool is_completed_name(std::string_view file_name) {
    return file_name.size() > kCompletedSuffix.size() &&
           file_name.substr(file_name.size() - kCompletedSuffix.size()) == kCompletedSuffix;
}

bool is_recording_name(std::string_view file_name, std::string_view prefix) {
    const std::optional<RecordingName> name = parse_recording_name(file_name);
    return name && name->prefix == prefix;
}

std::string text_of(RecordingName const& name) {
    const int year = name.year - 2000;
    return fmt::format("{}_{:02}{:02}{:0{}}_{:02}{:02}{:02}_{:03}{}{}", name.prefix, name.day,
                       name.month, year, year < 0 ? 0 : 2, name.hour, name.minute, name.second,
                       name.millisecond, name.surplus, name.complete ? kCompletedSuffix : "");
}

RecordingName name_of_time(std::string const& prefix, int64_t seconds, int millisecond) {
    const auto time = static_cast<std::time_t>(seconds);
    std::tm local = {};
    localtime_r(&time, &local);
    RecordingName name;
    name.prefix = prefix;
    name.year = local.tm_year + 1900;
    name.month = local.tm_mon + 1;
    name.day = local.tm_mday;
    name.hour = local.tm_hour;
    name.minute = local.tm_min;
    name.second = local.tm_sec;
    name.millisecond = millisecond;
    name.complete = true;
    return name;
}

std::string_view file_name_of(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

int64_t begin_of(RecordingName const& name) {
    std::tm local = time_in(name);
    return std::mktime(&local);
}

int64_t begin_as_utc(RecordingName const& name) {
    std::tm time = time_in(name);
    return timegm(&time);
}

}  // namespace Kit
