#include "tools/input/frame_input.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "tests/tools/input/scripted_input.h"

namespace Tools {
namespace {

using Script = ScriptedInput;

TEST(FrameInputTest, EveryKindOfItemReachesItsFunction) {
    Script input({Script::file("a.data"), Script::header(), Script::frame(7),
                  Script::finding(Kit::FindingKind::kZeros, 40, "zeros"), Script::note("by hand")});
    ItemLines lines;
    read_all(input, lines);
    EXPECT_EQ(lines.text, "file a.data\nheader\nframe 0 at 7\nfinding zeros\nnote by hand\n");
}

TEST(FrameInputTest, NextDeliversExactlyOneItem) {
    Script input({Script::file("a.data"), Script::frame(1), Script::frame(2)});
    ItemLines lines;
    ASSERT_TRUE(input.next(lines));
    ASSERT_TRUE(input.next(lines));
    EXPECT_EQ(lines.text, "file a.data\nframe 0 at 1\n");
    EXPECT_EQ(input.left(), 1u);
}

TEST(FrameInputTest, NextIsFalseAtTheEndAndDeliversNothing) {
    Script input({});
    ItemLines lines;
    EXPECT_FALSE(input.next(lines));
    EXPECT_EQ(lines.text, "");
}

TEST(FrameInputTest, FramesThatAreNotSelectedArePassedOverAndCounted) {
    SelectionOptions selection;
    selection.frames = "1-2";
    Script input({Script::frame(10), Script::note("a"), Script::frame(20), Script::frame(30)},
                 selection);
    ItemLines lines;
    read_all(input, lines);
    EXPECT_EQ(lines.text, "note a\nframe 1 at 20\nframe 2 at 30\n");
}

TEST(FrameInputTest, TheEndOfTheSelectionIsTheEndOfTheInput) {
    SelectionOptions selection;
    selection.frames = "0-0";
    Script input({Script::frame(10), Script::frame(20), Script::note("not read")}, selection);
    ItemLines lines;
    read_all(input, lines);
    EXPECT_FALSE(input.next(lines));
    EXPECT_EQ(lines.text, "frame 0 at 10\n");
    EXPECT_EQ(input.left(), 1u);
}

TEST(FrameInputTest, WhatAHandlerThrowsReachesTheCaller) {
    class Refusing : public ItemLines {
        void on_header(Kit::RecordingHeader const&) override { throw std::runtime_error("full"); }
    };
    Script input({Script::header(), Script::frame(1)});
    Refusing handler;
    EXPECT_THROW(input.next(handler), std::runtime_error);
    EXPECT_TRUE(input.next(handler));  // the frame
}

}  // namespace
}  // namespace Tools
