#include "socket/radar_socket.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <climits>
#include <memory>
#include <system_error>
#include <type_traits>

#include "support/private_paths.h"
#include "support/system_calls.h"

namespace {

using Radar::RadarSocket;
using testing::ElementsAre;
using testing::IsEmpty;

int socket_option(int fd, int option) {
    int value = -1;
    socklen_t size = sizeof(value);
    getsockopt(fd, SOL_SOCKET, option, &value, &size);
    return value;
}

std::string sent(int from, std::string const& text, int to) {
    char received[16] = {};
    if (write(from, text.data(), text.size()) < 0) return "write failed";
    const ssize_t size = read(to, received, sizeof(received));
    return std::string(received, size < 0 ? 0 : static_cast<std::size_t>(size));
}

/** The failure of a construction; an empty one when nothing was thrown. */
std::system_error construction_failure() {
    try {
        const RadarSocket socket;
    } catch (std::system_error const& failure) {
        return failure;
    }
    return std::system_error(std::error_code());
}

std::string reason(int error) {
    return std::system_category().message(error);
}

class RadarSocketTest : public testing::Test {
protected:
    /** From now on every close is recorded and closes nothing. */
    void record_closes(int result = 0) {
        system_calls.close = [this, result](int fd) {
            closed.push_back(fd);
            errno = EIO;
            return result;
        };
    }

    /** Sockets are made with these numbers. */
    void make_pairs_of(int internal, int external) {
        system_calls.socketpair = [internal, external](int, int, int, int ends[2]) {
            ends[0] = internal;
            ends[1] = external;
            return 0;
        };
        system_calls.fcntl = [](int, int, long) { return 0; };
    }

    test_support::SystemCalls system_calls;
    std::vector<int> closed;
};

TEST_F(RadarSocketTest, OnlyTheInternalEndIsNonBlocking) {
    const RadarSocket socket;
    EXPECT_NE(fcntl(socket.internal(), F_GETFL) & O_NONBLOCK, 0);
    EXPECT_EQ(fcntl(socket.external(), F_GETFL) & O_NONBLOCK, 0);
}

TEST_F(RadarSocketTest, BothEndsAreLocalStreamSockets) {
    const RadarSocket socket;
    for (const int end : {socket.internal(), socket.external()}) {
        EXPECT_EQ(socket_option(end, SO_DOMAIN), AF_UNIX);
        EXPECT_EQ(socket_option(end, SO_TYPE), SOCK_STREAM);
    }
}

TEST_F(RadarSocketTest, BothEndsPassToProgramsThatAreStarted) {
    const RadarSocket socket;
    EXPECT_EQ(fcntl(socket.internal(), F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_EQ(fcntl(socket.external(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(RadarSocketTest, BytesPassInOrderInBothDirections) {
    const RadarSocket socket;
    EXPECT_EQ(sent(socket.internal(), "frame", socket.external()), "frame");
    EXPECT_EQ(sent(socket.external(), "reply", socket.internal()), "reply");
}

TEST_F(RadarSocketTest, TheFirstOfThePairIsTheInternalEnd) {
    make_pairs_of(1001, 1002);
    record_closes();
    const RadarSocket socket;
    EXPECT_EQ(socket.internal(), 1001);
    EXPECT_EQ(socket.external(), 1002);
}

TEST_F(RadarSocketTest, ThePairIsWrittenIntoTheObjectWhichHasNoDescriptorsBefore) {
    void const* place = nullptr;
    std::vector<int> before;
    system_calls.socketpair = [&](int, int, int, int ends[2]) {
        place = ends;
        before = {ends[0], ends[1]};
        ends[0] = 1001;
        ends[1] = 1002;
        return 0;
    };
    system_calls.fcntl = [](int, int, long) { return 0; };
    record_closes();
    const RadarSocket socket;
    EXPECT_EQ(place, &socket);
    EXPECT_THAT(before, ElementsAre(-1, -1));
}

TEST_F(RadarSocketTest, ThePairIsAskedForWithoutFlags) {
    std::vector<int> arguments;
    system_calls.socketpair = [&](int domain, int type, int protocol, int*) {
        arguments = {domain, type, protocol};
        errno = EIO;
        return -1;
    };
    EXPECT_THROW(RadarSocket(), std::system_error);
    EXPECT_THAT(arguments, ElementsAre(AF_UNIX, SOCK_STREAM, 0));
}

TEST_F(RadarSocketTest, TheFlagsThatTheInternalEndHasAreKept) {
    make_pairs_of(1001, 1002);
    record_closes();
    std::vector<std::vector<long>> calls;
    system_calls.fcntl = [&](int fd, int command, long flags) {
        // F_GETFL has no third argument, whatever is found in its place.
        calls.push_back({fd, command, command == F_GETFL ? 0 : flags});
        return command == F_GETFL ? O_RDWR | O_APPEND : 0;
    };
    const RadarSocket socket;
    EXPECT_THAT(calls, ElementsAre(ElementsAre(1001, F_GETFL, 0),
                                   ElementsAre(1001, F_SETFL, O_RDWR | O_APPEND | O_NONBLOCK)));
}

TEST_F(RadarSocketTest, AFailureToReadTheFlagsIsNotChecked) {
    make_pairs_of(1001, 1002);
    record_closes();
    int written = 0;
    system_calls.fcntl = [&](int, int command, long flags) {
        if (command == F_GETFL) return -1;
        written = static_cast<int>(flags);
        return 0;
    };
    EXPECT_NO_THROW(RadarSocket());
    EXPECT_EQ(written, -1) << "what the failed read answered, with O_NONBLOCK added";
}

TEST_F(RadarSocketTest, AFailureToMakeThePairIsThrown) {
    record_closes();
    system_calls.socketpair = test_support::fails_with(ENFILE);
    const std::system_error failure = construction_failure();
    EXPECT_EQ(failure.code(), std::error_code(ENFILE, std::system_category()));
    EXPECT_EQ(failure.what(), "Failed to create socket pair: " + reason(ENFILE));
    EXPECT_THAT(closed, IsEmpty());
}

TEST_F(RadarSocketTest, AFullDescriptorTableIsThrown) {
    rlimit limit = {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlimit none = {3, limit.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    const std::system_error failure = construction_failure();
    setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_EQ(failure.what(), "Failed to create socket pair: " + reason(EMFILE));
}

TEST_F(RadarSocketTest, AFailureToMakeTheEndNonBlockingIsThrown) {
    make_pairs_of(1001, 1002);
    record_closes();
    system_calls.fcntl = [](int, int command, long) {
        if (command == F_GETFL) return O_RDWR;
        errno = EPERM;
        return -1;
    };
    const std::system_error failure = construction_failure();
    EXPECT_EQ(failure.code(), std::error_code(EPERM, std::system_category()))
        << "the error of the flags, not of the closes that follow";
    EXPECT_EQ(failure.what(), "Failed to make socket non-blocking: " + reason(EPERM));
    EXPECT_THAT(closed, ElementsAre(1001, 1002));
}

TEST_F(RadarSocketTest, AFailedConstructionLeavesNoDescriptorOpen) {
    const auto before = test_support::list_directory("/proc/self/fd");
    system_calls.fcntl = test_support::fails_with(EPERM);
    EXPECT_THROW(RadarSocket(), std::system_error);
    EXPECT_EQ(test_support::list_directory("/proc/self/fd"), before);
}

TEST_F(RadarSocketTest, DestructionClosesTheExternalEndAndThenTheInternal) {
    make_pairs_of(1001, 1002);
    record_closes();
    { const RadarSocket socket; }
    EXPECT_THAT(closed, ElementsAre(1002, 1001));
}

TEST_F(RadarSocketTest, DestructionClosesDescriptorZeroAtEitherEnd) {
    make_pairs_of(0, 1002);
    record_closes();
    { const RadarSocket socket; }
    make_pairs_of(1001, 0);
    { const RadarSocket socket; }
    EXPECT_THAT(closed, ElementsAre(1002, 0, 0, 1001));
}

TEST_F(RadarSocketTest, DestructionClosesNoNegativeEnd) {
    make_pairs_of(-1, -1);
    record_closes();
    { const RadarSocket socket; }
    EXPECT_THAT(closed, IsEmpty());
}

TEST_F(RadarSocketTest, FailedClosesAreIgnored) {
    make_pairs_of(1001, 1002);
    record_closes(-1);
    { const RadarSocket socket; }
    EXPECT_THAT(closed, ElementsAre(1002, 1001));
}

TEST_F(RadarSocketTest, IsNeitherCopiedNorMovedAndHasNoVirtualOperations) {
    EXPECT_FALSE(std::is_copy_constructible<RadarSocket>::value);
    EXPECT_FALSE(std::is_move_constructible<RadarSocket>::value);
    EXPECT_FALSE(std::is_copy_assignable<RadarSocket>::value);
    EXPECT_FALSE(std::is_move_assignable<RadarSocket>::value);
    EXPECT_FALSE(std::is_polymorphic<RadarSocket>::value);
}

TEST_F(RadarSocketTest, HoldsItsTwoDescriptorsAndNothingElse) {
    EXPECT_EQ(sizeof(RadarSocket), 2 * sizeof(int));
}

}  // namespace
