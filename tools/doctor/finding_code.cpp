#include "tools/doctor/finding_code.h"

#include <stdexcept>

namespace Tools {

namespace {

constexpr Severity kError = Severity::kError;
constexpr Severity kWarning = Severity::kWarning;

}  // namespace

char const* name_of(Severity severity) {
    return severity == Severity::kError ? "error" : "warning";
}

std::vector<FindingCode> const& finding_codes() {
    static const std::vector<FindingCode> codes = {
        {"empty", kError,
         "nothing can be saved; look whether the storage medium is full or failing"},
        {"short-header", kError, "no frames were recorded yet; the file can be deleted"},
        {"not-a-recording", kError,
         "look whether it is the right file; recover saves records that are inside"},
        {"unknown-version", kError,
         "read it with a later version of this program; recover saves records if the header is "
         "only damaged"},
        {"raw-data", kError,
         "raw data has no records to look at; if a recorder of frames wrote it, run recover"},
        {"wrong-tag", kError, "run recover: it goes on at the next credible record"},
        {"zeros", kError, "run recover: it leaves the zeros out"},
        {"zeroed-sector", kError,
         "run recover, which leaves the damaged record out; look whether power was cut or the "
         "storage medium is failing"},
        {"too-long", kError, "run recover: it goes on at the next credible record"},
        {"wrong-length", kError, "run recover: it goes on at the next credible record"},
        {"undecodable", kError, "run recover: it leaves the record out"},
        {"cut-short", kError, "run recover: it keeps the records before the cut"},
        {"trailing-bytes", kError, "run recover: it leaves the bytes out"},
        {"frame-count", kError,
         "run recover: it counts again; a count that is too high means that records were never "
         "stored"},
        {"unreadable", kError, "copy what can be read to another medium, and run recover on that"},
        {"second-header", kWarning, "run recover: it makes a recording of each"},
        {"foreign-frame", kWarning, "ask what has produced it: no radar does"},
        {"unfinished", kWarning, "run recover, which makes a complete recording of it"},
        {"name", kWarning, "trust the header: the file was renamed, or the clock was set"},
        {"time-back", kWarning,
         "look whether the radar's clock was set or the radar was restarted"},
        {"repeated-frame", kWarning,
         "look whether the radar, or what feeds the recorder, has hung"},
        {"gap", kWarning, "look in the service's log for what happened at that time"},
    };
    return codes;
}

FindingCode const& finding_code(std::string const& name) {
    for (FindingCode const& code : finding_codes()) {
        if (code.name == name) return code;
    }
    throw std::logic_error("no finding has the code " + name);
}

}  // namespace Tools
