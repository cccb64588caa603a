#include "tools/input/selection.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <string_view>

#include "kit/base/text_parts.h"
#include "kit/base/usage_error.h"
#include "tools/cli/options.h"

namespace Tools {

namespace {

constexpr uint64_t kSecond = 1000000;

/** Whole numbers from here on are us; as seconds they would be later than the year 5000. */
constexpr uint64_t kFirstMicroseconds = 100000000000;

/** What follows a point, in us of a second; digits beyond are lost. */
bool parse_fraction(Kit::TextParts& parts, uint64_t& us) {
    us = 0;
    const std::string_view digits = parts.digits();
    for (size_t i = 0; i < 6; ++i) {
        us = 10 * us + (i < digits.size() ? static_cast<uint64_t>(digits[i] - '0') : 0);
    }
    return !digits.empty();
}

/** us of a unit; 0 when it is none. */
uint64_t unit_size(std::string_view unit) {
    if (unit == "us") return 1;
    if (unit == "ms") return 1000;
    if (unit.empty() || unit == "s") return kSecond;
    if (unit == "min") return 60 * kSecond;
    return unit == "h" ? 3600 * kSecond : 0;
}

/** A length of time with a unit: "1.5s". */
bool parse_length(std::string_view text, uint64_t& us) {
    Kit::TextParts parts(text);
    uint64_t whole = 0;
    uint64_t millionths = 0;
    if (!parts.whole(whole)) return false;
    if (parts.character('.') && !parse_fraction(parts, millionths)) return false;
    const uint64_t unit = unit_size(parts.rest());
    if (unit == 0 || whole > INT64_MAX / (3600 * kSecond) / 2) return false;
    us = whole * unit + millionths * unit / 1000000;
    return true;
}

/** Seconds with or without a fraction, or us, since 1970. */
bool parse_number(std::string_view text, uint64_t& us) {
    Kit::TextParts parts(text);
    uint64_t whole = 0;
    uint64_t fraction = 0;
    if (!parts.whole(whole)) return false;
    if (parts.rest().empty() && whole >= kFirstMicroseconds) {
        us = whole;
        return true;
    }
    if (whole >= kFirstMicroseconds) return false;
    if (parts.character('.') && !parse_fraction(parts, fraction)) return false;
    us = whole * kSecond + fraction;
    return parts.rest().empty();
}

bool parse_date(Kit::TextParts& parts, std::tm& date) {
    if (!parts.number(4, 1970, 9999, date.tm_year) || !parts.character('-') ||
        !parts.number(2, 1, 12, date.tm_mon) || !parts.character('-') ||
        !parts.number(2, 1, 31, date.tm_mday)) {
        return false;
    }
    date.tm_year -= 1900;
    date.tm_mon -= 1;
    return true;
}

bool parse_time_of_day(Kit::TextParts& parts, std::tm& date, uint64_t& us) {
    if (!parts.number(2, 0, 23, date.tm_hour) || !parts.character(':') ||
        !parts.number(2, 0, 59, date.tm_min)) {
        return false;
    }
    if (!parts.character(':')) return true;
    if (!parts.number(2, 0, 60, date.tm_sec)) return false;
    return !parts.character('.') || parse_fraction(parts, us);
}

/** What follows a time of day: nothing, Z or how far the zone is ahead. */
bool parse_zone(Kit::TextParts& parts, std::optional<int64_t>& seconds_ahead) {
    if (parts.rest().empty()) return true;
    seconds_ahead = 0;
    if (parts.character('Z')) return parts.rest().empty();
    const int sign = parts.character('+') ? 1 : parts.character('-') ? -1 : 0;
    int hours = 0;
    int minutes = 0;
    if (sign == 0 || !parts.number(2, 0, 23, hours)) return false;
    parts.character(':');
    if (!parts.number(2, 0, 59, minutes)) return false;
    seconds_ahead = sign * (hours * 3600 + minutes * 60);
    return parts.rest().empty();
}

/** Seconds since 1970 UTC; none when there is no such day. */
std::optional<int64_t> seconds_of(std::tm const& date, bool local) {
    std::tm copy = date;
    copy.tm_isdst = local ? -1 : 0;
    const int64_t seconds = local ? mktime(&copy) : timegm(&copy);
    if (copy.tm_mon != date.tm_mon || seconds < 0) return std::nullopt;  // 30 February
    return seconds;
}

bool parse_date_time(std::string_view text, uint64_t& us) {
    Kit::TextParts parts(text);
    std::tm date = {};
    uint64_t fraction = 0;
    std::optional<int64_t> seconds_ahead;
    if (!parse_date(parts, date)) return false;
    if (!parts.rest().empty()) {
        if (!parts.character('T') && !parts.character(' ')) return false;
        if (!parse_time_of_day(parts, date, fraction)) return false;
        if (!parse_zone(parts, seconds_ahead)) return false;
    }
    const auto seconds = seconds_of(date, !seconds_ahead);
    if (!seconds || *seconds < seconds_ahead.value_or(0)) return false;
    us = static_cast<uint64_t>(*seconds - seconds_ahead.value_or(0)) * kSecond + fraction;
    return true;
}

/** Reads "A-B", "A-", "-B" or "A". */
bool parse_range(std::string_view text, uint64_t& first, uint64_t& last) {
    Kit::TextParts parts(text);
    const bool has_first = parts.whole(first);
    if (!parts.character('-')) {
        last = first;
        return has_first && parts.rest().empty();
    }
    if (parts.rest().empty()) return has_first;
    return parts.whole(last) && parts.rest().empty() && first <= last;
}

std::optional<Moment> parse_if_given(std::string const& option, std::string const& text) {
    return text.empty() ? std::nullopt : std::optional(parse_moment(option, text));
}

}  // namespace

void add_selection_options(OptionParser& parser, SelectionOptions& options) {
    parser.add_text("--start", options.start, "TIME",
                    "Begin with the first frame at or after TIME");
    parser.add_text("--end", options.end, "TIME", "End before the first frame at or after TIME");
    parser.add_text("--frames", options.frames, "A-B", "Take frames number A to B, from 0 on");
}

Moment parse_moment(std::string const& option, std::string const& text) {
    Moment moment;
    const std::string_view view = text;
    if (!text.empty() && (text[0] == '+' || text[0] == '-')) {
        moment.origin = text[0] == '+' ? Moment::Origin::kFirstFrame : Moment::Origin::kLastFrame;
        if (parse_length(view.substr(1), moment.us)) return moment;
        throw Kit::UsageError(option + " " + text + ": no length of time such as " + text[0] +
                              "10s, with the units us, ms, s, min and h");
    }
    if (parse_number(view, moment.us) || parse_date_time(view, moment.us)) return moment;
    throw Kit::UsageError(
        option + " " + text +
        ": no time; write 2025-05-15T09:30:07Z, seconds or microseconds since 1970, "
        "+10s after the first frame or -5s before the last");
}

Selection::Selection(SelectionOptions const& options)
    : start_(parse_if_given("--start", options.start)), end_(parse_if_given("--end", options.end)) {
    if (!options.frames.empty() && !parse_range(options.frames, first_number_, last_number_)) {
        throw Kit::UsageError("--frames " + options.frames +
                              ": no range of whole numbers such as 10-20, 10- or -20");
    }
}

bool Selection::needs_last_timestamp() const {
    return ends_by_last_timestamp() || (start_ && start_->origin == Moment::Origin::kLastFrame);
}

bool Selection::ends_by_last_timestamp() const {
    return end_ && end_->origin == Moment::Origin::kLastFrame;
}

void Selection::set_last_timestamp(uint64_t timestamp) {
    last_timestamp_ = timestamp;
}

uint64_t Selection::resolve(Moment const& moment) const {
    switch (moment.origin) {
        case Moment::Origin::kFirstFrame:
            return *first_timestamp_ + std::min(moment.us, UINT64_MAX - *first_timestamp_);
        case Moment::Origin::kLastFrame:
            return last_timestamp_ - std::min(moment.us, last_timestamp_);
        case Moment::Origin::kAbsolute:
            break;
    }
    return moment.us;
}

Selection::Verdict Selection::judge(uint64_t number, uint64_t timestamp) {
    if (!first_timestamp_) first_timestamp_ = timestamp;
    if (number > last_number_) return Verdict::kOver;
    if (!started_) started_ = !start_ || timestamp >= resolve(*start_);
    if (!started_) return Verdict::kBefore;
    if (end_ && timestamp >= resolve(*end_)) return Verdict::kOver;
    return number < first_number_ ? Verdict::kBefore : Verdict::kSelected;
}

}  // namespace Tools
