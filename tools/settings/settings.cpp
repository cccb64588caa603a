#include "tools/settings/settings.h"

namespace Tools {

Verb settings_verb() {
    return {
        "settings",
        "Show and change the settings of the radar service",
        {{"settings list", "every setting, with its meaning, unit and default"},
         {"settings get FileWriterFileTime", "one value"},
         {"settings set FileWriterFileTime=60 FileWriterMaxFileCount=10",
          "change two values, and nothing else in the file"}},
        "The settings are integers in the group Radar of /etc/radar/radar.conf, or of the file\n"
        "given with --file. A service reads them when it starts.",
        nullptr,
        {settings_list_verb(), settings_get_verb(), settings_set_verb()}};
}

}  // namespace Tools
