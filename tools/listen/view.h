#pragma once

#include <memory>
#include <string>

#include "radar_objects/radar_objects.pb.h"
#include "tools/cli/verb.h"
#include "tools/format/printer.h"
#include "tools/listen/target_table.h"

namespace Tools {

/** Where `listen` shows what it hears. One thread at a time. Throws what the output throws. */
class ListenView {
public:
    ListenView() = default;
    virtual ~ListenView() = default;
    ListenView(ListenView const&) = delete;
    ListenView& operator=(ListenView const&) = delete;

    virtual void show(RO::RadarObjects const& frame, LiveStatus const& status) = 0;

    /** Called again and again while nothing comes. */
    virtual void idle(LiveStatus const& status) = 0;

    /** Whether the user asked for the end in this view. */
    virtual bool wants_end() = 0;

    /** Tells the user that something happened, which `is_problem` or not. */
    virtual void report_event(std::string const& what, bool is_problem) = 0;
};

/** Frames on standard output in one of the formats, messages on standard error. */
std::unique_ptr<ListenView> make_plain_view(FrameFormat format, Console& console);

/** A picture in place on the terminal that standard output is; what is told is printed at the end.
 */
std::unique_ptr<ListenView> make_live_view(Console& console);

}  // namespace Tools
