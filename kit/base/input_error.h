#pragma once

#include <stdexcept>

namespace Kit {

/**
 * A problem with something that a person gave to a program: a file, a socket, an option. what() is
 * one line that names the object and the reason.
 */
class InputError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace Kit
