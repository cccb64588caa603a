#pragma once

#include "kit/base/error.h"

namespace Kit {

/** A command line that a program cannot follow. what() names the argument, then the fault. */
class UsageError : public Error {
public:
    using Error::Error;
};

}  // namespace Kit
