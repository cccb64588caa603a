// Writes the manual pages and the shells' completion scripts into a folder, when the project is
// built.

#include <fstream>
#include <iostream>
#include <map>
#include <string>

#include "tools/command_line.h"
#include "tools/completion.h"
#include "tools/man_page.h"
#include "tools/verbs.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "Usage: make-pages FOLDER\n";
        return 2;
    }
    const std::vector<Tools::Verb> verbs = Tools::all_verbs();
    const Tools::CommandNode program = Tools::command_tree(verbs);
    std::map<std::string, std::string> files = Tools::man_pages(program, verbs);
    files[program.name] = Tools::bash_completion(program);
    files["_" + program.name] = Tools::zsh_completion(program);
    files[program.name + ".fish"] = Tools::fish_completion(program);
    for (auto const& [name, text] : files) {
        std::ofstream file(std::string(argv[1]) + "/" + name);
        file << text << std::flush;
        if (file) continue;
        std::cerr << "make-pages: " << argv[1] << "/" << name << " cannot be written\n";
        return 1;
    }
    return 0;
}
