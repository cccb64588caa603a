#pragma once

#include <string>
#include <vector>

#include "tests/support/chip_program.h"
#include "tests/support/private_paths.h"

namespace scripts_test {

/** No user of the machine's; root's tests become this one. */
constexpr uid_t kOrdinaryUser = 12345;

/** Runs scripts whose processes can be told from all others. */
class ScriptTest : public test_support::PrivatePathsTest {
protected:
    void SetUp() override;

    /** Whether processes that a script of this test has started, or the scripts, still run. */
    static bool any_process_is_left();

    /** The names in /tmp with this beginning. */
    static std::vector<std::string> left(std::string const& beginning);

    /** Root in the machine's own user namespace, where users other than root exist. */
    static bool can_become_another_user();
};

}  // namespace scripts_test
