#include <fmt/core.h>
#include <sys/time.h>

#include <ctime>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tools/cli/ansi.h"
#include "tools/cli/number_text.h"
#include "tools/cli/options.h"
#include "tools/registers/chip_access.h"
#include "tools/registers/dump_file.h"
#include "tools/registers/regs.h"
#include "tools/screen/repeater.h"

namespace Tools {

namespace {

constexpr size_t kLabelWidth = 16;

struct Options {
    ChipOptions chip;
    std::vector<std::string> names;
    std::string format;  // empty: text, in place where that is possible
    Repetition repetition;
};

/** A register that is watched. */
struct Watched {
    MappedRegister mapped;
    std::optional<RegisterValue> value;   // none before the first look
    std::optional<RegisterValue> before;  // what it was before it changed last
    uint64_t changed_at = 0;              // the look that found that; 0: none
};

/** What a look found. */
struct Change {
    std::optional<RegisterValue> before;  // none at the first look
    RegisterValue after;
};

int64_t now_us() {
    timeval now = {};
    gettimeofday(&now, nullptr);
    return int64_t{now.tv_sec} * 1000000 + now.tv_usec;
}

/** "12:30:01.250", in local time. */
std::string clock_text(int64_t time_us) {
    const auto seconds = static_cast<time_t>(time_us / 1000000);
    tm parts = {};
    localtime_r(&seconds, &parts);
    return fmt::format("{:02}:{:02}:{:02}.{:03}", parts.tm_hour, parts.tm_min, parts.tm_sec,
                       time_us / 1000 % 1000);
}

/** "0x00401e01 enable=1 frame_rate=30", with what a field was before where it differs. */
std::string value_text(RegisterValue const& now, std::optional<RegisterValue> const& before) {
    std::string text = hex_text(now.value, 8);
    for (size_t i = 0; i < now.fields.size(); ++i) {
        auto const& [name, value] = now.fields[i];
        text += fmt::format(" {}=", name);
        if (before && before->fields[i].second != value) {
            text += fmt::format("{}->", before->fields[i].second);
        }
        text += std::to_string(value);
    }
    return text;
}

std::string change_text(Change const& change, int64_t time_us) {
    const std::string from = change.before ? hex_text(change.before->value, 8) + " -> " : "";
    return clock_text(time_us) + " " + change.after.label() + " " + from +
           value_text(change.after, change.before) + "\n";
}

std::string change_json(Change const& change, int64_t time_us) {
    using Json = nlohmann::ordered_json;
    Json fields = Json::object();
    for (auto const& [name, value] : change.after.fields) fields[name] = value;
    std::string const& name = change.after.name;
    return Json({{"time_us", std::to_string(time_us)},
                 {"address", change.after.address},
                 {"name", name.empty() ? Json(nullptr) : Json(name)},
                 {"before", change.before ? Json(change.before->value) : Json(nullptr)},
                 {"value", change.after.value},
                 {"fields", fields}})
               .dump() +
           "\n";
}

/** The registers that a person asked for, each once; all that may be read when none. */
class Watch {
public:
    Watch(RegisterMap const& map, Options const& options) {
        if (options.names.empty()) add_all(map, options.chip.force);
        for (std::string const& name : options.names) {
            const Selected selected = select_bits(map, name);
            check_readable(selected, options.chip.force);
            watched_[selected.whole.address].mapped = selected.whole;
        }
    }

    std::vector<Change> look(ChipAccess const& chip) {
        ++looks_;
        std::vector<Change> changes;
        for (auto& [address, one] : watched_) {
            const RegisterValue value = register_value(one.mapped, chip.read(one.mapped));
            if (one.value && one.value->value == value.value) continue;
            changes.push_back({one.value, value});
            if (one.value) one.changed_at = looks_;
            one.before = one.value;
            one.value = value;
        }
        return changes;
    }

    /** All registers, or, where they are too many for the window, those that have changed. */
    std::vector<ScreenLine> picture(WindowSize window) const {
        const bool all_fit = watched_.size() + 2 <= static_cast<size_t>(window.rows);
        std::vector<ScreenLine> lines = {
            {Ansi::kBold, fmt::format("{} registers  look {}  q ends", watched_.size(), looks_)}};
        for (auto const& [address, one] : watched_) {
            if (all_fit || one.changed_at > 0) lines.push_back(line(one));
        }
        const size_t hidden = watched_.size() + 1 - lines.size();
        if (hidden > 0) {
            lines.push_back({Ansi::kDim, fmt::format("{} registers have not changed", hidden)});
        }
        return lines;
    }

    std::vector<SkippedRegister> skipped;

private:
    void add_all(RegisterMap const& map, bool forced) {
        for (auto const& [address, whole] : map.registers()) {
            char const* const reason = reason_to_skip(whole, forced);
            if (reason != nullptr) {
                skipped.push_back({address, whole.label(), reason});
            } else {
                watched_[address].mapped = whole;
            }
        }
    }

    ScreenLine line(Watched const& one) const {
        std::string label = one.mapped.label();
        if (label.size() < kLabelWidth) label.resize(kLabelWidth, ' ');
        const bool is_new = one.changed_at == looks_;
        return {is_new ? Ansi::kYellow : "",
                address_text(one.mapped.address) + " " + label + " " +
                    value_text(*one.value, is_new ? one.before : std::nullopt)};
    }

    std::map<int32_t, Watched> watched_;
    uint64_t looks_ = 0;
};

void print(std::vector<Change> const& changes, std::string const& format, Output& out) {
    const int64_t now = now_us();
    for (Change const& change : changes) {
        out.write(format == "ndjson" ? change_json(change, now) : change_text(change, now));
    }
}

ExitStatus run(Options const& options, Console& console) {
    const RegisterMap map = load_map(options.chip);
    Watch watch(map, options);
    const ChipAccess chip(options.chip);
    const std::string note = skipped_text(watch.skipped);
    auto repeater = std::make_unique<Repeater>(options.repetition, options.format.empty(), console);
    // On the same terminal the note would be behind the picture.
    const bool is_note_late = repeater->draws();
    if (!note.empty() && !is_note_late) console.messages.note(note);
    while (repeater->next()) {
        const std::vector<Change> changes = watch.look(chip);
        if (repeater->draws()) {
            repeater->show([&watch](WindowSize window) { return watch.picture(window); });
        } else {
            print(changes, options.format, console.out);
        }
    }
    repeater.reset();
    if (!note.empty() && is_note_late) console.messages.note(note);
    return ExitStatus::kOk;
}

Run declare(OptionParser& parser) {
    const auto options = std::make_shared<Options>();
    parser.add_arguments("NAME", options->names,
                         "Registers, by name or by address; without any, all of them");
    parser.add_choice("--format", options->format, {"text", "ndjson"}, "Print changes as lines of");
    add_repetition(parser, options->repetition);
    add_chip_options(parser, options->chip);
    return [options](Console& console) { return run(*options, console); };
}

}  // namespace

Verb regs_watch_verb() {
    return {"watch",
            "Read registers again and again, and show what changes",
            {{"regs watch", "all registers, in place, until q or Ctrl-C"},
             {"regs watch control status --interval 0.1", "two of them, ten times a second"},
             {"regs watch --format ndjson --count 60 > changes.ndjson",
              "what changes within a minute, for programs"}},
            "On a terminal the registers are shown in place; where they are too many for the\n"
            "window, those that have changed. Elsewhere, or with --format, every register is\n"
            "printed once, and then again when it changes: TIME NAME BEFORE -> VALUE FIELDS.",
            declare};
}

}  // namespace Tools
