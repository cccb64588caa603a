#include <gtest/gtest.h>

#include <string>

#include "tests/support/private_paths.h"

namespace {

bool lists_tests(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::string(argv[i]) == "--gtest_list_tests") return true;
    }
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    // Before anything else: the libraries read fixed paths while they are loaded, so the program
    // starts once more when its paths are private.
    if (!lists_tests(argc, argv)) test_support::restart_with_private_paths(argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
