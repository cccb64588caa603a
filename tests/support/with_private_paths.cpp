// with_private_paths COMMAND [ARGUMENTS]: runs a command with fixed paths of its own, for tests
// that are scripts. Exit status 77, which counts as skipped, where the machine grants no namespace.

#include <unistd.h>

#include <cstdio>

#include "tests/support/private_paths.h"

int main(int argc, char** argv) {
    constexpr int kSkipped = 77;
    if (argc < 2) return kSkipped;
    test_support::restart_with_private_paths(argv);
    const std::string problem = test_support::private_paths_problem();
    if (!problem.empty()) {
        std::fprintf(stderr, "Skipped\n%s\n", problem.c_str());
        return kSkipped;
    }
    execvp(argv[1], argv + 1);
    std::perror(argv[1]);
    return 1;
}
