#pragma once

#include <string>

#include "petrelradar_export.h"

/**
 * The sensor's mounting and detection settings, from the group "ANALYTICS" of
 * "/etc/radar/analytics.conf". Each call reads the whole file again. Any thread; nothing throws.
 * A missing file is silent; other problems are logged at level 1.
 */

/**
 * Returns the detection sensitivity: "low" is 0, "medium" 1, "high" 2, any other word 1. Returns 1
 * when the file does not exist or cannot be read, but 0 when it lacks "detection_sensitivity".
 */
PETRELRADAR_API int get_sensitivity();

/** Returns "mounting_height" unchanged, in the file's own unit; 0.0 when it cannot be read. */
PETRELRADAR_API double get_height();

/** Returns "mounting_tilt" unchanged, in the file's own unit; 0.0 when it cannot be read. */
PETRELRADAR_API double get_tilt();

/**
 * Returns whether `path` names an object of the file system, of any kind, after following symbolic
 * links. False for an empty path. Any thread; nothing throws.
 */
PETRELRADAR_API bool file_exist(std::string path);
