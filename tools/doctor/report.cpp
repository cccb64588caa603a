#include "tools/doctor/report.h"

#include <fmt/core.h>

#include <nlohmann/json.hpp>
#include <set>
#include <utility>

#include "kit/base/text.h"
#include "tools/cli/ansi.h"
#include "tools/screen/terminal.h"

namespace Tools {

namespace {

using Json = nlohmann::ordered_json;

std::string dumped(Json const& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string json_of(DoctorFinding const& finding) {
    Json json;
    json["code"] = finding.code.name;
    json["severity"] = name_of(finding.code.severity);
    json["file"] = finding.file;
    json["offset"] = std::to_string(finding.offset);
    json["length"] = std::to_string(finding.length);
    json["message"] = finding.text;
    json["advice"] = finding.code.advice;
    return dumped(json);
}

/** A finding a line, and what to do about each kind at the end. */
class DoctorText : public DoctorFormatter {
public:
    explicit DoctorText(Output& out) : out_(out), coloured_(takes_colour(out_.fd())) {}

    void print(DoctorFinding const& finding) override {
        told_.insert(finding.code.name);
        std::string severity = name_of(finding.code.severity);
        if (coloured_) {
            severity = Ansi::styled(
                finding.code.severity == Severity::kError ? Ansi::kRed : Ansi::kYellow, severity);
        }
        std::string line = fmt::format("{}: offset {}: {}: {}: {}", Kit::printable(finding.file),
                                       finding.offset, severity, finding.code.name, finding.text);
        if (finding.length > 0) line += "; " + Kit::count_text(finding.length, "byte") + " skipped";
        out_.write(line + "\n");
    }

    void end(Sum const& sum) override {
        if (told_.empty()) {
            out_.write("nothing found in " + Kit::count_text(sum.frames, "frame") + " of " +
                       Kit::count_text(sum.files, "file") + "\n");
            return;
        }
        out_.write("\nWhat to do:\n");
        for (FindingCode const& code : finding_codes()) {
            if (told_.count(code.name) == 0) continue;
            std::string name = code.name;
            name.resize(17, ' ');
            out_.write("  " + name + code.advice + "\n");
        }
    }

private:
    Output& out_;
    bool coloured_;
    std::set<std::string> told_;
};

/** One object a finding, on a line of its own. */
class DoctorNdjson : public DoctorFormatter {
public:
    explicit DoctorNdjson(Output& out) : out_(out) {}

    void print(DoctorFinding const& finding) override { out_.write(json_of(finding) + "\n"); }

private:
    Output& out_;
};

/** One object, of which nothing is kept but what is still to be printed. */
class DoctorJson : public DoctorFormatter {
public:
    DoctorJson(std::string source, Output& out) : source_(std::move(source)), out_(out) {}

    void begin() override {
        out_.write("{\n  \"source\": " + dumped(source_) + ",\n  \"findings\": [");
    }

    void print(DoctorFinding const& finding) override {
        out_.write(std::string(first_ ? "" : ",") + "\n    " + json_of(finding));
        first_ = false;
    }

    void end(Sum const& sum) override {
        out_.write(first_ ? "]" : "\n  ]");
        add("files", dumped(std::to_string(sum.files)));
        add("frames", dumped(std::to_string(sum.frames)));
        add("errors", dumped(std::to_string(sum.errors)));
        add("warnings", dumped(std::to_string(sum.warnings)));
        add("skipped_bytes", dumped(std::to_string(sum.lost_bytes)));
        add("interrupted", sum.interrupted ? "true" : "false");
        out_.write("\n}\n");
    }

private:
    void add(std::string const& key, std::string const& value) {
        out_.write(",\n  " + dumped(key) + ": " + value);
    }

    Json source_;
    Output& out_;
    bool first_ = true;
};

}  // namespace

std::unique_ptr<DoctorFormatter> make_doctor_formatter(std::string const& format,
                                                       std::string const& source, Output& out) {
    if (format == "json") return std::make_unique<DoctorJson>(source, out);
    if (format == "ndjson") return std::make_unique<DoctorNdjson>(out);
    return std::make_unique<DoctorText>(out);
}

}  // namespace Tools
