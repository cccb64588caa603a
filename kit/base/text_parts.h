#pragma once

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string_view>
#include <system_error>

namespace Kit {

/**
 * Takes parts off the front of a text: times, ranges, names with a fixed layout. Does not own the
 * text. Every function returns false, and leaves the text as it is, when the part is not there;
 * where a number is out of range it may be taken all the same. One thread at a time.
 */
class TextParts {
public:
    explicit TextParts(std::string_view text) : rest_(text) {}

    /** What was not taken yet. */
    std::string_view rest() const { return rest_; }

    bool character(char c) {
        if (rest_.empty() || rest_.front() != c) return false;
        rest_.remove_prefix(1);
        return true;
    }

    /** A number of exactly `digits` digits that is `low` to `high`. */
    bool number(size_t digits, int low, int high, int& value) {
        const std::string_view text = rest_.substr(0, digits);
        if (text.empty() || text.size() < digits || leading_digits() < digits) return false;
        std::from_chars(text.data(), text.data() + digits, value);
        rest_.remove_prefix(digits);
        return value >= low && value <= high;
    }

    /** A number of any number of digits; false also when it does not fit. */
    bool whole(uint64_t& value) {
        const auto [end, error] = std::from_chars(rest_.data(), rest_.data() + rest_.size(), value);
        if (error != std::errc()) return false;
        rest_.remove_prefix(static_cast<size_t>(end - rest_.data()));
        return true;
    }

    /** All digits at the front; empty when there is none. */
    std::string_view digits() {
        const std::string_view taken = rest_.substr(0, leading_digits());
        rest_.remove_prefix(taken.size());
        return taken;
    }

private:
    size_t leading_digits() const {
        return std::min(rest_.find_first_not_of("0123456789"), rest_.size());
    }

    std::string_view rest_;
};

}  // namespace Kit
