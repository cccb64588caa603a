#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "kit/base/file_descriptor.h"

namespace chip_test {

/** What a program is started with besides its arguments. */
struct Surroundings {
    /** The user and group that it runs as, without other groups; the test's own where not set. */
    std::optional<uid_t> user;
    /** A terminal for its three streams in the place of pipes, with the program in its foreground.
     */
    bool terminal = false;
};

/**
 * A program that a test has started, with what it prints. Killed, if it still runs, when this
 * object goes. All waiting ends after half a minute, which no test needs.
 */
class Process {
public:
    explicit Process(std::vector<std::string> const& arguments, Surroundings const& with = {});
    ~Process();
    Process(Process const&) = delete;
    Process& operator=(Process const&) = delete;

    pid_t pid() const { return pid_; }

    void signal(int number) const;

    /** Types at the terminal. */
    void type(std::string const& keys) const;

    /** Reads standard output until it holds `text`; returns whether that came. */
    bool await_output(std::string const& text);

    /** Reads on to the end of both streams, which is when nobody has them open any more. */
    void await_silence();

    /** Waits for the end: the exit status, or 128 and the number of the signal that ended it. */
    int wait();

    /** What was read so far; a terminal's streams are both output. */
    std::string const& output() const { return output_; }
    std::string const& errors() const { return errors_; }

private:
    [[noreturn]] void run(std::vector<std::string> const& arguments, Surroundings const& with,
                          int output, int errors) const;
    void start_with_pipes(std::vector<std::string> const& arguments, Surroundings const& with);
    void start_with_terminal(std::vector<std::string> const& arguments, Surroundings const& with);
    /** Takes what has been printed; returns false when nothing more will come. */
    bool read_more();

    pid_t pid_ = -1;
    std::optional<int> status_;
    Kit::FileDescriptor output_fd_;
    Kit::FileDescriptor errors_fd_;
    std::string output_;
    std::string errors_;
};

/** The end of a program that ran by itself. */
struct Ended {
    int status;
    std::string output;
    std::string errors;
};

/** Runs a program to its end. */
Ended run(std::vector<std::string> const& arguments, Surroundings const& with = {});

/** The chip's command line for a command beside it. */
std::vector<std::string> chip_with(std::vector<std::string> const& command,
                                   std::vector<std::string> const& options = {});

/** The command line of the client program for some steps, and the same for a shell. */
std::vector<std::string> client(std::vector<std::string> const& steps);
std::string client_text(std::vector<std::string> const& steps);

/** Why this machine cannot run the simulated chip; empty when it can. */
std::string chip_problem();

/** Waits until a process is gone; returns whether it went. */
bool await_end_of(pid_t pid);

}  // namespace chip_test
