#pragma once

#include <ostream>
#include <string>
#include <unordered_map>

#include "petrelradar_export.h"

namespace Radar {

/**
 * The service's table of named integer settings, a mirror of the group "Radar" of a key file:
 * lookups store their default on first use, and every change of a value rewrites the file.
 *
 * Owns the table; the file may be edited by others and is merged in by read(). No lock: one thread,
 * normally the service's main thread. No operation throws for a problem of the file: it is logged
 * at level 1, and memory and file disagree until the next write() that succeeds. Where memory runs
 * out, std::bad_alloc reaches the caller. The file should be a regular file: opening a FIFO blocks.
 */
class PETRELRADAR_API Configuration {
public:
    /**
     * The settings of this process, read from "/etc/radar/radar.conf" while the library is loaded.
     * Never null, usable from the constructor of another static object.
     */
    static Configuration* const instance;

    /** An empty table for the key file `file`, and one read() of it, whose result is ignored. */
    explicit Configuration(std::string file);

    /**
     * Merges the file's settings into the table: values in the file win, settings that only the
     * table has stay. A file without the group is like an empty one.
     *
     * @return 0; -1 when the file does not exist (not logged), when it cannot be loaded, and when a
     *         value is not an integer: the values before that one are stored then, no others.
     */
    virtual int read();

    /**
     * Writes every entry of the table into the file, creating it if need be. Other groups and keys
     * of the file are kept, comments are not.
     *
     * @return 0; -1 when the existing file cannot be loaded, which leaves it unchanged, or when it
     *         cannot be saved.
     */
    virtual int write();

    /** Frees the table. Writes nothing. */
    virtual ~Configuration();

    /** Returns the value of `key`; if it is absent, stores `def` with set() and returns that. */
    virtual int get(std::string key, int def);

    /**
     * Stores a value and calls write(), whose result is dropped. Does nothing when the value is
     * stored already; 0 counts as stored for a key that is absent, so it is entered in the table
     * but not written.
     */
    virtual void set(std::string key, int value);

    /** set() for a key that is absent; an existing value stays. */
    virtual void add(std::string key, int value);

private:
    PETRELRADAR_LOCAL static Configuration the_instance_;

    std::string path;

public:
    /** The settings, by key. Changing it directly writes nothing. */
    std::unordered_map<std::string, int> conf;
};

}  // namespace Radar

/** Prints "ConfMap:" and one line for each entry, "conf:  key: <key> = <value>". Returns `os`. */
PETRELRADAR_API std::ostream& operator<<(std::ostream& os,
                                         const std::unordered_map<std::string, int>& map);
