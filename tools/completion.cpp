#include "tools/completion.h"

#include <memory>
#include <utility>

#include "tools/cli/options.h"
#include "tools/command_line.h"

namespace Tools {

namespace {

ExitStatus print_completion(CommandNode const& program, std::string const& shell,
                            Console& console) {
    if (shell == "bash") console.out.write(bash_completion(program));
    if (shell == "zsh") console.out.write(zsh_completion(program));
    if (shell == "fish") console.out.write(fish_completion(program));
    return ExitStatus::kOk;
}

Run declare(OptionParser& parser, std::function<std::vector<Verb>()> const& verbs) {
    const auto shell = std::make_shared<std::string>();
    parser.add_choice("SHELL", *shell, {"bash", "zsh", "fish"}, "The shell").require();
    return [shell, verbs](Console& console) {
        return print_completion(command_tree(verbs()), *shell, console);
    };
}

}  // namespace

Verb completion_verb(std::function<std::vector<Verb>()> verbs) {
    return {"completion",
            "Print a shell completion script",
            {{"completion bash > ~/.local/share/bash-completion/completions/petrelradar",
              "for bash, from its next start on"},
             {"completion zsh > ~/.zfunc/_petrelradar",
              "for zsh, where ~/.zfunc is in its fpath before compinit runs"},
             {"completion fish > ~/.config/fish/completions/petrelradar.fish", "for fish"}},
            "An installed program brings these files along.",
            [verbs = std::move(verbs)](OptionParser& parser) { return declare(parser, verbs); }};
}

}  // namespace Tools
