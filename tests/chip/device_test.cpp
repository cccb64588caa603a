// The device as another process sees it, through FUSE and with the library as it is.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/chip_process.h"
#include "tests/support/private_paths.h"

namespace {

using chip_test::chip_with;
using chip_test::client;
using chip_test::client_text;
using chip_test::Ended;
using chip_test::Process;
using chip_test::run;

constexpr uid_t kOrdinaryUser = 65534;
const std::vector<std::string> kBecomeOrdinary = {"setpriv", "--reuid=65534", "--regid=65534",
                                                  "--clear-groups"};

/** Not even root can where its user namespace has no other users. */
bool can_become_another_user() {
    std::vector<std::string> command = kBecomeOrdinary;
    command.push_back("true");
    return run(command).status == 0;
}

class DeviceTest : public test_support::PrivatePathsTest {
protected:
    void SetUp() override {
        PrivatePathsTest::SetUp();
        if (IsSkipped()) return;
        const std::string problem = chip_test::chip_problem();
        if (!problem.empty()) GTEST_SKIP() << problem;
    }

    /** What the client prints for some steps; fails the test when it does not end well. */
    static std::string answer(std::vector<std::string> const& steps) {
        const Ended ended = run(chip_with(client(steps)));
        EXPECT_EQ(ended.status, 0) << ended.errors;
        return ended.output;
    }
};

/** What takes an ordinary user, whom the test lets use FUSE in its private "/dev". */
class OrdinaryUserTest : public DeviceTest {
protected:
    void SetUp() override {
        DeviceTest::SetUp();
        if (IsSkipped()) return;
        if (!can_become_another_user()) GTEST_SKIP() << "only root can become another user";
        const dev_t fuse = makedev(10, 229);
        std::filesystem::remove("/dev/fuse.public");
        if (mknod("/dev/fuse.public", S_IFCHR, fuse) != 0 || chmod("/dev/fuse.public", 0666) != 0) {
            GTEST_SKIP() << "no device file in the private /dev";
        }
        std::filesystem::rename("/dev/fuse.public", "/dev/fuse");
        const Ended ended = as_user({PETRELRADAR_CHIP_PROGRAM, "--version"});
        if (ended.status != 0) GTEST_SKIP() << "the build folder is not open to other users";
        const Ended trial = as_user(chip_with({"true"}));
        if (trial.status == 69) GTEST_SKIP() << trial.errors;
    }

    static Ended as_user(std::vector<std::string> const& arguments) {
        chip_test::Surroundings with;
        with.user = kOrdinaryUser;
        return run(arguments, with);
    }
};

TEST_F(DeviceTest, TheLibraryReadsTheChipsRegisters) {
    EXPECT_EQ(answer({"read:0x0000", "read:0x0004"}), "0x31445250\n0x00010000\n");
}

TEST_F(DeviceTest, TheLibraryWritesTheChipsRegisters) {
    EXPECT_EQ(answer({"write:0x0008=0x11223344", "read:0x0008"}), "0x11223344\n");
}

TEST_F(DeviceTest, FramesComeOnceTheChipIsEnabled) {
    EXPECT_EQ(answer({"read:0x0020", "write:0x0010=0x00406401", "await:0x0030=1", "write:0x002c=1",
                      "await:0x0030=2"}),
              "0x00000000\n");
}

TEST_F(DeviceTest, AChipWithAnotherCommandByteDoesNotAnswer) {
    const Ended ended = run(chip_with(client({"read:0x0000"}), {"--command-byte", "0x40"}));
    EXPECT_EQ(ended.output, "0x00000000\n");
}

TEST_F(DeviceTest, EveryRequestIsAnsweredAsTheKernelAnswersIt) {
    EXPECT_EQ(answer({"raw:no-transfers"}), "0\n");
    EXPECT_EQ(answer({"raw:longest"}), "4096\n");
    EXPECT_EQ(answer({"raw:too-long"}), std::to_string(-EMSGSIZE) + "\n");
    EXPECT_EQ(answer({"raw:foreign"}), std::to_string(-ENOTTY) + "\n");
    EXPECT_EQ(answer({"raw:speed"}), "500000\n");
}

TEST_F(DeviceTest, ABadPointerIsAFaultOfItsMessageOnly) {
    const std::string fault = std::to_string(-EFAULT) + "\n";
    EXPECT_EQ(answer({"raw:bad-tx", "raw:bad-rx", "raw:bad-argument", "read:0x0000"}),
              fault + fault + fault + "0x31445250\n");
}

TEST_F(DeviceTest, ReadingAndWritingTheFileClocksBytes) {
    const std::string script = "printf '\\040\\010\\000\\001\\002\\003\\004' >/dev/spidev0.0 && " +
                               client_text({"read:0x0008"}) +
                               "&& head -c 3 /dev/spidev0.0 | od -An -tx1";
    EXPECT_EQ(run(chip_with({"sh", "-c", script})).output, "0x04030201\n 00 00 00\n");
}

TEST_F(DeviceTest, TwoProgramsUseTheChipAtOnce) {
    const std::string script = client_text({"check:0x0000=0x31445250"}) + "& " +
                               client_text({"write:0x0008=0x12345678", "check:0x0008=0x12345678"}) +
                               "& " + "wait $! && echo both; wait";
    const Ended ended = run(chip_with({"sh", "-c", script}));
    EXPECT_EQ(ended.output, "both\n");
    EXPECT_EQ(ended.errors, "");
}

TEST_F(DeviceTest, AProgramWhoseChipIsKilledGetsACleanError) {
    Process chip(chip_with(client({"ignore-sigterm", "until-error:0x0000", "read:0x0000"})));
    ASSERT_TRUE(chip.await_output("reading\n"));
    chip.signal(SIGKILL);
    chip.await_silence();
    EXPECT_NE(chip.output().find("the device is gone\n"), std::string::npos);
    EXPECT_EQ(chip.errors(), "SPI communication failed: Transport endpoint is not connected\n");
}

TEST_F(DeviceTest, TheOtherDevicesAreTheMachines) {
    const std::string script = "test -c /dev/null && echo x >/dev/null && ! echo y >/dev/full";
    EXPECT_EQ(run(chip_with({"sh", "-c", script})).status, 0);
}

TEST_F(DeviceTest, TheMachinesDevicesAndMountsStayAsTheyAre) {
    const std::vector<std::string> devices = test_support::list_directory("/dev");
    const std::string mounts = test_support::read_file("/proc/self/mountinfo");
    Process chip(chip_with({"sh", "-c", "echo running; sleep 60"}));
    ASSERT_TRUE(chip.await_output("running"));
    EXPECT_EQ(test_support::list_directory("/dev"), devices);
    EXPECT_EQ(test_support::read_file("/proc/self/mountinfo"), mounts);
}

TEST_F(DeviceTest, AProgramOfAnotherUserMayNotOpenTheDevice) {
    if (!can_become_another_user()) GTEST_SKIP() << "only root can become another user";
    std::vector<std::string> command = kBecomeOrdinary;
    for (std::string const& argument : client({})) command.push_back(argument);
    EXPECT_EQ(run(chip_with(command)).errors,
              "Could not open SPI device /dev/spidev0.0: Permission denied\n");
}

TEST_F(DeviceTest, WithoutACommandItSaysHowItIsReached) {
    Process chip({PETRELRADAR_CHIP_PROGRAM});
    ASSERT_TRUE(chip.await_output("COMMAND\n"));
    const size_t begin = chip.output().find("nsenter");
    const size_t end = chip.output().find("COMMAND");
    const std::string line =
        chip.output().substr(begin, end - begin) + client_text({"read:0x0000"});
    EXPECT_EQ(run({"sh", "-c", line}).output, "0x31445250\n");
    chip.signal(SIGTERM);
    EXPECT_EQ(chip.wait(), 0);
}

TEST_F(OrdinaryUserTest, ReadsAndWritesTheChip) {
    const Ended ended =
        as_user(chip_with(client({"read:0x0000", "raw:bad-tx", "write:0x0008=7", "read:0x0008"})));
    EXPECT_EQ(ended.output, "0x31445250\n" + std::to_string(-EFAULT) + "\n0x00000007\n");
    EXPECT_EQ(ended.errors, "");
}

TEST_F(OrdinaryUserTest, TheCommandHasNoMoreRightsThanTheUser) {
    const Ended ended =
        as_user(chip_with({"sh", "-c", "id -u; id -g; grep CapEff /proc/self/status"}));
    EXPECT_EQ(ended.output, "65534\n65534\nCapEff:\t0000000000000000\n");
}

TEST_F(OrdinaryUserTest, WithoutRightsToFuseItSaysSo) {
    std::filesystem::permissions("/dev/fuse", std::filesystem::perms::owner_read);
    const Ended ended = as_user(chip_with({"true"}));
    EXPECT_EQ(ended.status, 69);
    EXPECT_EQ(ended.errors, "petrelradar-chip: cannot open /dev/fuse: Permission denied\n");
}

}  // namespace
