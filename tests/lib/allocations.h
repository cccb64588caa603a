#pragma once

#include <vector>

namespace test_support {

/**
 * The allocations of the program and its libraries: while an object of this class lives, `new` can
 * be made to fail, and arrays are recorded. One object at a time, for one thread.
 */
class Allocations {
public:
    Allocations();
    ~Allocations();
    Allocations(Allocations const&) = delete;
    Allocations& operator=(Allocations const&) = delete;

    /** How many allocations there were so far, but for arrays. */
    int count = 0;
    /** From now on every allocation fails. */
    bool out_of_memory = false;
    /** What every allocation leaves in `errno`, as one may that succeeds; 0 when nothing. */
    int error_left = 0;
    /** How many arrays are allocated from now on before one fails; negative when none is to. */
    int arrays_until_failure = -1;
    /** The arrays that were allocated and those that were freed so far, in order. */
    std::vector<void*> allocated_arrays;
    std::vector<void*> freed_arrays;
};

}  // namespace test_support
