#pragma once

#include <glib.h>

#include <functional>
#include <string>

namespace test_support {

/**
 * Doubles for GLib's loading and saving of a key file: while an object of this class lives, a call
 * whose double is set goes to it. One object at a time, and one thread.
 */
class KeyFileCalls {
public:
    KeyFileCalls();
    ~KeyFileCalls();
    KeyFileCalls(KeyFileCalls const&) = delete;
    KeyFileCalls& operator=(KeyFileCalls const&) = delete;

    std::function<gboolean(GError** error)> load;
    std::function<gboolean(GError** error)> save;
};

/** A double that fails with an error that has a code and no text. */
inline auto fails_without_message(int code) {
    return [code](GError** error) {
        *error = g_error_new_literal(G_FILE_ERROR, code, "");
        g_free((*error)->message);
        (*error)->message = nullptr;
        return FALSE;
    };
}

/** The text of the error with which GLib refuses to load the file at `path`. */
std::string load_error_of(std::string const& path);

/** The text of the error with which GLib refuses to read `key` as an integer. */
std::string integer_error_of(std::string const& path, std::string const& group,
                             std::string const& key);

/** The text of the error with which GLib refuses to read `key` as a double. */
std::string double_error_of(std::string const& path, std::string const& group,
                            std::string const& key);

/** The text of the error with which GLib refuses to read `key` as a text. */
std::string text_error_of(std::string const& path, std::string const& group,
                          std::string const& key);

}  // namespace test_support
