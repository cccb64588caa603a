#pragma once

#include <stdexcept>

namespace Tools {

/** The command line makes no sense. what() is one line that names the argument and the reason. */
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace Tools
