#pragma once

#include <string>

namespace Tools {

/**
 * Messages for people, on standard error: whole lines that begin with the program's name and verb.
 * A message that cannot be written is lost, since there
 * is nowhere left to say so. One thread at a time.
 */
class Messages {
public:
    /**
     * @param verb the verb that speaks; empty for the program itself.
     * @param coloured whether warnings and errors are coloured.
     */
    Messages(std::string const& verb, bool coloured);

    /** Something happened that is no problem. */
    void note(std::string const& text) const;
    /** Something is wrong, and the work goes on. */
    void warn(std::string const& text) const;
    /** Something is wrong, and the work ends. */
    void error(std::string const& text) const;

    /** Writes `text`, whole lines, as it is. From any thread. */
    static void print(std::string const& text);

    /**
     * Shows a line that stays below the messages, in place of the one before; empty removes it. For
     * a terminal that can draw. From any thread.
     */
    static void show_line(std::string const& line);

private:
    void say(std::string const& colour, std::string const& text) const;

    std::string prefix_;
    bool coloured_;
};

}  // namespace Tools
