#include "tools/cli/source_name.h"

#include <gtest/gtest.h>

#include "kit/base/usage_error.h"

namespace {

using Tools::parse_source_name;
using Kind = Tools::SourceName::Kind;

TEST(SourceNameTest, APathIsAPath) {
    EXPECT_EQ(parse_source_name("a/b.data").kind, Kind::kPath);
    EXPECT_EQ(parse_source_name("a/b.data").path, "a/b.data");
}

TEST(SourceNameTest, ADashIsStandardInput) {
    EXPECT_EQ(parse_source_name("-").kind, Kind::kStandardInput);
    EXPECT_EQ(parse_source_name("-").text, "standard input");
}

TEST(SourceNameTest, UnixAndAPathIsALiveStream) {
    EXPECT_EQ(parse_source_name("unix:/run/a.sock").kind, Kind::kLiveStream);
    EXPECT_EQ(parse_source_name("unix:/run/a.sock").path, "/run/a.sock");
    EXPECT_EQ(parse_source_name("unix:/run/a.sock").text, "unix:/run/a.sock");
}

TEST(SourceNameTest, ALiveStreamWithoutAPathIsRefused) {
    EXPECT_THROW(parse_source_name("unix:"), Kit::UsageError);
}

TEST(SourceNameTest, NothingIsRefused) {
    EXPECT_THROW(parse_source_name(""), Kit::UsageError);
}

}  // namespace
