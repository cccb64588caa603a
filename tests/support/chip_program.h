#pragma once

#include <string>
#include <vector>

#include "tests/support/private_paths.h"
#include "tests/support/process.h"

namespace test_support {

/** The simulated chip's command line for a command beside it. */
std::vector<std::string> chip_with(std::vector<std::string> const& command,
                                   std::vector<std::string> const& options = {});

/** The same for a shell script. */
std::vector<std::string> chip_with_script(std::string const& script);

/** The command line of the client program for some steps, and the same for a shell. */
std::vector<std::string> client(std::vector<std::string> const& steps);
std::string client_text(std::vector<std::string> const& steps);

/** Why this machine cannot run the simulated chip; empty when it can. */
std::string chip_problem();

/** A test that runs the simulated chip as a program; skipped where the machine cannot. */
class ChipProgramTest : public PrivatePathsTest {
protected:
    void SetUp() override;
};

}  // namespace test_support
