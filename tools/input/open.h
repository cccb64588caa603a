#pragma once

#include <memory>

#include "tools/input/frame_input.h"
#include "tools/input/source_options.h"

namespace Tools {

/**
 * Opens a source. With a selection that counts from the last frame's time, looks for that first.
 *
 * @throws Kit::InputError when it cannot be opened, holds no recording or those of several
 *         recorders; Kit::UsageError when options make no sense with this source.
 */
std::unique_ptr<FrameInput> open_frame_input(SourceOptions const& options);

}  // namespace Tools
