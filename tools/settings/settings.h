#pragma once

#include "tools/cli/verb.h"

namespace Tools {

/** `settings`: shows and changes the service's integer settings; the verbs that it divides into. */
Verb settings_verb();

Verb settings_list_verb();
Verb settings_get_verb();
Verb settings_set_verb();

}  // namespace Tools
