#pragma once

#include <cstddef>

namespace test_support {

/**
 * Measures the memory that this program holds through `new`, from construction on. It counts
 * what is live: memory that a sanitizer keeps back, or adds to an allocation, does not show. One
 * object at a time; any thread may allocate meanwhile.
 */
class LiveBytes {
public:
    LiveBytes();

    /** The most bytes that were held at a time, above those held at construction. */
    size_t peak() const;

private:
    size_t before_;
};

}  // namespace test_support
