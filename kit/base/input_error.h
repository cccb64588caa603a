#pragma once

#include "kit/base/error.h"

namespace Kit {

/**
 * An error in what a user gave a program to read or to act on: a file, a stream, a register map,
 * the value of an option. Errors of outputs and of the system itself are Kit::Error alone.
 */
class InputError : public Error {
public:
    using Error::Error;
};

}  // namespace Kit
