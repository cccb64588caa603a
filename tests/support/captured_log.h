#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace test_support {

/** One call of the log sink. */
struct LogLine {
    int level;
    std::string text;

    bool operator==(LogLine const& other) const {
        return level == other.level && text == other.text;
    }
};

std::ostream& operator<<(std::ostream& os, LogLine const& line);

/** What was logged since the program started or since clear_log(). Safe from any thread. */
std::vector<LogLine> captured_log();

/** The texts of captured_log(), whatever their levels. */
std::vector<std::string> captured_texts();

/** The formats that the sink was called with, in the same order. */
std::vector<std::string> captured_formats();

void clear_log();

}  // namespace test_support
