#include "tools/man_page.h"

#include <sstream>

namespace Tools {

namespace {

/** A text in which nothing is special to the formatter. */
std::string escaped(std::string const& text) {
    std::string result;
    for (const char c : text) {
        const bool begins_line = result.empty() || result.back() == '\n';
        if (begins_line && (c == '.' || c == '\'')) result += "\\&";
        if (c == '\\') {
            result += "\\e";
        } else if (c == '-') {
            result += "\\-";
        } else if (c == '\'') {
            result += "\\(aq";
        } else if (c == '~') {
            result += "\\(ti";
        } else {
            result += c;
        }
    }
    return result;
}

std::string bold(std::string const& text) {
    return "\\fB" + escaped(text) + "\\fR";
}

std::string italic(std::string const& text) {
    return "\\fI" + escaped(text) + "\\fR";
}

/** Lines that are wrapped by hand become paragraphs that the formatter fills. */
std::string paragraphs(std::string const& text) {
    std::istringstream lines(text);
    std::string result;
    for (std::string line; std::getline(lines, line);) {
        result += line.empty() ? ".PP\n" : escaped(line) + "\n";
    }
    return result;
}

std::string entry(std::string const& term, std::string const& meaning) {
    return ".TP\n" + term + "\n" + escaped(meaning) + "\n";
}

std::string option_term(OptionText const& option) {
    std::string term;
    for (std::string const& name : option.names) term += (term.empty() ? "" : ", ") + bold(name);
    return option.value.empty() ? term : term + " " + italic(option.value);
}

std::string synopsis(std::string const& program, CommandNode const& command) {
    std::string text = bold(program + (command.path.empty() ? "" : " " + command.path)) + " [" +
                       italic("OPTIONS") + "]";
    for (OptionText const& argument : command.arguments) text += " " + italic(argument.value);
    return text + (command.verbs.empty() ? "" : " " + italic("VERB") + " ...") + "\n";
}

/** What a verb takes, under headings of the macro `heading`. */
std::string parameters(CommandNode const& command, std::string const& heading) {
    std::string text;
    if (!command.arguments.empty()) text += heading + " ARGUMENTS\n";
    for (OptionText const& argument : command.arguments) {
        text += entry(italic(argument.value), argument.description);
    }
    text += heading + " OPTIONS\n";
    for (OptionText const& option : command.options) {
        text += entry(option_term(option), option.description);
    }
    if (!command.verbs.empty()) text += heading + " VERBS\n";
    for (CommandNode const& verb : command.verbs) text += entry(bold(verb.name), verb.summary);
    return text;
}

std::string examples(std::string const& program, std::vector<Verb::Example> const& list) {
    std::string text;
    for (Verb::Example const& example : list) {
        text += entry(bold(program + " " + example.arguments), example.purpose);
    }
    return text;
}

/** A verb that another one divides into, as a section of that one's page. */
std::string section(std::string const& program, CommandNode const& command, Verb const& verb) {
    return ".SH " + escaped(program + " " + command.path) + "\n" + escaped(command.summary) +
           ".\n.PP\n" + synopsis(program, command) + parameters(command, ".SS") + ".SS DETAILS\n" +
           paragraphs(verb.details) + ".SS EXAMPLES\n" + examples(program, verb.examples);
}

std::string exit_status() {
    return ".SH EXIT STATUS\n" + entry(bold("0"), "All well.") + entry(bold("1"), "It failed.") +
           entry(bold("2"), "The command line was wrong.") +
           entry(bold("3"),
                 "It finished, but something was lost, skipped or damaged; standard error says "
                 "what and how much.");
}

std::string see_also(CommandNode const& program, std::string const& page) {
    std::string text;
    if (page != program.name) text = ".BR " + escaped(program.name) + " (1)";
    for (CommandNode const& verb : program.verbs) {
        const std::string name = program.name + "-" + verb.name;
        if (name == page) continue;
        text += (text.empty() ? "" : ",\n") + (".BR " + escaped(name) + " (1)");
    }
    return ".SH SEE ALSO\n" + text + "\n";
}

std::string page_begin(std::string const& page, std::string const& summary) {
    return ".TH " + escaped(page) +
           " 1 \"\" \"Petrel Radar " PETRELRADAR_VERSION "\" \"Petrel Radar\"\n.SH NAME\n" +
           escaped(page) + " \\- " + escaped(summary) + "\n";
}

std::string verb_page(CommandNode const& program, CommandNode const& command, Verb const& verb) {
    const std::string page = program.name + "-" + command.name;
    std::string text = page_begin(page, command.summary) + ".SH SYNOPSIS\n" +
                       synopsis(program.name, command) + ".SH EXAMPLES\n" +
                       examples(program.name, verb.examples) + ".SH DESCRIPTION\n" +
                       paragraphs(verb.details) + parameters(command, ".SH");
    for (size_t i = 0; i < command.verbs.size(); ++i) {
        text += section(program.name, command.verbs[i], verb.verbs[i]);
    }
    return text + exit_status() + see_also(program, page);
}

}  // namespace

std::map<std::string, std::string> man_pages(CommandNode const& program,
                                             std::vector<Verb> const& verbs) {
    std::map<std::string, std::string> pages;
    pages[program.name + ".1"] =
        page_begin(program.name, program.summary) + ".SH SYNOPSIS\n" +
        synopsis(program.name, program) + ".SH EXAMPLES\n" +
        examples(program.name, first_examples(verbs)) +
        ".SH DESCRIPTION\nData goes to standard output, everything else to standard error.\n" +
        parameters(program, ".SH") + exit_status() + see_also(program, program.name);
    for (size_t i = 0; i < verbs.size(); ++i) {
        pages[program.name + "-" + verbs[i].name + ".1"] =
            verb_page(program, program.verbs[i], verbs[i]);
    }
    return pages;
}

}  // namespace Tools
