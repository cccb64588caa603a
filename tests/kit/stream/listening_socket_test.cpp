#include "kit/stream/listening_socket.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <memory>
#include <thread>

#include "kit/base/error.h"
#include "kit/stream/unix_address.h"
#include "tests/support/captured_log.h"
#include "tests/support/private_paths.h"
#include "tests/support/system_calls.h"

namespace {

using Kit::ListeningSocket;
using testing::ElementsAre;
using testing::IsEmpty;

class ListeningSocketTest : public test_support::PrivatePathsTest {
protected:
    void SetUp() override {
        PrivatePathsTest::SetUp();
        if (IsSkipped()) return;
        mkdir("/tmp/run", 0700);
    }

    static std::string failure_at(std::string const& path) {
        try {
            const ListeningSocket socket(path);
        } catch (Kit::Error const& error) {
            return error.what();
        }
        return "none";
    }

    /** What a service that was killed leaves behind: a bound socket that nobody has open. */
    static void leave_stale_socket() {
        const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
        const Kit::UnixAddress address(kPath);
        ASSERT_EQ(bind(fd, address.get(), address.size()), 0);
        close(fd);
    }

    static std::vector<std::string> files() { return test_support::list_directory("/tmp/run"); }

    static constexpr char kPath[] = "/tmp/run/radar.sock";
};

TEST_F(ListeningSocketTest, AClientCanConnect) {
    const ListeningSocket socket(kPath);
    const int client = ::socket(AF_UNIX, SOCK_STREAM, 0);
    EXPECT_TRUE(Kit::connect_to(client, Kit::UnixAddress(kPath)));
    close(client);
}

TEST_F(ListeningSocketTest, TheDescriptorIsNonBlockingAndClosedOnExec) {
    const ListeningSocket socket(kPath);
    EXPECT_TRUE(fcntl(socket.fd(), F_GETFL) & O_NONBLOCK);
    EXPECT_TRUE(fcntl(socket.fd(), F_GETFD) & FD_CLOEXEC);
}

TEST_F(ListeningSocketTest, TheSocketAndItsLockAreRemovedAtTheEnd) {
    std::make_unique<ListeningSocket>(kPath).reset();
    EXPECT_THAT(files(), IsEmpty());
}

TEST_F(ListeningSocketTest, ASecondServiceIsRefused) {
    const ListeningSocket first(kPath);
    EXPECT_EQ(failure_at(kPath), "/tmp/run/radar.sock: already in use by a running service");
}

TEST_F(ListeningSocketTest, TheFirstServiceIsUndisturbedByTheSecond) {
    const ListeningSocket first(kPath);
    failure_at(kPath);
    EXPECT_THAT(files(), ElementsAre("radar.sock", "radar.sock.lock"));
    EXPECT_EQ(failure_at(kPath), "/tmp/run/radar.sock: already in use by a running service");
}

TEST_F(ListeningSocketTest, AServiceThatTakesNoLockIsRespected) {
    const int other = socket(AF_UNIX, SOCK_STREAM, 0);
    const Kit::UnixAddress address(kPath);
    ASSERT_EQ(bind(other, address.get(), address.size()), 0);
    ASSERT_EQ(listen(other, 1), 0);
    EXPECT_EQ(failure_at(kPath), "/tmp/run/radar.sock: already in use by a running service");
    EXPECT_THAT(files(), ElementsAre("radar.sock"));
    close(other);
}

TEST_F(ListeningSocketTest, ASocketOfAnotherTypeIsRespected) {
    const int other = socket(AF_UNIX, SOCK_DGRAM, 0);
    const Kit::UnixAddress address(kPath);
    ASSERT_EQ(bind(other, address.get(), address.size()), 0);
    EXPECT_EQ(failure_at(kPath), "/tmp/run/radar.sock: already in use by a running service");
    close(other);
}

TEST_F(ListeningSocketTest, AStaleSocketIsReplaced) {
    leave_stale_socket();
    const ListeningSocket socket(kPath);
    const int client = ::socket(AF_UNIX, SOCK_STREAM, 0);
    EXPECT_TRUE(Kit::connect_to(client, Kit::UnixAddress(kPath)));
    close(client);
}

TEST_F(ListeningSocketTest, AStaleLockFileIsNoLock) {
    test_support::write_file(std::string(kPath) + ".lock", "");
    EXPECT_EQ(failure_at(kPath), "none");
}

TEST_F(ListeningSocketTest, APathThatIsNoSocketStaysAsItIs) {
    test_support::write_file(kPath, "precious");
    EXPECT_EQ(failure_at(kPath), "/tmp/run/radar.sock: exists and is not a socket");
    EXPECT_EQ(test_support::read_file(kPath), "precious");
    EXPECT_THAT(files(), ElementsAre("radar.sock"));
}

TEST_F(ListeningSocketTest, APathOfTheGreatestLengthIsAccepted) {
    EXPECT_EQ(failure_at("/tmp/run/" + std::string(98, 'x')), "none");
}

TEST_F(ListeningSocketTest, APathThatIsTooLongIsRefused) {
    const std::string path = "/tmp/run/" + std::string(99, 'x');
    EXPECT_EQ(failure_at(path), path + ": too long for a socket path, which has at most 107 bytes");
}

TEST_F(ListeningSocketTest, AnEmptyPathIsRefused) {
    EXPECT_EQ(failure_at(""), "the socket path is empty");
}

TEST_F(ListeningSocketTest, AMissingDirectoryIsRefused) {
    EXPECT_EQ(failure_at("/tmp/none/radar.sock"),
              "/tmp/none/radar.sock: cannot create /tmp/none/radar.sock.lock: "
              "No such file or directory");
}

TEST_F(ListeningSocketTest, ADirectoryThatCannotBeWrittenIsRefused) {
    test_support::SystemCalls system_calls;
    system_calls.open = test_support::fails_with(EACCES);
    EXPECT_EQ(failure_at(kPath),
              "/tmp/run/radar.sock: cannot create /tmp/run/radar.sock.lock: Permission denied");
}

TEST_F(ListeningSocketTest, AStaleSocketThatCannotBeRemovedIsRefused) {
    leave_stale_socket();
    test_support::SystemCalls system_calls;
    system_calls.unlink = [](char const* path) {
        errno = EPERM;
        return std::string(path) == kPath ? -1 : test_support::real_unlink(path);
    };
    EXPECT_EQ(failure_at(kPath),
              "/tmp/run/radar.sock: cannot remove the socket of a dead service: "
              "Operation not permitted");
}

TEST_F(ListeningSocketTest, FilesThatCannotBeRemovedAreReplacedByTheNextService) {
    {
        test_support::SystemCalls system_calls;
        system_calls.unlink = test_support::fails_with(EPERM);
        EXPECT_EQ(failure_at(kPath), "none");
    }
    EXPECT_THAT(files(), ElementsAre("radar.sock", "radar.sock.lock"));
    EXPECT_EQ(failure_at(kPath), "none");
    EXPECT_THAT(files(), IsEmpty());
}

TEST_F(ListeningSocketTest, ASocketOfAnotherProcessAtThePathStays) {
    auto socket = std::make_unique<ListeningSocket>(kPath);
    unlink(kPath);
    leave_stale_socket();
    socket.reset();
    EXPECT_THAT(files(), ElementsAre("radar.sock"));
}

/** A socket whose file is checked. */
class ListeningSocketAgainTest : public ListeningSocketTest {
protected:
    void SetUp() override {
        ListeningSocketTest::SetUp();
        if (!IsSkipped()) listening = std::make_unique<ListeningSocket>(kPath);
    }

    static bool can_connect() {
        const Kit::FileDescriptor client(::socket(AF_UNIX, SOCK_STREAM, 0));
        return Kit::connect_to(client.get(), Kit::UnixAddress(kPath));
    }

    static std::vector<std::string> log() { return test_support::captured_texts(); }

    std::unique_ptr<ListeningSocket> listening;
};

TEST_F(ListeningSocketAgainTest, ASocketThatIsThereStays) {
    EXPECT_FALSE(listening->restore());
    EXPECT_TRUE(can_connect());
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(ListeningSocketAgainTest, ADeletedSocketIsRecreatedWithTheSameDescriptor) {
    const int before = listening->fd();
    unlink(kPath);
    EXPECT_TRUE(listening->restore());
    EXPECT_EQ(listening->fd(), before);
    EXPECT_TRUE(can_connect());
    EXPECT_THAT(log(), ElementsAre("/tmp/run/radar.sock: was deleted; listening there again\n"));
}

TEST_F(ListeningSocketAgainTest, ADeletedLockIsAcquiredAgain) {
    unlink(kPath);
    unlink("/tmp/run/radar.sock.lock");
    EXPECT_TRUE(listening->restore());
    EXPECT_EQ(failure_at(kPath), "/tmp/run/radar.sock: already in use by a running service");
}

TEST_F(ListeningSocketAgainTest, ARecreatedSocketIsRemovedAtTheEnd) {
    unlink(kPath);
    listening->restore();
    listening.reset();
    EXPECT_THAT(files(), IsEmpty());
}

TEST_F(ListeningSocketAgainTest, AFileOfAnotherProcessStaysAndIsLoggedOnce) {
    unlink(kPath);
    test_support::write_file(kPath, "theirs");
    EXPECT_FALSE(listening->restore());
    EXPECT_FALSE(listening->restore());
    EXPECT_EQ(test_support::read_file(kPath), "theirs");
    EXPECT_THAT(log(), ElementsAre("/tmp/run/radar.sock: was replaced by another process; "
                                   "clients cannot connect\n"));
}

TEST_F(ListeningSocketAgainTest, AnotherServiceThatHasTakenThePathKeepsItAndItsLock) {
    unlink(kPath);
    unlink("/tmp/run/radar.sock.lock");
    const ListeningSocket other(kPath);
    EXPECT_FALSE(listening->restore());
    listening.reset();
    EXPECT_EQ(files().size(), 2U);
    EXPECT_EQ(failure_at(kPath), "/tmp/run/radar.sock: already in use by a running service");
}

TEST_F(ListeningSocketAgainTest, ALockThatAnotherServiceHasTakenIsRespected) {
    unlink(kPath);
    unlink("/tmp/run/radar.sock.lock");
    const ListeningSocket other(kPath);
    unlink(kPath);
    EXPECT_FALSE(listening->restore());
    EXPECT_FALSE(listening->restore());
    EXPECT_THAT(files(), ElementsAre("radar.sock.lock"));
}

TEST_F(ListeningSocketAgainTest, AMissingDirectoryIsLoggedOnceAndTheSocketRecreatedWhenItReturns) {
    std::filesystem::remove_all("/tmp/run");
    EXPECT_FALSE(listening->restore());
    EXPECT_FALSE(listening->restore());
    EXPECT_EQ(log().size(), 1U);
    mkdir("/tmp/run", 0700);
    EXPECT_TRUE(listening->restore());
    EXPECT_TRUE(can_connect());
}

TEST_F(ListeningSocketTest, APathIsFreeAgainAfterItsServiceWasKilled) {
    const pid_t child = fork();
    if (child == 0) {
        const ListeningSocket socket(kPath);
        raise(SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_THAT(files(), ElementsAre("radar.sock", "radar.sock.lock"));
    EXPECT_EQ(failure_at(kPath), "none");
}

TEST_F(ListeningSocketTest, OfManyServicesThatStartAndStopAtOnceOneHasThePathAtATime) {
    std::atomic<int> holders{0};
    std::atomic<int> taken{0};
    std::atomic<bool> overlap{false};
    const auto compete = [&] {
        for (int i = 0; i < 200; ++i) {
            try {
                const ListeningSocket socket(kPath);
                if (++holders != 1) overlap = true;
                ++taken;
                --holders;
            } catch (Kit::Error const& error) {
                ASSERT_THAT(error.what(), testing::EndsWith("already in use by a running service"));
            }
        }
    };
    std::vector<std::thread> services;
    for (int i = 0; i < 4; ++i) services.emplace_back(compete);
    for (std::thread& service : services) service.join();
    EXPECT_FALSE(overlap);
    EXPECT_GE(taken, 1);
    EXPECT_THAT(files(), IsEmpty());
}

}  // namespace
