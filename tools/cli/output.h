#pragma once

#include <string>
#include <string_view>

namespace Tools {

/** Whoever read standard output has gone. */
struct OutputClosed {};

/** The person at the terminal ended the program, and whoever reads standard output does not. */
struct OutputStuck : OutputClosed {};

/**
 * Standard output: collects data and hands it over in large pieces, or when it is told to. What was
 * not flushed is lost when the object is destroyed. One thread at a time.
 *
 * write() and flush() throw OutputClosed when nobody reads any more (the program then ends quietly:
 * "petrelradar ... | head"), OutputStuck when a reader takes nothing for half a second after the
 * program was interrupted, and Kit::Error when the system refuses the data ("standard output:
 * No space left on device").
 */
class Output {
public:
    /** @param fd where data goes; not owned. */
    explicit Output(int fd);

    void write(std::string_view data);
    void flush();

    bool is_terminal() const noexcept;
    int fd() const noexcept;

    /** Throws OutputClosed when the reader has gone, without anything being written. */
    void check_reader() const;

private:
    void put(std::string_view left) const;

    int descriptor_;
    std::string collected_;
};

}  // namespace Tools
