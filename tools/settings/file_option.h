#pragma once

#include <string>

#include "tools/cli/verb.h"
#include "tools/settings/file.h"

namespace Tools {

class OptionParser;

/** Adds --file, which is empty for the service's own. */
void add_settings_file(OptionParser& parser, std::string& file);

/**
 * Reads the settings to show them; says so on `messages` when there is no file, and for every
 * setting that is there more than once.
 *
 * @throws Kit::InputError as SettingsFile, when a value is no integer, and when there is no file
 *         of the name that was given.
 */
SettingsText load_settings(std::string const& file, Messages const& messages);

}  // namespace Tools
