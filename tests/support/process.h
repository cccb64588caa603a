#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "kit/base/file_descriptor.h"

namespace test_support {

/** The result of a program that has ended. */
struct Outcome {
    int status = -1;  // exit status; 128 plus the signal's number when a signal ended it
    std::string out;
    std::string err;
};

/** How a program is started. */
struct Surroundings {
    /** "NAME=value", in addition to the environment. */
    std::vector<std::string> environment;
    /** Standard input and output are a terminal of this size, with the program in its foreground;
     * standard error too, if set. Without a size they are "/dev/null" and pipes. */
    int columns = 0;
    int rows = 0;
    bool errors_on_terminal = false;
    /** The user and group that it runs as, without other groups; by default the test's own. */
    std::optional<uid_t> user = {};
};

/** All three standard streams are a terminal of the usual size. */
inline Surroundings on_terminal() {
    return {{}, 80, 24, true, {}};
}

/**
 * A program that runs beside the test, with what it prints. Killed when the object is destroyed
 * while it still runs. One thread at a time. Every wait for output ends after kPatience.
 */
class Process {
public:
    /** @param words the program, searched in PATH, and its arguments. */
    explicit Process(std::vector<std::string> const& words, Surroundings const& surroundings = {});
    ~Process();
    Process(Process const&) = delete;
    Process& operator=(Process const&) = delete;

    /** Waits until standard output or standard error holds `text`; false when that takes too long
     * or the stream has ended. */
    bool prints(std::string const& text);
    bool complains(std::string const& text);

    /** What was read so far. */
    std::string const& out() const { return outcome_.out; }
    std::string const& err() const { return outcome_.err; }
    /** Forgets what was printed on standard output. */
    void forget_output() { outcome_.out.clear(); }

    void send_signal(int signal) const;
    /** Waits until the program has stopped itself, as on Ctrl-Z. */
    void wait_until_stopped() const;
    /** Types on the terminal. */
    void type(std::string const& keys) const;
    /** Gives the terminal another size. */
    void resize(int columns, int rows) const;
    /** Closes the reading end of standard output. */
    void stop_reading();

    /** Reads to the end of both streams, when no process has them open any more; fails the test
     * when nothing is printed for too long. */
    void read_to_end();

    /** read_to_end(), then waits for the end of the program. */
    Outcome finish();

protected:
    Process(std::vector<std::string> words, std::vector<std::string> environment,
            Surroundings const& surroundings);

private:
    bool read_more(std::chrono::milliseconds timeout);
    template <typename Condition>
    bool wait_until(Condition condition);

    pid_t pid_ = -1;
    Kit::FileDescriptor out_;
    Kit::FileDescriptor err_;
    Outcome outcome_;
};

/** petrelradar, in an environment with a terminal type, a search path and nothing else. */
class Program : public Process {
public:
    explicit Program(std::vector<std::string> const& arguments,
                     Surroundings const& surroundings = {});
};

/** Runs petrelradar to its end. */
Outcome run(std::vector<std::string> const& arguments, Surroundings const& surroundings = {});

/** Runs any program to its end. */
Outcome run_process(std::vector<std::string> const& words, Surroundings const& surroundings = {});

}  // namespace test_support
