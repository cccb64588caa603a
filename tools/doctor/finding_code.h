#pragma once

#include <string>
#include <vector>

namespace Tools {

/** How bad a thing is that was found. */
enum class Severity {
    kWarning,  // odd, but what was recorded is there
    kError     // frames, or what a header says, are damaged or missing
};

/** The word, which never changes: "warning" or "error". */
char const* name_of(Severity severity);

/** A kind of thing that can be the matter with a recording. */
struct FindingCode {
    char const* name;  // never changes: "cut-short"
    Severity severity;
    char const* advice;  // what to do, as a sentence without a full stop
};

/** All there are, in the order of docs/doctor.md. */
std::vector<FindingCode> const& finding_codes();

/** The code of this name, which is one. */
FindingCode const& finding_code(std::string const& name);

}  // namespace Tools
