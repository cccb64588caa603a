#pragma once

#include <filesystem>
#include <string>

namespace Tools {

/** The directory that `path` names a file in; "." where it names none. */
inline std::string directory_of(std::string const& path) {
    const std::string parent = std::filesystem::path(path).parent_path().string();
    return parent.empty() ? "." : parent;
}

}  // namespace Tools
