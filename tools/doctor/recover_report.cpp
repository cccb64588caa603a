#include "tools/doctor/recover_report.h"

#include <fmt/core.h>

#include <nlohmann/json.hpp>

#include "kit/base/text.h"

namespace Tools {

namespace {

using Json = nlohmann::ordered_json;
using Header = SavedRecording::Header;

std::string dumped(Json const& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string origin_text(Header header) {
    if (header == Header::kRepaired) return "magic and version of the header are made right";
    return "the header is made up: height, tilt and sensitivity are not known";
}

}  // namespace

RecoverReport::RecoverReport(std::string const& format, std::string const& source, Output& out)
    : is_json_(format == "json"), out_(out) {
    if (is_json_) write("{\n  \"source\": " + dumped(source) + ",\n  \"results\": [");
}

void RecoverReport::add(DoctorFinding const& finding) {
    const std::string code = finding.code.name;
    skipped_bytes_ += finding.length;
    if (code == "foreign-frame") {
        ++suspect_count_;
        print({"suspect", finding.file, finding.offset, 0, code, finding.text});
    } else if (code == "frame-count") {
        print({"corrected", finding.file, finding.offset, 0, code, finding.text});
    } else if (finding.length > 0 || code == "unreadable") {
        print({"skipped", finding.file, finding.offset, finding.length, code, finding.text});
    }
}

void RecoverReport::add(SavedRecording const& saved) {
    if (saved.is_suspect) {
        suspect_count_ += saved.records;
        print({"suspect", saved.from, saved.offset, 0, "wrong-tag",
               Kit::count_text(saved.records, "record") + " of another tag, in " + saved.path,
               &saved});
        return;
    }
    if (saved.header != Header::kKept) {
        ++suspect_count_;
        print({"suspect", saved.from, 0, 0, "header", origin_text(saved.header)});
    }
    ++recording_count_;
    record_count_ += saved.records;
    print({"kept", saved.from, saved.offset, saved.bytes, "",
           Kit::count_text(saved.records, "record") + ", in " + saved.path, &saved});
}

/** A reader that has gone is no reason to save less. */
void RecoverReport::write(std::string const& text) {
    if (reader_has_gone_) return;
    try {
        out_.write(text);
    } catch (OutputClosed const&) {
        reader_has_gone_ = true;
    }
}

void RecoverReport::hand_over() {
    if (is_json_ || reader_has_gone_) return;
    try {
        out_.flush();
    } catch (OutputClosed const&) {
        reader_has_gone_ = true;
    }
}

void RecoverReport::print(Result const& result) {
    if (is_json_) {
        print_json(result);
    } else {
        print_text(result);
    }
}

void RecoverReport::print_text(Result const& result) {
    std::string line = result.kind;
    line.resize(10, ' ');
    line += Kit::printable(result.file) + ": ";
    if (result.saved == nullptr) line += fmt::format("offset {}: ", result.offset);
    if (std::string(result.kind) == "skipped")
        line += Kit::count_text(result.length, "byte") + ": ";
    if (!result.code.empty()) line += result.code + ": ";
    write(line + Kit::printable(result.message) + "\n");
}

void RecoverReport::print_json(Result const& result) {
    Json json;
    json["kind"] = result.kind;
    json["file"] = result.file;
    json["offset"] = std::to_string(result.offset);
    json["length"] = std::to_string(result.length);
    json["code"] = result.code.empty() ? Json(nullptr) : Json(result.code);
    json["message"] = result.message;
    if (result.saved != nullptr) {
        json["output"] = result.saved->path;
        json["records"] = std::to_string(result.saved->records);
        json["header"] = name_of(result.saved->header);
    }
    write(std::string(first_ ? "" : ",") + "\n    " + dumped(json));
    first_ = false;
}

void RecoverReport::finish(bool interrupted) {
    if (!is_json_) return;
    const auto number = [](uint64_t value) { return "\"" + std::to_string(value) + "\""; };
    write(std::string(first_ ? "]" : "\n  ]") + ",\n  \"recordings\": " + number(recording_count_) +
          ",\n  \"records\": " + number(record_count_) + ",\n  \"suspects\": " +
          number(suspect_count_) + ",\n  \"skipped_bytes\": " + number(skipped_bytes_) +
          ",\n  \"interrupted\": " + (interrupted ? "true" : "false") + "\n}\n");
}

}  // namespace Tools
