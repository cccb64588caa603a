#pragma once

#include <cstdint>
#include <string>

namespace test_support {

/** The bytes of a text of hexadecimal pairs, such as "1A 00"; blanks between pairs are free. */
inline std::string bytes(std::string const& pairs) {
    std::string result;
    for (std::size_t i = 0; i + 1 < pairs.size();) {
        if (pairs[i] == ' ') {
            ++i;
            continue;
        }
        result += static_cast<char>(std::stoi(pairs.substr(i, 2), nullptr, 16));
        i += 2;
    }
    return result;
}

/** The bytes as hexadecimal pairs with a blank between them, to be compared and read. */
template <typename Bytes>
std::string hex(Bytes const& content) {
    constexpr char digits[] = "0123456789ABCDEF";
    std::string result;
    for (auto const byte : content) {
        const auto value = static_cast<uint8_t>(byte);
        if (!result.empty()) result += ' ';
        result += digits[value / 16];
        result += digits[value % 16];
    }
    return result;
}

}  // namespace test_support
