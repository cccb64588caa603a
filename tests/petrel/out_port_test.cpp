#include "petrel/out_port.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace {

using TextPort = Petrel::OutPort<std::string>;

TEST(OutPortTest, HasNoValueAndNoMarkAtFirst) {
    const TextPort port;
    EXPECT_EQ(port.current(), nullptr);
    EXPECT_FALSE(port.updated());
}

TEST(OutPortTest, AnAssignmentStoresACopyAndMarksThePort) {
    TextPort port;
    std::string value = "up";
    port = value;
    value = "changed";
    ASSERT_NE(port.current(), nullptr);
    EXPECT_EQ(*port.current(), "up");
    EXPECT_TRUE(port.updated());
}

TEST(OutPortTest, AnAssignmentReturnsThePort) {
    TextPort port;
    EXPECT_EQ(&(port = std::string("up")), &port);
}

TEST(OutPortTest, TheCurrentValueStaysInItsSlot) {
    TextPort port;
    port = std::string("first");
    std::string const* slot = port.current();
    port = std::string("second");
    EXPECT_EQ(port.current(), slot);
    EXPECT_EQ(*slot, "second");
}

TEST(OutPortTest, ItsOwnValueCanBeAssigned) {
    TextPort port;
    port = std::string("same");
    port = *port.current();
    EXPECT_EQ(*port.current(), "same");
}

TEST(OutPortTest, AnAcknowledgementClearsTheMarkAndKeepsTheValue) {
    TextPort port;
    port = std::string("up");
    port.acknowledge();
    EXPECT_FALSE(port.updated());
    EXPECT_EQ(*port.current(), "up");
}

TEST(OutPortTest, TheSameValueMarksThePortAgain) {
    TextPort port;
    port = std::string("up");
    port.acknowledge();
    port = std::string("up");
    EXPECT_TRUE(port.updated());
}

TEST(OutPortTest, AnAcknowledgementBeforeTheFirstValueDoesNothing) {
    TextPort port;
    port.acknowledge();
    EXPECT_FALSE(port.updated());
    EXPECT_EQ(port.current(), nullptr);
}

TEST(OutPortTest, IsNeitherCopiedNorMoved) {
    EXPECT_FALSE(std::is_copy_constructible<TextPort>::value);
    EXPECT_FALSE(std::is_move_constructible<TextPort>::value);
    EXPECT_FALSE((std::is_assignable<TextPort&, TextPort const&>::value));
}

}  // namespace
