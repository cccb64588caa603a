#pragma once

#include <ios>
#include <ostream>
#include <sstream>

#include "petrel/logger.h"

namespace Petrel {

/**
 * One log message. Collects what is inserted and hands it to logger() when it is destroyed, so that
 * a message is a temporary of one statement:
 *
 *     Petrel::ilog(1) << "Failed to open " << path << std::endl;
 *
 * Exactly one logger() call is made for each object, also when nothing was inserted. The text is
 * passed as the argument of "%s": a percent sign in a message is never taken as a conversion.
 * Belongs to the thread that made it; neither copied nor moved. The process ends when memory runs
 * out while the text is handed over.
 */
class ilog : private std::ostringstream {
public:
    /** Starts an empty message of level `severity`, which logger() gets unchanged. */
    explicit ilog(int severity) : level(severity) {}

    /** Hands the message to logger(). */
    ~ilog() override { logger(level, "%s", str().c_str()); }

    ilog(ilog const&) = delete;
    ilog& operator=(ilog const&) = delete;

    /**
     * Inserts the first part of a message. Returns the stream that the rest is inserted into, so
     * that every printer that the caller sees can be used there. The stream lives as long as this
     * object.
     */
    template <typename Value>
    std::ostream& operator<<(Value const& value) {
        return stream() << value;
    }

    /** Inserts a manipulator without arguments; messages end with std::endl. */
    std::ostream& operator<<(std::ostream& (*manipulator)(std::ostream&)) {
        return stream() << manipulator;
    }

    /** Applies a manipulator of the stream's state, such as std::hex. */
    std::ostream& operator<<(std::ios_base& (*manipulator)(std::ios_base&)) {
        return stream() << manipulator;
    }

private:
    std::ostream& stream() { return *this; }

    int level;
};

}  // namespace Petrel
