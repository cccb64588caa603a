#pragma once

#include <cstdint>
#include <vector>

#include "tools/format/float_text.h"

namespace Tools {

/**
 * Writes floats as write_float() does, and remembers the last texts: radars measure in steps, so
 * that the same numbers come again and again. Where they do not, it stops looking for a while. One
 * for each column. One thread at a time.
 */
class FloatCache {
public:
    FloatCache() : entries_(kSize, {0, text_of_magnitude(0)}) {}

    /** Writes a float into kFloatTextRoom characters; returns the end of the text. */
    char* write(char* into, float value) {
        if (pause_ > 0) {
            --pause_;
            return write_float(into, value);
        }
        const uint32_t bits = write_sign(into, value);
        Entry& entry = entries_[bits * kSpread >> (32 - kSizeBits)];
        if (entry.bits != bits) {
            entry = {bits, text_of_magnitude(bits)};
            misses_ += kMissWeight;
        }
        if (misses_ > 0 && --misses_ > kMostMisses) {
            misses_ = 0;
            pause_ = kPause;
        }
        return entry.text.write(into);
    }

private:
    struct Entry {
        uint32_t bits;
        FloatText text;
    };

    static constexpr unsigned kSizeBits = 11;
    static constexpr size_t kSize = size_t{1} << kSizeBits;
    static constexpr uint32_t kSpread = 2654435769;  // 2^32 divided by the golden ratio

    // Looking does not pay when more than about half of the numbers are new.
    static constexpr int kMissWeight = 2;
    static constexpr int kMostMisses = 2 * static_cast<int>(kSize);
    static constexpr int kPause = 64 * static_cast<int>(kSize);

    std::vector<Entry> entries_;
    int misses_ = 0;  // weighted, and forgotten over time
    int pause_ = 0;   // so many numbers are not looked for
};

}  // namespace Tools
