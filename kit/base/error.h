#pragma once

#include <stdexcept>

namespace Kit {

/**
 * An error that a program reports to its user and usually ends with. what() is one line: the object
 * (path, register, descriptor), then the fault, then the remedy where there is one, as in
 * "out.data: No space left on device". InputError is the kind that is about what is read.
 */
class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace Kit
