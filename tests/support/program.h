#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace tools_test {

/** What a run of the program gave. */
struct Outcome {
    int status = -1;  // exit status; 128 plus the signal's number when a signal ended it
    std::string out;
    std::string err;
};

/** How the program is started. */
struct Surroundings {
    /** "NAME=value", in addition to a terminal type and nothing else. */
    std::vector<std::string> environment;
    /** Standard output and input are a terminal of this size; standard error too, if asked for. */
    int columns = 0;
    int rows = 0;
    bool errors_on_terminal = false;
};

/**
 * petrelradar, running in another process with a pipe or a terminal for what it prints. Killed when
 * the object is destroyed while it still runs. One thread at a time.
 */
class Program {
public:
    explicit Program(std::vector<std::string> const& arguments,
                     Surroundings const& surroundings = {});
    ~Program();
    Program(Program const&) = delete;
    Program& operator=(Program const&) = delete;

    /** Waits until standard output or standard error holds `text`; false when that takes too long.
     */
    bool prints(std::string const& text);
    bool complains(std::string const& text);

    /** What was printed on standard output so far. */
    std::string const& out() const { return outcome_.out; }
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

    /** Waits for the end of the program. */
    Outcome finish();

private:
    bool read_more(int timeout_ms);
    template <typename Condition>
    bool wait_until(Condition condition);

    pid_t pid_ = -1;
    int out_fd_ = -1;
    int err_fd_ = -1;
    Outcome outcome_;
};

/** Runs the program to its end. */
Outcome run(std::vector<std::string> const& arguments, Surroundings const& surroundings = {});

}  // namespace tools_test
