#pragma once

namespace Tools {

/** What the program tells its caller. The numbers never change. */
enum class ExitStatus : int {
    kOk = 0,
    kFailed = 1,
    kUsage = 2,   // the command line makes no sense
    kDamaged = 3  // finished, but something was lost, skipped or damaged; standard error says what
};

}  // namespace Tools
