#include "service/notifier.h"

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstdlib>

#include "kit/base/file_descriptor.h"
#include "tests/support/captured_log.h"
#include "tests/support/private_paths.h"

namespace {

using Service::Notifier;

class NotifierTest : public test_support::PrivatePathsTest {
protected:
    void listen() {
        constexpr char kPath[] = "/tmp/notify.sock";
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::string(kPath).copy(address.sun_path, sizeof(address.sun_path) - 1);
        manager_.reset(socket(AF_UNIX, SOCK_DGRAM, 0));
        ASSERT_EQ(
            bind(manager_.get(), reinterpret_cast<sockaddr const*>(&address), sizeof(address)), 0);
        setenv("NOTIFY_SOCKET", kPath, 1);
    }

    std::string received() const {
        char message[1024];
        const ssize_t size = recv(manager_.get(), message, sizeof(message), MSG_DONTWAIT);
        return size > 0 ? std::string(message, static_cast<size_t>(size)) : "";
    }

    Kit::FileDescriptor manager_;
    Notifier notifier_;
};

TEST_F(NotifierTest, ReadinessIsToldWithAStatus) {
    listen();
    notifier_.ready("at work");
    EXPECT_EQ(received(), "READY=1\nSTATUS=at work");
}

TEST_F(NotifierTest, AStatusIsTold) {
    listen();
    notifier_.status("30 frames");
    EXPECT_EQ(received(), "STATUS=30 frames");
}

TEST_F(NotifierTest, BeingAliveIsTold) {
    listen();
    notifier_.alive();
    EXPECT_EQ(received(), "WATCHDOG=1");
}

TEST_F(NotifierTest, StoppingIsTold) {
    listen();
    notifier_.stopping("completing files");
    EXPECT_EQ(received(), "STOPPING=1\nSTATUS=completing files");
}

TEST_F(NotifierTest, WithoutAManagerNothingIsToldOrLogged) {
    unsetenv("NOTIFY_SOCKET");
    test_support::clear_log();
    notifier_.ready("at work");
    EXPECT_TRUE(test_support::captured_log().empty());
}

TEST_F(NotifierTest, AManagerThatCannotBeReachedIsLoggedOnce) {
    setenv("NOTIFY_SOCKET", "/tmp/nobody.sock", 1);
    test_support::clear_log();
    notifier_.ready("at work");
    notifier_.alive();
    EXPECT_EQ(test_support::captured_log().size(), 1U);
}

TEST_F(NotifierTest, AManagerThatDoesNotReadHoldsNothingUp) {
    listen();
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 5000; ++i) notifier_.status(std::string(500, 'x'));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
}

TEST_F(NotifierTest, TheIntervalIsHalfOfTheManagersPatience) {
    setenv("WATCHDOG_USEC", "3000000", 1);
    EXPECT_EQ(Notifier::alive_interval(), std::chrono::milliseconds(1500));
}

TEST_F(NotifierTest, WithoutAWatchdogOfTheManagersThereIsNoInterval) {
    unsetenv("WATCHDOG_USEC");
    EXPECT_EQ(Notifier::alive_interval(), std::nullopt);
}

TEST_F(NotifierTest, TheWatchdogOfAnotherProcessIsNotOurs) {
    setenv("WATCHDOG_USEC", "3000000", 1);
    setenv("WATCHDOG_PID", "1", 1);
    EXPECT_EQ(Notifier::alive_interval(), std::nullopt);
}

}  // namespace
