#include "log/failure_report.h"

#include <gmock/gmock.h>

#include "lib/allocations.h"
#include "support/captured_log.h"

namespace {

using test_support::captured_log;
using test_support::LogLine;
using testing::ElementsAre;

std::string reason(int error) {
    return std::system_category().message(error);
}

class FailureReportTest : public testing::Test {
protected:
    FailureReportTest() { test_support::clear_log(); }
};

TEST_F(FailureReportTest, ASystemCallIsLoggedWithItsReason) {
    errno = ENOSPC;
    Radar::log_errno(2, "Failed to write");
    EXPECT_THAT(captured_log(),
                ElementsAre(LogLine{2, "Failed to write: " + reason(ENOSPC) + "\n"}));
}

TEST_F(FailureReportTest, ASystemCallIsLoggedWithTheObjectThatItWasAbout) {
    errno = EIO;
    Radar::log_errno(1, "Failed to open ", "/tmp/a file");
    EXPECT_THAT(captured_log(),
                ElementsAre(LogLine{1, "Failed to open /tmp/a file: " + reason(EIO) + "\n"}));
}

TEST_F(FailureReportTest, AStreamIsLoggedWithTheTextOfItsException) {
    const std::ios_base::failure failure("stream");
    Radar::log_stream_failure(1, "Failed to write", failure);
    const std::string text = "Failed to write:" + std::string(failure.what()) + "\n";
    EXPECT_THAT(captured_log(), ElementsAre(LogLine{1, text}));
}

TEST_F(FailureReportTest, AnExceptionHasTheErrorTheObjectAndTheSystemsReason) {
    const std::system_error failure = Radar::errno_exception(EMFILE, "Failed to open ", "/tmp/a");
    EXPECT_EQ(failure.code(), std::error_code(EMFILE, std::system_category()));
    EXPECT_EQ(failure.what(), "Failed to open /tmp/a: " + reason(EMFILE));
}

TEST_F(FailureReportTest, TheReasonIsTheSystemCallsAndNotAnAllocations) {
    const std::string object(100, 'x');
    test_support::Allocations allocations;
    allocations.error_left = ENOMEM;
    errno = EIO;
    Radar::log_errno(1, "Failed to open ", object);
    errno = EPERM;
    const std::system_error failure = Radar::errno_exception(errno, "Failed to open ", object);
    allocations.error_left = 0;
    EXPECT_THAT(captured_log(),
                ElementsAre(LogLine{1, "Failed to open " + object + ": " + reason(EIO) + "\n"}));
    EXPECT_EQ(failure.code().value(), EPERM);
}

}  // namespace
