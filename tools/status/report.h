#pragma once

#include <string>
#include <vector>

#include "tools/screen/line.h"
#include "tools/status/problems.h"

namespace Tools {

/** A status document for people. */
struct StatusReport {
    /** What the service is doing, and then the problems with what to do. */
    std::vector<ScreenLine> lines;
    /** Whether nothing is wrong. */
    bool is_healthy;
};

/**
 * Makes sense of a status document, of this version of the service or a later one; what is missing
 * in it shows as "?".
 *
 * @param source where it comes from, for messages.
 * @throws Kit::InputError with the source when it is no status document.
 */
StatusReport report_status(std::string const& source, std::string const& document);

}  // namespace Tools
