#include "failure/failure.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <limits>
#include <map>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace {

using Radar::Failure;

using Reason = Failure::radar_failure;
constexpr Reason kUnnamed = static_cast<Reason>(-1);
constexpr Reason kAboveAll = static_cast<Reason>(std::numeric_limits<int32_t>::max());
constexpr Reason kBelowAll = static_cast<Reason>(std::numeric_limits<int32_t>::min());

static_assert(std::is_same<std::underlying_type_t<Reason>, int32_t>::value,
              "a signed 32-bit value");
static_assert(std::is_convertible<Reason, int>::value, "an unscoped enumeration");
static_assert(Failure::no_data == 0 && Failure::interference == 1 && Failure::saturation == 2 &&
                  Failure::current_failure == 3,
              "the values reach other processes");

class FailureTest : public testing::Test {
protected:
    /** What add() or set() throws, as text; empty when it does not throw. */
    template <typename Call>
    static std::string thrown_by(Call const& call) {
        try {
            call();
        } catch (std::runtime_error const& error) {
            EXPECT_EQ(typeid(error), typeid(std::runtime_error));
            return error.what();
        }
        return "";
    }

    using Entries = std::map<Reason, std::pair<std::string, bool>>;

    /** The entries, each of which is listed once. */
    Entries entries() const {
        const Entries listed(failure.begin(), failure.end());
        EXPECT_EQ(static_cast<long>(listed.size()), std::distance(failure.begin(), failure.end()));
        return listed;
    }

    Failure failure;
};

TEST_F(FailureTest, ANewObjectHoldsNoDataAlone) {
    EXPECT_EQ(entries(), (Entries{{Failure::no_data, {"No data", false}}}));
}

TEST_F(FailureTest, ANewObjectKnowsNoDataAsInactive) {
    EXPECT_TRUE(failure.exists(Failure::no_data));
    EXPECT_FALSE(failure.state(Failure::no_data));
    EXPECT_EQ(failure.str(Failure::no_data), "No data");
}

TEST_F(FailureTest, NoDataIsCurrentInANewObject) {
    EXPECT_EQ(failure.reason(Failure::current_failure), Failure::no_data);
    EXPECT_EQ(failure.str(Failure::current_failure), "No data");
    EXPECT_FALSE(failure.state(Failure::current_failure));
}

TEST_F(FailureTest, AReasonThatWasNotAddedIsUnknownAndInactive) {
    EXPECT_FALSE(failure.exists(Failure::interference));
    EXPECT_FALSE(failure.state(Failure::interference));
    EXPECT_EQ(failure.str(Failure::interference), "Unknown reason");
}

TEST_F(FailureTest, AskingForAReasonDoesNotAddIt) {
    failure.state(Failure::interference);
    failure.str(Failure::interference);
    EXPECT_EQ(entries().size(), 1U);
}

TEST_F(FailureTest, ReasonReturnsEveryOtherValueUnchanged) {
    failure.set(Failure::interference, true);
    for (const Reason f : {Failure::no_data, Failure::saturation, kUnnamed, kAboveAll, kBelowAll}) {
        EXPECT_EQ(failure.reason(f), f);
    }
}

TEST_F(FailureTest, ReasonResolvesTheCurrentFailure) {
    failure.set(Failure::saturation, true);
    EXPECT_EQ(failure.reason(Failure::current_failure), Failure::saturation);
}

TEST_F(FailureTest, ExistsDoesNotResolveTheCurrentFailure) {
    failure.set(Failure::interference, true);
    EXPECT_TRUE(failure.state(Failure::current_failure));
    EXPECT_FALSE(failure.exists(Failure::current_failure));
}

TEST_F(FailureTest, AddedReasonsAreInactiveWithTheirTexts) {
    failure.add(Failure::interference);
    failure.add(Failure::saturation);
    EXPECT_EQ(entries(), (Entries{{Failure::no_data, {"No data", false}},
                                  {Failure::interference, {"Interference", false}},
                                  {Failure::saturation, {"Saturation", false}}}));
}

TEST_F(FailureTest, AddingAReasonDoesNotMakeItCurrent) {
    failure.add(Failure::interference);
    EXPECT_EQ(failure.reason(Failure::current_failure), Failure::no_data);
}

TEST_F(FailureTest, AddingAReasonTwiceKeepsOneEntry) {
    failure.add(Failure::saturation);
    failure.add(Failure::saturation);
    EXPECT_EQ(entries().size(), 2U);
}

TEST_F(FailureTest, AddingAnActiveReasonKeepsItsFlag) {
    failure.set(Failure::saturation, true);
    failure.add(Failure::saturation);
    EXPECT_TRUE(failure.state(Failure::saturation));
    EXPECT_EQ(failure.str(Failure::saturation), "Saturation");
}

TEST_F(FailureTest, ANegativeReasonIsAddedWithAnEmptyText) {
    for (const Reason f : {kUnnamed, kBelowAll}) {
        failure.add(f);
        EXPECT_TRUE(failure.exists(f));
        EXPECT_EQ(failure.str(f), "");
        EXPECT_FALSE(failure.state(f));
    }
}

TEST_F(FailureTest, ANegativeReasonThatWasNotAddedIsUnknown) {
    EXPECT_EQ(failure.str(kUnnamed), "Unknown reason");
}

TEST_F(FailureTest, AddRefusesReasonsAboveTheTable) {
    EXPECT_EQ(thrown_by([&] { failure.add(Failure::current_failure); }),
              "Failure reason 3 not supported");
    EXPECT_EQ(thrown_by([&] { failure.add(static_cast<Reason>(7)); }),
              "Failure reason 7 not supported");
    EXPECT_EQ(thrown_by([&] { failure.add(kAboveAll); }),
              "Failure reason 2147483647 not supported");
}

TEST_F(FailureTest, SetRefusesReasonsAboveTheTable) {
    EXPECT_EQ(thrown_by([&] { failure.set(Failure::current_failure, true); }),
              "Failure reason 3 not supported");
    EXPECT_EQ(thrown_by([&] { failure.set(static_cast<Reason>(7), false); }),
              "Failure reason 7 not supported");
}

TEST_F(FailureTest, ARefusedReasonChangesNothing) {
    failure.set(Failure::interference, true);
    EXPECT_THROW(failure.add(static_cast<Reason>(4)), std::runtime_error);
    EXPECT_THROW(failure.set(Failure::current_failure, false), std::runtime_error);
    EXPECT_EQ(entries(), (Entries{{Failure::no_data, {"No data", false}},
                                  {Failure::interference, {"Interference", true}}}));
    EXPECT_EQ(failure.reason(Failure::current_failure), Failure::interference);
}

TEST_F(FailureTest, SetAddsAReasonThatIsNew) {
    failure.set(Failure::interference, false);
    EXPECT_TRUE(failure.exists(Failure::interference));
    EXPECT_FALSE(failure.state(Failure::interference));
}

TEST_F(FailureTest, AnActiveReasonBecomesCurrent) {
    failure.set(Failure::interference, true);
    EXPECT_EQ(failure.str(Failure::current_failure), "Interference");
    EXPECT_TRUE(failure.state(Failure::current_failure));
}

TEST_F(FailureTest, ANegativeReasonBecomesCurrentWithAnEmptyText) {
    failure.set(kUnnamed, true);
    EXPECT_EQ(failure.reason(Failure::current_failure), kUnnamed);
    EXPECT_EQ(failure.str(Failure::current_failure), "");
}

TEST_F(FailureTest, ClearingTheLastActiveReasonLeavesItCurrent) {
    failure.set(Failure::interference, true);
    failure.set(Failure::interference, false);
    EXPECT_EQ(failure.str(Failure::current_failure), "Interference");
    EXPECT_FALSE(failure.state(Failure::current_failure));
}

TEST_F(FailureTest, ClearingOneOfTwoMakesTheOtherCurrent) {
    failure.set(Failure::interference, true);
    failure.set(Failure::saturation, true);
    failure.set(failure.reason(Failure::current_failure), false);
    EXPECT_TRUE(failure.state(Failure::current_failure));
}

TEST_F(FailureTest, ReasonsStayOnceTheyWereAdded) {
    failure.set(Failure::saturation, true);
    failure.set(Failure::saturation, false);
    EXPECT_TRUE(failure.exists(Failure::saturation));
    EXPECT_EQ(failure.str(Failure::saturation), "Saturation");
}

/** Sets every reason of `order` in turn; the bits of the parameter say which become active. */
class CurrentFailureTest : public FailureTest, public testing::WithParamInterface<unsigned> {
protected:
    Reason first_active() const {
        for (auto const& [f, text_and_active] : failure) {
            if (text_and_active.second) return f;
        }
        return Failure::current_failure;
    }
};

TEST_P(CurrentFailureTest, TheFirstActiveReasonInTheOrderOfTheEntriesIsCurrent) {
    const Reason order[] = {Failure::saturation, kUnnamed, Failure::no_data, Failure::interference};
    for (unsigned i = 0; i < 4; ++i) failure.set(order[i], (GetParam() >> i & 1) != 0);
    EXPECT_EQ(failure.reason(Failure::current_failure), first_active());
}

INSTANTIATE_TEST_SUITE_P(EveryCombination, CurrentFailureTest, testing::Range(1U, 16U));

}  // namespace
