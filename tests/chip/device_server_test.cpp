// The device as another process sees it, through FUSE and with the library as it is.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/chip_program.h"
#include "tests/support/private_paths.h"

namespace {

using test_support::chip_with;
using test_support::client;
using test_support::client_text;
using test_support::Outcome;
using test_support::Process;
using test_support::run_process;

constexpr uid_t kOrdinaryUser = 65534;
const std::vector<std::string> kBecomeOrdinary = {"setpriv", "--reuid=65534", "--regid=65534",
                                                  "--clear-groups"};

/** Not even root can where its user namespace has no other users. */
bool can_become_another_user() {
    std::vector<std::string> command = kBecomeOrdinary;
    command.push_back("true");
    return run_process(command).status == 0;
}

class DeviceTest : public test_support::ChipProgramTest {
protected:
    /** What the client prints for some steps; fails the test when it does not end well. */
    static std::string answer(std::vector<std::string> const& steps) {
        const Outcome outcome = run_process(chip_with(client(steps)));
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return outcome.out;
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
        const Outcome outcome = as_user({PETRELRADAR_CHIP_PROGRAM, "--version"});
        if (outcome.status != 0) GTEST_SKIP() << "the build folder is not open to other users";
        const Outcome trial = as_user(chip_with({"true"}));
        if (trial.status == 69) GTEST_SKIP() << trial.err;
    }

    static Outcome as_user(std::vector<std::string> const& arguments) {
        test_support::Surroundings with;
        with.user = kOrdinaryUser;
        return run_process(arguments, with);
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
    const Outcome outcome =
        run_process(chip_with(client({"read:0x0000"}), {"--command-byte", "0x40"}));
    EXPECT_EQ(outcome.out, "0x00000000\n");
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
    EXPECT_EQ(run_process(chip_with({"sh", "-c", script})).out, "0x04030201\n 00 00 00\n");
}

TEST_F(DeviceTest, TwoProgramsUseTheChipAtOnce) {
    const std::string script = client_text({"check:0x0000=0x31445250"}) + "& " +
                               client_text({"write:0x0008=0x12345678", "check:0x0008=0x12345678"}) +
                               "& " + "wait $! && echo both; wait";
    const Outcome outcome = run_process(chip_with({"sh", "-c", script}));
    EXPECT_EQ(outcome.out, "both\n");
    EXPECT_EQ(outcome.err, "");
}

TEST_F(DeviceTest, AProgramWhoseChipIsKilledGetsACleanError) {
    Process chip(chip_with(client({"ignore-sigterm", "until-error:0x0000", "read:0x0000"})));
    ASSERT_TRUE(chip.prints("reading\n"));
    chip.send_signal(SIGKILL);
    chip.read_to_end();
    EXPECT_NE(chip.out().find("the device is gone\n"), std::string::npos);
    EXPECT_EQ(chip.err(), "SPI communication failed: Transport endpoint is not connected\n");
}

TEST_F(DeviceTest, TheOtherDevicesAreTheMachines) {
    const std::string script = "test -c /dev/null && echo x >/dev/null && ! echo y >/dev/full";
    EXPECT_EQ(run_process(chip_with({"sh", "-c", script})).status, 0);
}

TEST_F(DeviceTest, TheMachinesDevicesAndMountsStayAsTheyAre) {
    const std::vector<std::string> devices = test_support::list_directory("/dev");
    const std::string mounts = test_support::read_file("/proc/self/mountinfo");
    Process chip(chip_with({"sh", "-c", "echo running; sleep 60"}));
    ASSERT_TRUE(chip.prints("running"));
    EXPECT_EQ(test_support::list_directory("/dev"), devices);
    EXPECT_EQ(test_support::read_file("/proc/self/mountinfo"), mounts);
}

TEST_F(DeviceTest, AProgramOfAnotherUserMayNotOpenTheDevice) {
    if (!can_become_another_user()) GTEST_SKIP() << "only root can become another user";
    std::vector<std::string> command = kBecomeOrdinary;
    for (std::string const& argument : client({})) command.push_back(argument);
    EXPECT_EQ(run_process(chip_with(command)).err,
              "Could not open SPI device /dev/spidev0.0: Permission denied\n");
}

TEST_F(DeviceTest, WithoutACommandItSaysHowItIsReached) {
    Process chip({PETRELRADAR_CHIP_PROGRAM});
    ASSERT_TRUE(chip.prints("COMMAND\n"));
    const size_t begin = chip.out().find("nsenter");
    const size_t end = chip.out().find("COMMAND");
    const std::string line = chip.out().substr(begin, end - begin) + client_text({"read:0x0000"});
    EXPECT_EQ(run_process({"sh", "-c", line}).out, "0x31445250\n");
    chip.send_signal(SIGTERM);
    EXPECT_EQ(chip.finish().status, 0);
}

TEST_F(OrdinaryUserTest, ReadsAndWritesTheChip) {
    const Outcome outcome =
        as_user(chip_with(client({"read:0x0000", "raw:bad-tx", "write:0x0008=7", "read:0x0008"})));
    EXPECT_EQ(outcome.out, "0x31445250\n" + std::to_string(-EFAULT) + "\n0x00000007\n");
    EXPECT_EQ(outcome.err, "");
}

TEST_F(OrdinaryUserTest, TheCommandHasNoMoreRightsThanTheUser) {
    const Outcome outcome =
        as_user(chip_with({"sh", "-c", "id -u; id -g; grep CapEff /proc/self/status"}));
    EXPECT_EQ(outcome.out, "65534\n65534\nCapEff:\t0000000000000000\n");
}

TEST_F(OrdinaryUserTest, WithoutRightsToFuseItSaysSo) {
    std::filesystem::permissions("/dev/fuse", std::filesystem::perms::owner_read);
    const Outcome outcome = as_user(chip_with({"true"}));
    EXPECT_EQ(outcome.status, 69);
    EXPECT_EQ(outcome.err, "petrelradar-chip: cannot open /dev/fuse: Permission denied\n");
}

}  // namespace
