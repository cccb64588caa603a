#pragma once

#include <functional>
#include <string_view>
#include <utility>
#include <vector>

namespace Tools {

/**
 * Text on its way to an output, in pieces that are made in place: what a piece needs at most is
 * asked for, and what it has become is kept. Hands the text over when it has grown large, and when
 * it is told to. One thread at a time. Throws what the output throws.
 */
class TextBuffer {
public:
    using Write = std::function<void(std::string_view)>;

    /** @param write takes the text. */
    explicit TextBuffer(Write write) : write_(std::move(write)), bytes_(kSize) {}

    /** Room for `size` characters, at most kLargestPiece. */
    char* room(size_t size) {
        if (bytes_.size() - used_ < size) hand_over();
        return bytes_.data() + used_;
    }

    /** Keeps what was written into the room that was asked for last, up to `end`. */
    void keep(char const* end) { used_ = static_cast<size_t>(end - bytes_.data()); }

    /** Adds a text of any length. */
    void add(std::string_view text);

    /** Gives the output what there is. Does not flush it. */
    void hand_over();

    static constexpr size_t kLargestPiece = 4096;

private:
    static constexpr size_t kSize = 32768;

    Write write_;
    std::vector<char> bytes_;
    size_t used_ = 0;
};

}  // namespace Tools
