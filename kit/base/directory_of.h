#pragma once

#include <filesystem>
#include <string>

namespace Kit {

/** The directory in which `path` names a file: "a" for "a/b", "." for "b". Any thread. */
inline std::string directory_of(std::string const& path) {
    const std::string parent = std::filesystem::path(path).parent_path().string();
    return parent.empty() ? "." : parent;
}

}  // namespace Kit
