#include "tools/program.h"

#include <unistd.h>

#include <exception>
#include <string>
#include <utility>

#include "kit/base/input_error.h"
#include "kit/base/usage_error.h"
#include "tools/command_line.h"
#include "tools/screen/terminal.h"
#include "tools/verbs.h"

namespace Tools {

namespace {

Messages messages_of(std::string const& verb) {
    return Messages(verb, takes_colour(STDERR_FILENO));
}

ExitStatus usage_failure(std::string const& verb, std::string const& text) {
    messages_of(verb).error(text);
    Messages::print("Try 'petrelradar " + (verb.empty() ? "" : verb + " ") + "--help'.\n");
    return ExitStatus::kUsage;
}

/** Does `work`, with every way in which it can end turned into a status. */
template <typename Work>
ExitStatus finish(std::string const& verb, Work work) {
    Console console{Output(STDOUT_FILENO), messages_of(verb)};
    ExitStatus status = ExitStatus::kOk;
    try {
        status = work(console);
        console.out.flush();
        return status;
    } catch (OutputStuck const&) {
        console.messages.warn("interrupted; nobody took what was left for standard output");
        return ExitStatus::kDamaged;
    } catch (OutputClosed const&) {
        return status;  // of the work, if that was done; a reader that leaves is all well
    } catch (Kit::UsageError const& error) {
        return usage_failure(verb, error.what());
    } catch (std::exception const& error) {
        console.messages.error(error.what());
        return ExitStatus::kFailed;
    }
}

}  // namespace

ExitStatus run_program(int argc, char const* const* argv) {
    CommandLine line(all_verbs());
    const ParsedLine parsed = line.parse(argc, argv);
    switch (parsed.kind) {
        case ParsedLine::Kind::kRun:
            return finish(parsed.verb, parsed.run);
        case ParsedLine::Kind::kPrint:
            return finish("", [&](Console& console) {
                console.out.write(parsed.text);
                return ExitStatus::kOk;
            });
        case ParsedLine::Kind::kNoVerb:
            Messages::print(parsed.text);
            return ExitStatus::kUsage;
        case ParsedLine::Kind::kProblem:
            break;
    }
    return usage_failure(parsed.verb, parsed.text);
}

}  // namespace Tools
