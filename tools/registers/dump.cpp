#include <memory>
#include <string>

#include "tools/cli/options.h"
#include "tools/registers/chip_access.h"
#include "tools/registers/dump_file.h"
#include "tools/registers/regs.h"

namespace Tools {

namespace {

struct Options {
    ChipOptions chip;
    std::string format = "text";
};

ExitStatus run(Options const& options, Console& console) {
    const RegisterMap map = load_map(options.chip);
    const RegisterDump dump = dump_chip(map, ChipAccess(options.chip), options.chip.force);
    console.out.write(options.format == "json" ? dump_as_json(dump) : dump_as_text(dump));
    const std::string note = skipped_text(dump.skipped);
    if (!note.empty()) console.messages.note(note);
    return ExitStatus::kOk;
}

Run declare(OptionParser& parser) {
    const auto options = std::make_shared<Options>();
    parser.add_choice("--format", options->format, {"text", "json"}, "Print the dump as");
    add_chip_options(parser, options->chip);
    return [options](Console& console) { return run(*options, console); };
}

}  // namespace

Verb regs_dump_verb() {
    return {"dump",
            "Print every register of the chip",
            {{"regs dump", "every register by address, with its fields"},
             {"regs dump > before.txt", "keep them; 'petrelradar regs diff before.txt' compares"},
             {"regs dump --format json | jq .registers", "the same for programs"}},
            "A line is ADDRESS NAME VALUE FIELD=VALUE...; two dumps of the same values are the\n"
            "same text. Registers that can only be written, and those that change by being read,\n"
            "are skipped, and named on standard error.",
            declare};
}

}  // namespace Tools
