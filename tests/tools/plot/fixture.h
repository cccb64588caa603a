#pragma once

#include <glib.h>
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/support/private_paths.h"
#include "tests/support/process.h"
#include "tests/support/recording_bytes.h"

namespace tools_test {

using test_support::frame;
using test_support::kBegin;
using test_support::Outcome;
using test_support::recording;
using test_support::run;

constexpr char kRecording[] = "/tmp/radar_150525_093007_042.data";

/** Why a text is no well-formed XML; empty when it is. */
inline std::string xml_problem(std::string const& text) {
    GMarkupParser parser = {};
    GMarkupParseContext* const context =
        g_markup_parse_context_new(&parser, GMarkupParseFlags(0), nullptr, nullptr);
    GError* error = nullptr;
    std::string problem;
    if (g_markup_parse_context_parse(context, text.data(), static_cast<gssize>(text.size()),
                                     &error) == FALSE ||
        g_markup_parse_context_end_parse(context, &error) == FALSE) {
        problem = error->message;
        g_error_free(error);
    }
    g_markup_parse_context_free(context);
    return problem;
}

/** The verb `plot` on a recording of two frames with a target each. */
class PlotTest : public test_support::PrivatePathsTest {
protected:
    void SetUp() override {
        PrivatePathsTest::SetUp();
        if (IsSkipped()) return;
        test_support::write_file(kRecording, recording({frame(kBegin, {{5, -2, -0.3F}}),
                                                        frame(kBegin + 50000, {{6, 1, 0.3F}})}));
    }

    static Outcome plot(std::vector<std::string> const& options,
                        std::string const& source = kRecording) {
        std::vector<std::string> arguments = {"plot", source};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return run(arguments);
    }

    /** The SVG of a recording. */
    static std::string svg(std::vector<std::string> options = {},
                           std::string const& source = kRecording) {
        options.insert(options.end(), {"-o", "/tmp/plot.svg", "--force"});
        const Outcome outcome = plot(options, source);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return test_support::read_file("/tmp/plot.svg");
    }
};

}  // namespace tools_test
