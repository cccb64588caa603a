#pragma once

#include <string>

#include "kit/recording/files.h"

namespace Tools {

/** How far a recorder has come with a file. */
enum class FileState {
    kComplete,      // its name ends with ".data"
    kBeingWritten,  // no ".data" yet, and somebody writes it
    kUnfinished,    // no ".data", and nobody writes it any more
    kUnknown        // no recorder gave the file its name
};

/**
 * Finds out about a file. One without ".data" is being written when a process has it open for
 * writing; where the system does not tell, when it was changed within the last minute.
 */
FileState find_file_state(Kit::RecordingFile const& file);

/** The state in words that never change: "complete", "being-written", "unfinished", "unknown". */
char const* name_of(FileState state);

}  // namespace Tools
