#include "chip/keeper.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <string>

namespace {

class KeeperTest : public testing::Test {
protected:
    /** Runs a shell's script under a keeper with little patience; returns its status. */
    int keep_script(std::string const& script, pid_t parent) {
        std::array<int, 2> ends = {-1, -1};
        EXPECT_EQ(pipe(ends.data()), 0);
        const pid_t keeper = fork();
        if (keeper == 0) {
            dup2(ends[1], STDOUT_FILENO);
            if (stubborn_) std::signal(SIGTERM, SIG_IGN);
            const sigset_t signals = Chip::watched_signals();
            sigset_t original;
            sigprocmask(SIG_BLOCK, &signals, &original);
            _exit(
                Chip::keep({"sh", "-c", script}, original, parent, std::chrono::milliseconds(30)));
        }
        close(ends[1]);
        int status = 0;
        waitpid(keeper, &status, 0);
        std::array<char, 256> buffer = {};
        const ssize_t size = read(ends[0], buffer.data(), buffer.size());
        output_.assign(buffer.data(), size > 0 ? static_cast<size_t>(size) : 0);
        close(ends[0]);
        return Chip::exit_status(status);
    }

    /** Whether the process whose number the script has printed is there. */
    bool is_alive() const { return kill(std::stoi(output_), 0) == 0; }

    /** Whether the command takes no notice of SIGTERM, from its very start. */
    bool stubborn_ = false;
    /** What the script has printed. */
    std::string output_;
};

constexpr pid_t kGone = -1;

TEST_F(KeeperTest, TheStatusIsTheCommands) {
    EXPECT_EQ(keep_script("echo done; exit 3", getpid()), 3);
    EXPECT_EQ(output_, "done\n");
}

TEST_F(KeeperTest, WithoutItsParentItEndsTheCommand) {
    EXPECT_EQ(keep_script("sleep 60", kGone), 128 + SIGTERM);
}

TEST_F(KeeperTest, ACommandThatStaysIsKilled) {
    stubborn_ = true;
    EXPECT_EQ(keep_script("while :; do sleep 0.01; done", kGone), 128 + SIGKILL);
}

TEST_F(KeeperTest, DescendantsAreEnded) {
    EXPECT_EQ(keep_script("sleep 60 & echo $!; exit 3", getpid()), 3);
    EXPECT_FALSE(is_alive());
}

TEST_F(KeeperTest, DescendantsWithASessionOfTheirOwnAreEnded) {
    EXPECT_EQ(keep_script("setsid sleep 60 & echo $!; exit 3", getpid()), 3);
    EXPECT_FALSE(is_alive());
}

TEST_F(KeeperTest, DescendantsThatStayAreKilled) {
    stubborn_ = true;
    EXPECT_EQ(keep_script("sleep 60 & echo $!; exit 3", getpid()), 3);
    EXPECT_FALSE(is_alive());
}

}  // namespace
