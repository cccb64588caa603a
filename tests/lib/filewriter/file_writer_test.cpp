#include "filewriter/file_writer.h"

#include <gmock/gmock.h>

#include "support/captured_log.h"
#include "support/private_paths.h"
#include "support/system_calls.h"

namespace {

class FileWriterTest : public test_support::PrivatePathsTest {
protected:
    test_support::SystemCalls system_calls;
};

TEST_F(FileWriterTest, AFileIsNamedAfterTheTimeAtWhichItWasBegun) {
    setenv("TZ", "UTC", 1);
    system_calls.gettimeofday = [](timeval* now) {
        *now = {1747301407, 42999};
        return 0;
    };
    Radar::FileWriter writer("/tmp", "radar", 0);
    ASSERT_TRUE(writer.open());
    EXPECT_THAT(test_support::list_directory("/tmp"), testing::Contains("radar_150525_093007_042"));
}

}  // namespace
