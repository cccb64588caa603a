#include "tools/registers/regs.h"

namespace Tools {

Verb regs_verb() {
    return {"regs",
            "Read and write the registers of the radar chip",
            {{"regs read control", "a register of the chip and its fields"},
             {"regs write control.frame_rate=30 --verify", "a field, and look whether it took it"},
             {"regs dump > before.txt", "every register, for a later comparison"},
             {"regs watch control status", "what changes, as it does"},
             {"regs diff before.txt", "what has changed since that dump"}},
            "The chip is behind /dev/spidev0.0. A map file names its registers; that of the demo\n"
            "chip is found by itself. 'petrelradar regs read --help' tells about one verb.",
            nullptr,
            {regs_read_verb(), regs_write_verb(), regs_dump_verb(), regs_watch_verb(),
             regs_diff_verb()}};
}

}  // namespace Tools
