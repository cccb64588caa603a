#include "log/ilog.h"

#include <gmock/gmock.h>

#include <cstring>
#include <iomanip>
#include <limits>
#include <memory>
#include <system_error>
#include <thread>
#include <type_traits>
#include <unordered_map>

#include "config/configuration.h"
#include "lib/allocations.h"
#include "lib/virtual_slots.h"
#include "support/captured_log.h"

namespace {

using Petrel::ilog;
using test_support::captured_formats;
using test_support::captured_log;
using test_support::LogLine;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class IlogTest : public testing::Test {
protected:
    IlogTest() { test_support::clear_log(); }
};

TEST_F(IlogTest, AMessageIsOneCallWithItsLevelAndItsWholeText) {
    ilog(2) << "Failed to read from timerfd: " << std::strerror(EAGAIN) << std::endl;
    const std::string text = "Failed to read from timerfd: " + std::string(std::strerror(EAGAIN));
    EXPECT_THAT(captured_log(), ElementsAre(LogLine{2, text + "\n"}));
}

TEST_F(IlogTest, TheTextIsTheArgumentOfPercentS) {
    ilog(1) << "text" << std::endl;
    ilog(1) << "%n";
    EXPECT_THAT(captured_formats(), ElementsAre("%s", "%s"));
}

TEST_F(IlogTest, PercentSignsOfAMessageAreKept) {
    ilog(1) << "100 %s of %d %% %n" << std::endl;
    EXPECT_THAT(captured_log(), ElementsAre(LogLine{1, "100 %s of %d %% %n\n"}));
}

TEST_F(IlogTest, AMessageWithoutInsertionsIsOneCallWithAnEmptyText) {
    { const ilog message(1); }
    EXPECT_THAT(captured_log(), ElementsAre(LogLine{1, ""}));
}

TEST_F(IlogTest, NothingIsLoggedBeforeTheDestruction) {
    auto message = std::make_unique<ilog>(1);
    *message << "early" << std::endl << std::flush;
    EXPECT_THAT(captured_log(), IsEmpty());
    message.reset();
    EXPECT_THAT(captured_log(), ElementsAre(LogLine{1, "early\n"}));
}

TEST_F(IlogTest, NoNewlineIsAdded) {
    ilog(1) << "bare";
    EXPECT_THAT(captured_log(), ElementsAre(LogLine{1, "bare"}));
}

class IlogLevelTest : public IlogTest, public testing::WithParamInterface<int> {};

INSTANTIATE_TEST_SUITE_P(Levels, IlogLevelTest,
                         testing::Values(0, 1, 2, -1, std::numeric_limits<int>::min(),
                                         std::numeric_limits<int>::max()));

TEST_P(IlogLevelTest, IsPassedUnchanged) {
    { const ilog message(GetParam()); }
    EXPECT_THAT(captured_log(), ElementsAre(LogLine{GetParam(), ""}));
}

TEST_F(IlogTest, InsertsWhateverAStreamAccepts) {
    const char text[] = "array";
    ilog(1) << 'c' << ' ' << text << ' ' << std::string("string") << ' ' << -7 << ' '
            << std::numeric_limits<uint64_t>::max() << ' ' << 2.5 << ' ' << true << ' '
            << std::error_code(2, std::system_category()) << std::ends;
    EXPECT_THAT(captured_log(),
                ElementsAre(LogLine{1, "c array string -7 18446744073709551615 2.5 1 system:2"}));
}

/** Constants that are declared and defined nowhere: they have a value and no address. */
struct Limits {
    static const int targets = 64;
    static const char unit = 'm';
    static const bool open = true;
    enum State { idle, running };
    static const State state = running;
};

TEST_F(IlogTest, AConstantWithoutADefinitionCanBeTheFirstPartOrALaterOne) {
    ilog(1) << Limits::targets << ' ' << Limits::targets << Limits::unit;
    ilog(1) << Limits::unit << Limits::open;
    ilog(1) << Limits::open << Limits::state;
    ilog(1) << Limits::state;
    EXPECT_THAT(captured_log(), ElementsAre(LogLine{1, "64 64m"}, LogLine{1, "m1"},
                                            LogLine{1, "11"}, LogLine{1, "1"}));
}

TEST_F(IlogTest, ABitFieldCanBeTheFirstPartOrALaterOne) {
    struct {
        unsigned low : 3;
        unsigned high : 5;
    } const bits = {5, 17};
    ilog(1) << bits.low << ' ' << bits.high;
    EXPECT_THAT(captured_log(), ElementsAre(LogLine{1, "5 17"}));
}

TEST_F(IlogTest, APointerCanBeTheFirstPart) {
    const void* const nowhere = nullptr;
    char text[] = "text";
    char* const changeable = text;
    ilog(1) << nowhere;
    ilog(1) << changeable << std::endl;
    EXPECT_THAT(captured_log(), ElementsAre(LogLine{1, "0"}, LogLine{1, "text\n"}));
}

TEST_F(IlogTest, InsertsWhatAPrinterThatTheCallerSeesPrints) {
    ilog(1) << "Settings: " << std::unordered_map<std::string, int>{{"x", -3}};
    EXPECT_THAT(captured_log(),
                ElementsAre(LogLine{1, "Settings: ConfMap:\nconf:  key: x = -3\n"}));
}

TEST_F(IlogTest, AppliesManipulatorsOfEveryKind) {
    ilog(1) << std::hex << 255 << ' ' << std::dec << std::setw(4) << std::setfill('0') << 42 << ' '
            << std::setprecision(2) << std::fixed << 1.005 << std::boolalpha << ' ' << false;
    EXPECT_THAT(captured_log(), ElementsAre(LogLine{1, "ff 0042 1.00 false"}));
}

std::ios& left_aligned(std::ios& stream) {
    stream.setf(std::ios::left, std::ios::adjustfield);
    stream.fill('.');
    return stream;
}

TEST_F(IlogTest, AppliesManipulatorsOfTheWholeStream) {
    ilog(1) << left_aligned << std::setw(3) << 7;
    EXPECT_THAT(captured_log(), ElementsAre(LogLine{1, "7.."}));
}

TEST_F(IlogTest, ALongMessageIsComplete) {
    const std::string text(3000, 'x');
    ilog(1) << text << std::endl;
    EXPECT_THAT(captured_log(), ElementsAre(LogLine{1, text + "\n"}));
}

TEST_F(IlogTest, ANullTextFailsTheStreamAndKeepsWhatWasThere) {
    ilog(1) << "reason: " << static_cast<char const*>(nullptr) << " more" << std::endl;
    EXPECT_THAT(captured_log(), ElementsAre(LogLine{1, "reason: "}));
}

TEST_F(IlogTest, MessagesMadeInsideAMessageAreLinesOfTheirOwn) {
    const auto inner = [] {
        ilog(2) << "inner" << std::endl;
        return 5;
    };
    ilog(1) << "outer " << inner() << std::endl;
    EXPECT_THAT(captured_log(), ElementsAre(LogLine{2, "inner\n"}, LogLine{1, "outer 5\n"}));
}

TEST_F(IlogTest, MessagesOfSeveralThreadsAreEachWhole) {
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([] {
            for (int i = 0; i < 50; ++i)
                ilog(1) << "part "
                        << "and part" << std::endl;
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_THAT(captured_log(), SizeIs(200));
    EXPECT_THAT(captured_log(), Each(LogLine{1, "part and part\n"}));
}

TEST_F(IlogTest, DerivesPrivatelyFromAnOutputStream) {
    EXPECT_TRUE((std::is_base_of<std::ostringstream, ilog>::value));
    EXPECT_FALSE((std::is_convertible<ilog*, std::ostream*>::value));
}

TEST_F(IlogTest, AddsTheLevelToTheStreamAndNothingElse) {
    EXPECT_LE(sizeof(ilog), sizeof(std::ostringstream) + sizeof(void*));
}

TEST_F(IlogTest, IsMadeFromALevelOnlyAndNeitherCopiedNorMoved) {
    EXPECT_FALSE((std::is_convertible<int, ilog>::value));
    EXPECT_FALSE(std::is_copy_constructible<ilog>::value);
    EXPECT_FALSE(std::is_move_constructible<ilog>::value);
    EXPECT_TRUE(std::is_nothrow_destructible<ilog>::value);
}

TEST_F(IlogTest, TheFirstSlotIsTheDestructorAndTheSecondDeletesToo) {
    auto* const message = new ilog(1);
    *message << "deleted";
    test_support::function_in_slot<void(ilog*)>(message, 1)(message);
    EXPECT_THAT(captured_log(), ElementsAre(LogLine{1, "deleted"}));
}

using IlogDeathTest = IlogTest;

TEST_F(IlogDeathTest, TheProcessEndsWhenMemoryRunsOutWhileTheTextIsPassedOn) {
    EXPECT_DEATH(
        {
            test_support::Allocations allocations;
            ilog message(1);
            message << std::string(1000, 'x');
            allocations.out_of_memory = true;
        },
        "terminate called");
}

}  // namespace
