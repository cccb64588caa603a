#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "tools/cli/verb.h"

namespace Tools {

/** Lays out a help text: examples first, then how to call it, then every argument and option, in 80
 * columns. */
class HelpFormatter : public CLI::Formatter {
public:
    explicit HelpFormatter(std::vector<Verb::Example> examples);

    std::string make_help(CLI::App const* app, std::string name,
                          CLI::AppFormatMode mode) const override;
    std::string make_option(CLI::Option const* option, bool is_positional) const override;
    std::string make_subcommand(CLI::App const* verb) const override;
    std::string make_option_opts(CLI::Option const* option) const override;

private:
    std::vector<Verb::Example> examples_;
};

}  // namespace Tools
