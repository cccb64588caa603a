#include "tests/support/shell.h"

namespace test_support {

Outcome run_in_shell(std::string const& command) {
    return run_process({"sh", "-c", "exec 2>&1; " + command});
}

Outcome print_mcap(std::string const& path) {
    if (run_in_shell("node --version").status != 0) return {77, "Node.js is missing", ""};
    return run_in_shell("node " PETRELRADAR_SOURCE_DIR
                        "/tests/tools/convert/mcap_reader/print_mcap.mjs " MCAP_READER_FOLDER " " +
                        path);
}

}  // namespace test_support
