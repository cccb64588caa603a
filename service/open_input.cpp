#include "service/open_input.h"

#include "service/chip_reader.h"
#include "service/replay_input.h"

namespace Service {

std::unique_ptr<Input> open_input(Options const& options) {
    if (options.input == "chip") return std::make_unique<ChipReader>(options);
    return std::make_unique<ReplayInput>(options);
}

}  // namespace Service
