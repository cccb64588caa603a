#include "tools/input/damage_report.h"

#include <gmock/gmock.h>

#include "kit/base/input_error.h"
#include "tests/tools/input/scripted_input.h"

namespace Tools {
namespace {

using Kit::FindingKind;
using Script = ScriptedInput;
using testing::HasSubstr;
using testing::Not;

class DamageReportTest : public testing::Test {
protected:
    /** Reads the input to its end; what is printed is in `messages`. */
    ExitStatus report_of(std::deque<Script::Step> steps) {
        Script input(std::move(steps));
        testing::internal::CaptureStderr();
        ExitStatus status = ExitStatus::kFailed;
        try {
            report.read_all(input, lines);
            status = report.finish(input);
        } catch (Kit::InputError const& error) {
            refusal = error.what();
        }
        messages = testing::internal::GetCapturedStderr();
        return status;
    }

    Messages console{"cat", false};
    ProgressBar bar{ProgressBar::Use::kNever};
    DamageReport report{console, bar};
    ItemLines lines;
    std::string messages;
    std::string refusal;
};

TEST_F(DamageReportTest, AnInputWithoutDamageIsOkAndSilent) {
    EXPECT_EQ(report_of({Script::file("a"), Script::header(), Script::frame(1)}), ExitStatus::kOk);
    EXPECT_EQ(messages, "");
    EXPECT_FALSE(report.has_damage());
}

TEST_F(DamageReportTest, EveryItemReachesTheHandlerToo) {
    report_of({Script::file("a"), Script::header(), Script::frame(1),
               Script::finding(FindingKind::kZeros, 40, "zeros"), Script::note("by hand")});
    EXPECT_EQ(lines.text, "file a\nheader\nframe 0 at 1\nfinding zeros\nnote by hand\n");
}

TEST_F(DamageReportTest, APlaceIsNamedByFileAndOffset) {
    const ExitStatus status =
        report_of({Script::file("a.data"), Script::header(),
                   Script::finding(FindingKind::kZeros, 40, "zeros instead of a tag")});
    EXPECT_EQ(status, ExitStatus::kDamaged);
    EXPECT_THAT(messages,
                HasSubstr("petrelradar cat: a.data: offset 40: zeros instead of a tag\n"));
    EXPECT_TRUE(report.has_damage());
}

TEST_F(DamageReportTest, TheBytesThatWereSkippedStandInTheSameLine) {
    report_of({Script::file("a"), Script::header(),
               Script::finding(FindingKind::kZeros, 40, "zeros"),
               Script::finding(FindingKind::kSkipped, 40, "12 bytes skipped", 12)});
    EXPECT_THAT(messages, HasSubstr("a: offset 40: zeros; 12 bytes skipped\n"));
}

TEST_F(DamageReportTest, ANoteIsPrintedAndIsNoDamage) {
    EXPECT_EQ(report_of({Script::file("a"), Script::header(), Script::note("of two recorders")}),
              ExitStatus::kOk);
    EXPECT_THAT(messages, HasSubstr("of two recorders\n"));
}

TEST_F(DamageReportTest, OfManyPlacesTheFirstAreReportedAndAllAreCounted) {
    std::deque<Script::Step> steps = {Script::file("a"), Script::header()};
    for (uint64_t i = 0; i < 25; ++i) {
        steps.push_back(Script::finding(FindingKind::kZeros, 100 * i, "zeros"));
    }
    report_of(std::move(steps));
    EXPECT_THAT(messages, HasSubstr("a: offset 1900: zeros"));
    EXPECT_THAT(messages, Not(HasSubstr("a: offset 2000: zeros")));
    EXPECT_THAT(messages, HasSubstr("5 places more"));
    EXPECT_THAT(messages, HasSubstr("25 damaged places"));
}

TEST_F(DamageReportTest, DamageAloneIsNoRecording) {
    report_of({Script::file("a"), Script::finding(FindingKind::kNotARecording, 0, "no recording")});
    EXPECT_EQ(refusal, "a: no recording");
    EXPECT_EQ(messages, "");
}

TEST_F(DamageReportTest, ALossThatTheInputKnowsNothingOfIsDamage) {
    report.add_loss("b.mcap: times are too small");
    EXPECT_EQ(report_of({Script::file("a"), Script::header()}), ExitStatus::kDamaged);
    EXPECT_THAT(messages, HasSubstr("b.mcap: times are too small\n"));
}

TEST_F(DamageReportTest, FramesAloneAreDeliveredToAFunction) {
    Script input({Script::file("a"), Script::frame(7), Script::note("by hand"), Script::frame(8)});
    std::vector<uint64_t> times;
    report.read_frames(input, [&](InputFrame const& frame) { times.push_back(frame.timestamp); });
    EXPECT_THAT(times, testing::ElementsAre(7, 8));
}

}  // namespace
}  // namespace Tools
