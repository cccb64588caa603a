#pragma once

#include <sys/stat.h>

#include <string>

#include "tools/settings/text.h"

namespace Tools {

/** Where the service and the library have their settings. */
constexpr char kDefaultSettingsFile[] = "/etc/radar/radar.conf";

/**
 * A settings file, and its text, which may be edited before it is saved. A symbolic link stays one;
 * the file behind it is meant. One thread at a time.
 */
class SettingsFile {
public:
    /**
     * Reads the file; one that does not exist is empty. Never waits, as reading a FIFO would.
     *
     * @throws Kit::InputError with the path and the reason when it is no regular file, is a
     *         symbolic link to nothing, or cannot be read, and as SettingsText.
     */
    explicit SettingsFile(std::string const& path);

    bool exists() const { return is_there_; }
    SettingsText& text() { return content_; }
    SettingsText const& text() const { return content_; }

    /**
     * Puts the text in the place of the file, which keeps its mode and owner. At every moment the
     * path names the whole old file or the whole new one. Before that, the library's own
     * Radar::Configuration has to find in it exactly the values that are meant.
     *
     * @throws Kit::Error with the path and the reason, for instance that somebody else has changed
     *         the file meanwhile; then it is as it was, unless the message says that it was
     *         written, but not flushed to storage.
     */
    void save() const;

private:
    void check_unchanged() const;
    [[noreturn]] void fail(std::string const& reason) const;

    std::string name_;       // as it was given
    std::string real_path_;  // behind symbolic links
    struct stat before_ = {};
    bool is_there_ = false;
    SettingsText content_;
};

}  // namespace Tools
