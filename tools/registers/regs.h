#pragma once

#include "tools/cli/verb.h"

namespace Tools {

/** `regs`: reads and writes the registers of the chip; the verbs that it divides into. */
Verb regs_verb();

Verb regs_read_verb();
Verb regs_write_verb();
Verb regs_dump_verb();
Verb regs_watch_verb();
Verb regs_diff_verb();

}  // namespace Tools
