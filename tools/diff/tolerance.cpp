#include "tools/diff/tolerance.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <sstream>

#include "kit/base/usage_error.h"

namespace Tools {

namespace {

constexpr FrameField kFloats[] = {FrameField::kRcs, FrameField::kR, FrameField::kRdot,
                                  FrameField::kTheta, FrameField::kSnr};

[[noreturn]] void refuse(std::string const& text, std::string const& reason) {
    throw Kit::UsageError("--tolerance " + text + ": " + reason);
}

/** The whole of `text` as a number, which is not negative. */
template <typename Number>
bool read_number(std::string const& text, Number& value) {
    char const* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    return !text.empty() && result.ec == std::errc() && result.ptr == end && value >= Number{0};
}

}  // namespace

bool agree(float left, float right, Tolerance const& tolerance) {
    if (left == right) return true;
    if (std::isnan(left) || std::isnan(right)) return std::isnan(left) && std::isnan(right);
    if (std::isinf(left) || std::isinf(right)) return false;
    const double apart = std::abs(static_cast<double>(left) - static_cast<double>(right));
    const double larger =
        std::max(std::abs(static_cast<double>(left)), std::abs(static_cast<double>(right)));
    return apart <= tolerance.absolute || apart <= tolerance.relative * larger;
}

void Tolerances::add(std::string const& text) {
    if (text.empty()) refuse("''", "is not a number");
    std::istringstream parts(text);
    for (std::string part; std::getline(parts, part, ',');) add_one(part);
}

void Tolerances::add_one(std::string const& text) {
    const size_t sign = text.find('=');
    const std::string name = sign == std::string::npos ? "" : text.substr(0, sign);
    std::string value = sign == std::string::npos ? text : text.substr(sign + 1);
    if (name == "timestamp" || name == "timestamp_us") {
        if (!read_number(value, timestamp_us_)) refuse(text, "is not a whole number of us");
        return;
    }
    const bool is_relative = !value.empty() && value.back() == '%';
    if (is_relative) value.pop_back();
    double number = 0;
    if (!read_number(value, number) || std::isinf(number)) {
        refuse(text, "'" + value + "' is not a number from 0 on");
    }
    bool found = false;
    for (const FrameField field : kFloats) {
        if (!name.empty() && name != name_of(field)) continue;
        found = true;
        (is_relative ? floats_[field].relative : floats_[field].absolute) =
            is_relative ? number / 100 : number;
    }
    if (!found) {
        refuse(text, "unknown field '" + name +
                         "' (expected one of rcs, r, rdot, theta, snr, timestamp)");
    }
}

Tolerance const& Tolerances::of(FrameField field) const {
    static const Tolerance none;
    const auto found = floats_.find(field);
    return found == floats_.end() ? none : found->second;
}

}  // namespace Tools
