#pragma once

#include <memory>

#include "service/command_line.h"
#include "service/input.h"

namespace Service {

/**
 * Opens the input that `options` name.
 *
 * @throws Kit::InputError when it cannot be opened, has no frame, or is damaged where it begins.
 */
std::unique_ptr<Input> open_input(Options const& options);

}  // namespace Service
