#pragma once

#include <ios>
#include <ostream>
#include <sstream>
#include <type_traits>

#include "petrel/logger.h"

namespace Petrel {

/**
 * One log message. Collects what is inserted and passes it to logger() when it is destroyed, so
 * that a message is a temporary of one statement, which begins with a text and ends with a newline:
 *
 *     Petrel::ilog(1) << "Failed to open " << path << std::endl;
 *
 * Each object makes exactly one logger() call, also when nothing was inserted. The message is the
 * argument of "%s": a percent sign in it is never taken as a conversion. Belongs to the thread that
 * constructed it; neither copied nor moved. The process ends when memory runs out while the message
 * is passed on.
 */
class ilog : private std::ostringstream {
    template <typename Value>
    static constexpr bool kIsNumber =
        std::is_arithmetic<Value>::value || std::is_enum<Value>::value;

public:
    /** Starts an empty message of level `severity`, which logger() gets unchanged. */
    explicit ilog(int severity) : level(severity) {}

    /** Passes the message to logger(). */
    ~ilog() override { logger(level, "%s", str().c_str()); }

    ilog(ilog const&) = delete;
    ilog& operator=(ilog const&) = delete;

    /**
     * Inserts the first part of a message, usually its text. Returns the stream that the rest is
     * inserted into, so that every printer that the caller sees can be used there. The stream lives
     * as long as this object.
     */
    template <typename Value, std::enable_if_t<!kIsNumber<Value>, int> = 0>
    std::ostream& operator<<(Value const& value) {
        return stream() << value;
    }

    /**
     * The same for a number, a character or an enumerator. It is taken by value: a constant that is
     * declared in its class and defined nowhere can be inserted.
     */
    template <typename Number, std::enable_if_t<kIsNumber<Number>, int> = 0>
    std::ostream& operator<<(Number value) {
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
