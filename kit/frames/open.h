#pragma once

#include <memory>
#include <string>

#include "kit/frames/source.h"

namespace Kit {

/**
 * Opens the source of frames that `input` names: "scene" or "scene:SEED", or the path of a
 * detection log (CSV) or of a recording, told apart by their first bytes, or of a directory with
 * the recordings of one recorder. "-" is standard input, a log or a recording. Any thread.
 *
 * @throws InputError when it cannot be opened or is neither.
 */
std::unique_ptr<FrameSource> open_frame_source(std::string const& input);

}  // namespace Kit
