#pragma once

#include <string>
#include <vector>

namespace Tools {

/** What can be printed of a frame. */
enum class FrameField { kFrameIndex, kMagic, kTimestamp, kRcs, kR, kRdot, kTheta, kOptions, kSnr };

/** Whether a field is one of each target's, not one of the frame's. */
bool is_of_target(FrameField field);

/** The field's name in --fields, which it also has where frames are printed. */
char const* name_of(FrameField field);

/**
 * Reads what --fields lists, "r,rdot,snr" for example; "timestamp_us" is another word for
 * "timestamp".
 *
 * @throws Kit::UsageError when a word is no field, or stands there twice.
 */
std::vector<FrameField> parse_fields(std::string const& text);

}  // namespace Tools
