#include "kit/status/runtime_directory.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "kit/base/error.h"
#include "tests/support/private_paths.h"

namespace {

namespace fs = std::filesystem;

class RuntimeDirectoryTest : public test_support::PrivatePathsTest {
protected:
    void SetUp() override {
        PrivatePathsTest::SetUp();
        unsetenv("RUNTIME_DIRECTORY");
        unsetenv("XDG_RUNTIME_DIR");
    }

    static std::string refusal(std::string const& directory) {
        try {
            Kit::make_runtime_directory(directory);
        } catch (Kit::Error const& error) {
            return error.what();
        }
        return "";
    }
};

TEST_F(RuntimeDirectoryTest, TheDirectoryOfTheServiceManagerComesFirst) {
    setenv("RUNTIME_DIRECTORY", "/run/a:/run/b", 1);
    setenv("XDG_RUNTIME_DIR", "/run/user/1", 1);
    EXPECT_EQ(Kit::runtime_directory(), "/run/a");
}

TEST_F(RuntimeDirectoryTest, ASessionHasADirectoryInItsOwn) {
    setenv("XDG_RUNTIME_DIR", "/run/user/1", 1);
    EXPECT_EQ(Kit::runtime_directory(), "/run/user/1/petrelradar");
}

TEST_F(RuntimeDirectoryTest, RootHasADirectoryInRun) {
    if (geteuid() != 0) GTEST_SKIP() << "not root";
    EXPECT_EQ(Kit::runtime_directory(), "/run/petrelradar");
}

TEST_F(RuntimeDirectoryTest, EverybodyElseHasADirectoryInTmp) {
    const uid_t user = geteuid();
    if (user == 0 && seteuid(65534) != 0) GTEST_SKIP() << "cannot be anybody else";
    EXPECT_EQ(Kit::runtime_directory(), "/tmp/petrelradar-" + std::to_string(geteuid()));
    ASSERT_EQ(seteuid(user), 0);
}

TEST_F(RuntimeDirectoryTest, TheDirectoryIsMadeForItsOwnerAlone) {
    Kit::make_runtime_directory("/tmp/run");
    struct stat status = {};
    ASSERT_EQ(stat("/tmp/run", &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
}

TEST_F(RuntimeDirectoryTest, ADirectoryThatIsThereIsUsed) {
    fs::create_directory("/tmp/run");
    EXPECT_EQ(refusal("/tmp/run"), "");
}

TEST_F(RuntimeDirectoryTest, AFileInItsPlaceIsRefused) {
    test_support::write_file("/tmp/run", "");
    EXPECT_EQ(refusal("/tmp/run"), "/tmp/run: not a directory");
}

TEST_F(RuntimeDirectoryTest, ALinkInItsPlaceIsRefused) {
    fs::create_directory("/tmp/elsewhere");
    fs::create_directory_symlink("/tmp/elsewhere", "/tmp/run");
    EXPECT_EQ(refusal("/tmp/run"), "/tmp/run: not a directory");
}

TEST_F(RuntimeDirectoryTest, ADirectoryOfSomebodyElseIsRefused) {
    fs::create_directory("/tmp/run");
    if (chown("/tmp/run", 65534, 65534) != 0) GTEST_SKIP() << "cannot give a directory away";
    EXPECT_EQ(refusal("/tmp/run"), "/tmp/run: belongs to another user");
}

TEST_F(RuntimeDirectoryTest, ADirectoryThatCannotBeMadeIsRefused) {
    EXPECT_EQ(refusal("/tmp/none/run"), "/tmp/none/run: No such file or directory");
}

TEST_F(RuntimeDirectoryTest, TheSocketsAreInTheDirectory) {
    EXPECT_EQ(Kit::stream_socket_path("/run/a"), "/run/a/targets.sock");
    EXPECT_EQ(Kit::status_socket_path("/run/a"), "/run/a/status.sock");
}

}  // namespace
