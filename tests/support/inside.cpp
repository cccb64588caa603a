#include "tests/support/inside.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>

#include "tests/support/private_paths.h"
#include "tools/program.h"

namespace test_support {

namespace {

constexpr std::array<char const*, 3> kFiles = {"/tmp/.in", "/tmp/.out", "/tmp/.err"};

/** Files in the place of the standard streams, while it lives. */
class Redirection {
public:
    Redirection() {
        std::fflush(nullptr);
        for (int stream = 0; stream < 3; ++stream) {
            kept_[index(stream)] = dup(stream);
            const int flags = stream == 0 ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC | O_APPEND;
            const int file = open(kFiles[index(stream)], flags, 0600);
            dup2(file, stream);
            close(file);
        }
    }
    ~Redirection() {
        for (int stream = 0; stream < 3; ++stream) {
            dup2(kept_[index(stream)], stream);
            close(kept_[index(stream)]);
        }
    }
    Redirection(Redirection const&) = delete;
    Redirection& operator=(Redirection const&) = delete;

private:
    static size_t index(int stream) { return static_cast<size_t>(stream); }

    std::array<int, 3> kept_ = {};
};

}  // namespace

Outcome run_inside(std::vector<std::string> const& arguments, std::string const& input) {
    std::vector<char const*> words = {"petrelradar"};
    for (std::string const& argument : arguments) words.push_back(argument.c_str());
    test_support::write_file(kFiles[0], input);
    Outcome outcome;
    {
        const Redirection redirection;
        outcome.status =
            static_cast<int>(Tools::run_program(static_cast<int>(words.size()), words.data()));
    }
    outcome.out = test_support::read_file(kFiles[1]);
    outcome.err = test_support::read_file(kFiles[2]);
    return outcome;
}

}  // namespace test_support
