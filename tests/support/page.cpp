#include "tests/support/page.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/support/private_paths.h"

namespace test_support {

std::string code_block(std::string const& page, std::string const& kind, int number) {
    const std::string text = read_file(PETRELRADAR_SOURCE_DIR "/docs/" + page);
    const std::string opening = "```" + kind + "\n";
    size_t begin = text.find(opening);
    for (; number > 0 && begin != std::string::npos; --number) {
        begin = text.find(opening, begin + 1);
    }
    if (begin == std::string::npos) {
        ADD_FAILURE() << "docs/" << page << " has no such block of " << kind;
        return "";
    }
    begin += opening.size();
    return text.substr(begin, text.find("```\n", begin) - begin);
}

std::string bytes_of_dump(std::string const& dump, size_t width) {
    std::istringstream lines(dump);
    std::string bytes;
    for (std::string line; std::getline(lines, line);) {
        EXPECT_EQ(std::stoul(line.substr(0, 4), nullptr, 16), bytes.size()) << line;
        std::istringstream pairs(line.substr(6, width));
        for (std::string pair; pairs >> pair;) {
            bytes += static_cast<char>(std::stoul(pair, nullptr, 16));
        }
    }
    return bytes;
}

}  // namespace test_support
