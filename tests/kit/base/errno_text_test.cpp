#include "kit/base/errno_text.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "kit/base/input_error.h"

namespace {

using Kit::errno_text;

TEST(ErrnoTextTest, IsTheSystemsDescription) {
    EXPECT_EQ(errno_text(ENOSPC), "No space left on device");
    EXPECT_EQ(errno_text(EACCES), "Permission denied");
}

TEST(ErrnoTextTest, AnUnknownNumberIsNamed) {
    EXPECT_EQ(errno_text(123456), "Unknown error 123456");
}

TEST(ErrnoTextTest, LeavesErrnoAsItIs) {
    errno = EIO;
    errno_text(123456);
    EXPECT_EQ(errno, EIO);
}

TEST(ErrorTest, AnInputErrorIsAnErrorAndAnErrorIsNoInputError) {
    EXPECT_THROW(throw Kit::InputError("log.csv: empty"), Kit::Error);
    try {
        throw Kit::Error("out.data: No space left on device");
    } catch (Kit::InputError const&) {
        FAIL() << "caught as an error of input";
    } catch (Kit::Error const& error) {
        EXPECT_STREQ(error.what(), "out.data: No space left on device");
    }
}

}  // namespace
