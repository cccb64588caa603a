#pragma once

#include <string>

#include "tools/cli/source_name.h"
#include "tools/inspect/survey.h"

namespace Tools {

/** What `info` prints for people. */
std::string info_text(SourceName const& source, SourceSurvey const& survey);

/** What `info --format json` prints; docs/command-line.md describes it. */
std::string info_json(SourceName const& source, SourceSurvey const& survey, bool interrupted);

}  // namespace Tools
