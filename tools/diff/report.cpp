#include "tools/diff/report.h"

#include <fmt/core.h>

#include <nlohmann/json.hpp>
#include <utility>

#include "kit/base/text.h"

namespace Tools {

namespace {

using Json = nlohmann::ordered_json;

class TextDiffReport : public DiffReport {
public:
    TextDiffReport(Output& out, std::string a, std::string b, bool brief)
        : out_(out), a_(std::move(a)), b_(std::move(b)), brief_(brief) {}

    void header_differs(std::string const& field, std::string const& value_a,
                        std::string const& value_b) override {
        print(fmt::format("header: {} {} and {}", field, value_a, value_b));
    }
    void frame_only_in_a(InputFrame const& frame) override { print_alone(a_, frame); }
    void frame_only_in_b(InputFrame const& frame) override { print_alone(b_, frame); }
    void magic_differs(uint32_t value_a, uint32_t value_b) override {
        print(fmt::format("{}magic {} and {}", place(), value_a, value_b));
    }
    void field_differs(uint64_t index_a, uint64_t index_b, FrameField field,
                       std::string const& value_a, std::string const& value_b) override {
        print(fmt::format("{}{} {}: {} {} and {}", place(),
                          index_a == index_b ? "target" : "targets", both(index_a, index_b),
                          name_of(field), value_a, value_b));
    }
    void target_only_in_a(uint64_t index) override {
        print(fmt::format("{}target {} only in {}", place(), index, a_));
    }
    void target_only_in_b(uint64_t index) override {
        print(fmt::format("{}target {} only in {}", place(), index, b_));
    }
    void finish(DiffSum const& sum) override { out_.write(text_of(sum, a_, b_) + "\n"); }

private:
    void print(std::string const& line) {
        if (!brief_) out_.write(line + "\n");
    }

    void print_alone(std::string const& source, InputFrame const& frame) {
        print(fmt::format("only in {}: frame {}, timestamp {}", source, frame.number,
                          frame.timestamp));
    }

    static std::string both(uint64_t a, uint64_t b) {
        return a == b ? std::to_string(a) : fmt::format("{} and {}", a, b);
    }

    std::string place() const {
        return fmt::format("frame {}, timestamp {}: ", both(frame_a_.number, frame_b_.number),
                           both(frame_a_.timestamp, frame_b_.timestamp));
    }

    Output& out_;
    std::string a_;
    std::string b_;
    bool brief_;
};

/** A number, or the word that stands for one that JSON does not have. */
Json number(std::string const& text) {
    if (text == "nan" || text == "-nan") return "NaN";
    if (text == "inf") return "Infinity";
    if (text == "-inf") return "-Infinity";
    return Json::parse(text, nullptr, false);
}

class JsonDiffReport : public DiffReport {
public:
    JsonDiffReport(Output& out, std::string const& a, std::string const& b, bool brief)
        : out_(out), brief_(brief) {
        out_.write("{\"a\":" + text_of(a) + ",\"b\":" + text_of(b) + ",\"differences\":[");
    }

    void header_differs(std::string const& field, std::string const& value_a,
                        std::string const& value_b) override {
        print({{"kind", "header"}, {"field", field}}, number(value_a), number(value_b));
    }
    void frame_only_in_a(InputFrame const& frame) override { print_alone("only-in-a", frame); }
    void frame_only_in_b(InputFrame const& frame) override { print_alone("only-in-b", frame); }
    void magic_differs(uint32_t value_a, uint32_t value_b) override {
        Json json = place("frame");
        json["field"] = "magic";
        print(std::move(json), value_a, value_b);
    }
    void field_differs(uint64_t index_a, uint64_t index_b, FrameField field,
                       std::string const& value_a, std::string const& value_b) override {
        Json json = place("target");
        json["target_a"] = index_a;
        json["target_b"] = index_b;
        json["field"] = name_of(field);
        print(std::move(json), number(value_a), number(value_b));
    }
    void target_only_in_a(uint64_t index) override {
        Json json = place("target-only-in-a");
        json["target_a"] = index;
        print(json);
    }
    void target_only_in_b(uint64_t index) override {
        Json json = place("target-only-in-b");
        json["target_b"] = index;
        print(json);
    }

    void finish(DiffSum const& sum) override {
        out_.write("\n],");
        const Json json = {{"equal", sum.is_equal()},
                           {"interrupted", sum.interrupted},
                           {"frames_compared", std::to_string(sum.compared)},
                           {"frames_differing", std::to_string(sum.differing)},
                           {"frames_only_in_a", std::to_string(sum.only_in_a)},
                           {"frames_only_in_b", std::to_string(sum.only_in_b)}};
        out_.write(text_of(json).substr(1) + "\n");
    }

private:
    static std::string text_of(Json const& json) {
        return json.dump(-1, ' ', false, Json::error_handler_t::replace);
    }

    void print(Json const& json) {
        if (brief_) return;
        out_.write((first_ ? "\n" : ",\n") + text_of(json));
        first_ = false;
    }

    void print(Json json, Json const& value_a, Json const& value_b) {
        json["a"] = value_a;
        json["b"] = value_b;
        print(json);
    }

    void print_alone(char const* kind, InputFrame const& frame) {
        print({{"kind", kind},
               {"frame", std::to_string(frame.number)},
               {"timestamp", std::to_string(frame.timestamp)}});
    }

    Json place(char const* kind) const {
        return {{"kind", kind},
                {"frame_a", std::to_string(frame_a_.number)},
                {"frame_b", std::to_string(frame_b_.number)},
                {"timestamp_a", std::to_string(frame_a_.timestamp)},
                {"timestamp_b", std::to_string(frame_b_.timestamp)}};
    }

    Output& out_;
    bool brief_;
    bool first_ = true;
};

}  // namespace

std::string text_of(DiffSum const& sum, std::string const& a, std::string const& b) {
    if (sum.is_equal()) return Kit::count_text(sum.compared, "frame") + " compared, no difference";
    std::string text =
        fmt::format("{} compared, {} {}; {} only in {}, {} only in {}",
                    Kit::count_text(sum.compared, "frame"), sum.differing,
                    sum.differing == 1 ? "differs" : "differ", sum.only_in_a, a, sum.only_in_b, b);
    if (sum.header_fields > 0) text += "; the headers differ";
    return text;
}

std::unique_ptr<DiffReport> make_text_diff_report(Output& out, std::string a, std::string b,
                                                  bool brief) {
    return std::make_unique<TextDiffReport>(out, std::move(a), std::move(b), brief);
}

std::unique_ptr<DiffReport> make_json_diff_report(Output& out, std::string const& a,
                                                  std::string const& b, bool brief) {
    return std::make_unique<JsonDiffReport>(out, a, b, brief);
}

}  // namespace Tools
