// ./run and ./test in one clone, in any order and whatever happened there before. The clone is a
// small one: the scripts themselves, real CMake, Ninja and CTest, and a project of a few commands,
// whose programs are those of the build under test.

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <thread>

#include "tests/scripts/script_fixture.h"
#include "tests/support/chip_program.h"
#include "tests/support/eventually.h"

namespace {

namespace fs = std::filesystem;

using test_support::Outcome;
using test_support::Process;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr char kProject[] = R"cmake(
cmake_minimum_required(VERSION 3.18)
project(small NONE)
option(PETRELRADAR_BUILD_TESTS "" ON)
if(EXISTS ${CMAKE_SOURCE_DIR}/hold-configure)
    execute_process(COMMAND sh ${CMAKE_SOURCE_DIR}/hold.sh)
endif()
add_custom_target(held ALL COMMAND sh ${CMAKE_SOURCE_DIR}/hold.sh build)
foreach(program service/petrelradard chip/petrelradar-chip tools/petrelradar)
    get_filename_component(name ${program} NAME)
    get_filename_component(folder ${program} DIRECTORY)
    add_custom_target(${name} ALL
        COMMAND mkdir -p ${folder}
        COMMAND ln -sfn ${PROGRAMS}/${program} ${folder}/
        DEPENDS held)
endforeach()
if(PETRELRADAR_BUILD_TESTS)
    enable_testing()
    add_custom_command(OUTPUT compiled COMMAND touch compiled)
    add_custom_target(tests ALL DEPENDS compiled)
    add_test(NAME Small.IsCompiled COMMAND test -e compiled)
    add_test(NAME Small.MayBeSkipped COMMAND test ! -e ${CMAKE_SOURCE_DIR}/skip)
    set_tests_properties(Small.MayBeSkipped PROPERTIES SKIP_RETURN_CODE 1)
endif()
)cmake";

/** Stays at work where a test wants to interrupt it, and tells that it is there. */
constexpr char kHold[] = R"sh(
cd "$(dirname "$0")"
[ -z "$1" ] || [ -e "hold-$1" ] || exit 0
touch held
while [ -e held ]; do sleep 0.02; done
)sh";

/** In place of the script that asks the package manager. */
constexpr char kSetup[] = "#!/bin/sh\necho \"setup $*\" >>\"$(dirname \"$0\")/../setup.log\"\n";

class CloneTest : public scripts_test::ScriptTest {
protected:
    void SetUp() override {
        ScriptTest::SetUp();
        if (IsSkipped()) return;
        fs::create_directories(clone_ + "/scripts");
        for (char const* const file :
             {"run", "test", "CMakePresets.json", "scripts/run-tests", "scripts/build-folder.sh"}) {
            fs::copy_file(PETRELRADAR_SOURCE_DIR "/" + std::string(file), clone_ + "/" + file);
        }
        write("CMakeLists.txt",
              "set(PROGRAMS \"" PETRELRADAR_BINARY_DIR "\")\n" + std::string(kProject));
        write("hold.sh", kHold);
        write("scripts/setup", kSetup);
        fs::permissions(clone_ + "/scripts/setup", fs::perms::all);
    }

    void write(std::string const& file, std::string const& content) const {
        test_support::write_file(clone_ + "/" + file, content);
    }

    [[nodiscard]] bool exists(std::string const& file) const {
        return fs::exists(clone_ + "/" + file);
    }

    [[nodiscard]] std::vector<std::string> command(std::string const& script,
                                                   std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), clone_ + "/" + script);
        return arguments;
    }

    [[nodiscard]] Outcome run(std::vector<std::string> const& arguments = {"--seconds",
                                                                           "1"}) const {
        return test_support::run_process(command("run", arguments));
    }

    [[nodiscard]] Outcome test(std::vector<std::string> const& arguments = {}) const {
        return test_support::run_process(command("test", arguments));
    }

    void expect_run() const {
        const Outcome outcome = run();
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_THAT(outcome.out, HasSubstr("Recorded:\n"));
    }

    void expect_test() const {
        const Outcome outcome = test();
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_THAT(outcome.out, EndsWith("2 passed, 0 failed, 0 skipped\n"));
    }

    /** Signals a script in the middle of configuring or building. */
    void interrupt(std::string const& script, std::string const& work, int signal) const {
        write("hold-" + work, "");
        Process process(command(script, {}));
        await_held();
        process.send_signal(signal);
        EXPECT_EQ(process.finish().status, 128 + signal) << process.err();
        EXPECT_FALSE(any_process_is_left());
        fs::remove(clone_ + "/hold-" + work);
        fs::remove(clone_ + "/held");
    }

    void await_held() const {
        ASSERT_TRUE(test_support::eventually([this] { return exists("held"); }));
    }

    std::string clone_ = "/tmp/a clone";
};

TEST_F(CloneTest, TestsRunAfterARun) {
    expect_run();
    expect_test();
}

TEST_F(CloneTest, ARunAfterTestsLeavesThemInTheBuild) {
    expect_test();
    expect_run();
    EXPECT_THAT(test_support::read_file(clone_ + "/build/CMakeCache.txt"),
                HasSubstr("PETRELRADAR_BUILD_TESTS:BOOL=ON\n"));
    expect_test();
}

TEST_F(CloneTest, EitherRunsTwice) {
    expect_run();
    expect_run();
    expect_test();
    expect_test();
}

TEST_F(CloneTest, ARunAsksForNoPackagesOfTheTests) {
    expect_run();
    expect_test();
    EXPECT_EQ(test_support::read_file(clone_ + "/setup.log"), "setup \nsetup --tests\n");
}

TEST_F(CloneTest, AfterARunThatWasInterruptedWhileConfiguringBothWork) {
    interrupt("run", "configure", SIGTERM);
    expect_test();
    expect_run();
}

TEST_F(CloneTest, AfterARunThatWasInterruptedWhileBuildingBothWork) {
    interrupt("run", "build", SIGINT);
    expect_test();
    expect_run();
}

TEST_F(CloneTest, AfterTestsThatWereInterruptedWhileConfiguringBothWork) {
    interrupt("test", "configure", SIGINT);
    expect_run();
    expect_test();
}

TEST_F(CloneTest, AfterTestsThatWereInterruptedWhileBuildingBothWork) {
    interrupt("test", "build", SIGTERM);
    expect_run();
    expect_test();
}

TEST_F(CloneTest, AConfigurationWithoutAnEndIsMadeAgain) {
    fs::create_directory(clone_ + "/build");
    write("build/CMakeCache.txt", "CMAKE_GENERATOR:INTERNAL=Ninja\nPETRELRADAR_BUILD_TES");
    const Outcome outcome = test();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.err, StartsWith("test: build: not configured to the end, or not for "
                                        "Ninja; configuring from scratch\n"));
}

TEST_F(CloneTest, AFolderForMakeIsConfiguredForNinja) {
    ASSERT_EQ(test_support::run_process(
                  {"cmake", "-G", "Unix Makefiles", "-S", clone_, "-B", clone_ + "/build"})
                  .status,
              0);
    const Outcome outcome = run();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr("run: build: not configured to the end, or not for Ninja"));
    expect_test();
}

TEST_F(CloneTest, AMovedCloneIsConfiguredForItsNewPlace) {
    expect_test();
    fs::rename(clone_, "/tmp/elsewhere");
    clone_ = "/tmp/elsewhere";
    const Outcome outcome = run();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr("run: build: configured for /tmp/a clone; configuring"));
    expect_test();
}

TEST_F(CloneTest, ACompilerThatIsGoneIsLookedForAgain) {
    expect_test();
    write("build/CMakeCache.txt", test_support::read_file(clone_ + "/build/CMakeCache.txt") +
                                      "CMAKE_CXX_COMPILER:FILEPATH=/nowhere/g++\n");
    const Outcome outcome = test();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr("configured for /nowhere/g++, which does not exist"));
}

TEST_F(CloneTest, OneBuildsAtATime) {
    write("hold-build", "");
    Process first(command("test", {}));
    await_held();
    Process second(command("run", {"--seconds", "1"}));
    EXPECT_TRUE(second.complains("run: build: waiting for another ./run or ./test to build\n"));
    fs::remove(clone_ + "/hold-build");
    fs::remove(clone_ + "/held");
    EXPECT_EQ(first.finish().status, 0) << first.err();
    EXPECT_EQ(second.finish().status, 0) << second.err();
}

TEST_F(CloneTest, AProjectThatCannotBeConfiguredSaysWhy) {
    write("CMakeLists.txt", "message(FATAL_ERROR \"no such library\")\n");
    for (std::string const script : {"run", "test"}) {
        const Outcome outcome = test_support::run_process(command(script, {}));
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.err, HasSubstr("no such library"));
        EXPECT_THAT(outcome.err, EndsWith(script + ": build: CMake cannot configure it\n"));
    }
}

TEST_F(CloneTest, ABuildThatFailsIsTheEnd) {
    write("hold.sh", "exit 1\n");
    for (std::string const script : {"run", "test"}) {
        const Outcome outcome = test_support::run_process(command(script, {}));
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.err, EndsWith(script + ": build: the build failed\n"));
        EXPECT_THAT(outcome.out, Not(HasSubstr("Recorded")));
    }
}

TEST_F(CloneTest, ArgumentsOfTestsGoToCTest) {
    const Outcome outcome = test({"-R", "Is Compiled|IsCompiled"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, EndsWith("1 passed, 0 failed, 0 skipped\n"));
}

TEST_F(CloneTest, AFilterThatNoTestMatchesIsAnError) {
    const Outcome outcome = test({"-R", "NoSuchTest"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "test: no test matches: -R NoSuchTest\n");
}

TEST_F(CloneTest, ASkippedTestIsNamedAndFailsContinuousIntegration) {
    write("skip", "");
    Outcome outcome = test();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, ContainsRegex("SKIPPED Small.MayBeSkipped: "));
    EXPECT_THAT(outcome.out, EndsWith("1 passed, 0 failed, 1 skipped\n"));
    setenv("CI", "true", 1);
    outcome = test();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(test_support::read_file(clone_ + "/build/CMakeCache.txt"),
                HasSubstr("PETRELRADAR_WERROR:UNINITIALIZED=ON\n"));
}

TEST_F(CloneTest, WithoutAHomeBothWork) {
    unsetenv("HOME");
    unsetenv("XDG_STATE_HOME");
    expect_run();
    expect_test();
}

TEST_F(CloneTest, FromAnotherFolderAndThroughALinkBothWork) {
    fs::create_directory("/tmp/links");
    fs::create_symlink(clone_ + "/run", "/tmp/links/run");
    fs::create_symlink(clone_ + "/test", "/tmp/links/test");
    fs::current_path("/tmp/links");
    setenv("CDPATH", "/tmp", 1);
    EXPECT_EQ(test_support::run_process({"./run", "--seconds", "1"}).status, 0);
    EXPECT_EQ(test_support::run_process({"./test"}).status, 0);
    EXPECT_TRUE(exists("build/compiled"));
}

TEST_F(CloneTest, TheFolderOfAnotherUserIsNamedWithItsRemedy) {
    if (!can_become_another_user()) GTEST_SKIP() << "only root can become another user";
    test_support::Surroundings ordinary;
    ordinary.user = scripts_test::kOrdinaryUser;
    const Outcome no_folder = test_support::run_process(command("test", {}), ordinary);
    EXPECT_EQ(no_folder.status, 1);
    EXPECT_THAT(no_folder.err, StartsWith("test: /tmp/a clone: not writable for "));
    EXPECT_THAT(no_folder.err, EndsWith(" (clone the project as that user)\n"));

    expect_run();
    const Outcome ran = test_support::run_process(command("run", {}), ordinary);
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.err, StartsWith("run: /tmp/a clone/build: not writable for "));
    EXPECT_THAT(ran.err, EndsWith(" (remove the folder with 'sudo rm -r /tmp/a\\ clone/build', "
                                  "or run its programs as they are: ./run --build build)\n"));
}

TEST_F(CloneTest, AnOrdinaryUserBuildsRunsAndTests) {
    if (!can_become_another_user()) GTEST_SKIP() << "only root can become another user";
    test_support::Surroundings ordinary;
    ordinary.user = scripts_test::kOrdinaryUser;
    if (test_support::run_process({PETRELRADAR_PROGRAM, "--version"}, ordinary).status != 0) {
        GTEST_SKIP() << "the build folder is not open to other users";
    }
    for (fs::directory_entry const& entry : fs::recursive_directory_iterator(clone_)) {
        ASSERT_EQ(chown(entry.path().c_str(), *ordinary.user, *ordinary.user), 0);
    }
    ASSERT_EQ(chown(clone_.c_str(), *ordinary.user, *ordinary.user), 0);
    setenv("HOME", "/root", 1);
    unsetenv("XDG_STATE_HOME");
    const Outcome ran = test_support::run_process(command("run", {"--seconds", "1"}), ordinary);
    EXPECT_EQ(ran.status, 0) << ran.err;
    const Outcome tested = test_support::run_process(command("test", {}), ordinary);
    EXPECT_EQ(tested.status, 0) << tested.err;
    EXPECT_THAT(tested.out, EndsWith("2 passed, 0 failed, 0 skipped\n"));
}

}  // namespace
