#include "kit/base/log_text.h"

#include <gtest/gtest.h>

namespace {

[[gnu::format(printf, 1, 2)]] std::string text_of(char const* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string text = Kit::log_text(format, arguments);
    va_end(arguments);
    return text;
}

TEST(LogTextTest, ArgumentsAreInTheText) {
    EXPECT_EQ(text_of("%s: %d of %5.1f %%", "radar", -3, 2.5), "radar: -3 of   2.5 %");
}

TEST(LogTextTest, ALongMessageIsWhole) {
    const std::string path(10000, 'x');
    EXPECT_EQ(text_of("cannot open %s: No such file", path.c_str()),
              "cannot open " + path + ": No such file");
}

TEST(LogTextTest, AnEmptyMessageIsEmpty) {
    EXPECT_EQ(text_of("%s", ""), "");
}

}  // namespace
