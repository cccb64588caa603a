#pragma once

#include <string>

#include "kit/base/durable_file.h"

namespace Tools {

/**
 * The file that a verb writes, which appears whole under its name or not at all. It is what the
 * user named: behind a symbolic link, the file that the link leads to.
 */
class OutputFile : public Kit::DurableFile {
public:
    /**
     * Begins to write the file `path`.
     *
     * @param force whether it may replace an existing file.
     * @throws Kit::Error when the file exists and may not be replaced, is no regular file, or
     *         cannot be created in its directory.
     */
    OutputFile(std::string const& path, bool force);
};

/**
 * @throws Kit::Error when `output` is the same file as `input`, or a link to it: an input is never
 *         changed, also with --force.
 */
void refuse_same_file(std::string const& input, std::string const& output);

}  // namespace Tools
