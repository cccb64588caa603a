#include "config/key_file.h"

namespace Radar {

KeyFile make_key_file() {
    return KeyFile(g_key_file_new());
}

bool load_key_file(KeyFile const& file, std::string const& path, KeyFileError& error) {
    return g_key_file_load_from_file(file.get(), path.c_str(), G_KEY_FILE_NONE, error.slot()) !=
           FALSE;
}

}  // namespace Radar
