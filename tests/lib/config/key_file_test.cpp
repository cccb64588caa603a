#include "config/key_file.h"

#include <gtest/gtest.h>

namespace {

using Radar::KeyFileError;

/** Lets `error` hold an error of a GLib call. */
void fail(KeyFileError& error, int code) {
    g_set_error_literal(error.slot(), G_KEY_FILE_ERROR, code, "a reason");
}

TEST(KeyFileErrorTest, IsEmptyAtFirst) {
    const KeyFileError error;
    EXPECT_FALSE(error);
    EXPECT_EQ(error.message(), nullptr);
    EXPECT_FALSE(error.is(0));
}

TEST(KeyFileErrorTest, HoldsTheErrorOfACall) {
    KeyFileError error;
    fail(error, 4);
    EXPECT_TRUE(error);
    EXPECT_STREQ(error.message(), "a reason");
}

TEST(KeyFileErrorTest, ComparesTheCodeAndNotTheDomain) {
    KeyFileError of_key_files;
    KeyFileError of_files;
    fail(of_key_files, 4);
    g_set_error_literal(of_files.slot(), G_FILE_ERROR, 4, "another reason");
    EXPECT_TRUE(of_key_files.is(Radar::kNoSuchFile));
    EXPECT_TRUE(of_files.is(Radar::kNoSuchFile));
    EXPECT_FALSE(of_files.is(Radar::kNoSuchKey));
}

TEST(KeyFileErrorTest, ServesTheNextCallOnceItIsCleared) {
    KeyFileError error;
    fail(error, 4);
    error.clear();
    EXPECT_FALSE(error);
    fail(error, 3);
    EXPECT_TRUE(error.is(Radar::kNoSuchKey));
}

}  // namespace
