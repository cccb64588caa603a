#pragma once

#include "tools/cli/exit_status.h"

namespace Tools {

/** Parses the arguments and runs the verb that they name, or prints help, version or error. */
ExitStatus run_program(int argc, char const* const* argv);

}  // namespace Tools
