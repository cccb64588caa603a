#pragma once

#include <glib.h>

#include <memory>
#include <string>

namespace Radar {

struct KeyFileDeleter {
    void operator()(GKeyFile* file) const { g_key_file_free(file); }
};

/** A GLib key file: groups of keys and values. */
using KeyFile = std::unique_ptr<GKeyFile, KeyFileDeleter>;

/** The error slot of a GLib call: empty at first, cleared when it goes. */
class KeyFileError {
public:
    KeyFileError() = default;
    ~KeyFileError() { clear(); }
    KeyFileError(KeyFileError const&) = delete;
    KeyFileError& operator=(KeyFileError const&) = delete;

    /** For the call that may set the error. */
    GError** slot() { return &error_; }
    /** Whether an error is set. */
    explicit operator bool() const { return error_ != nullptr; }
    /** Whether an error with this code is set; its domain does not matter. */
    bool is(int code) const { return error_ != nullptr && error_->code == code; }
    /** The error's text; null when it has none, which fails the stream that it is inserted in. */
    const char* message() const { return error_ != nullptr ? error_->message : nullptr; }

    void clear() { g_clear_error(&error_); }

private:
    GError* error_ = nullptr;
};

/**
 * Codes of load and lookup errors as callers compare them. The code of a missing file is also the
 * one of a file without any group: both load as "nothing there".
 */
constexpr int kNoSuchFile = G_FILE_ERROR_NOENT;
constexpr int kNoSuchKey = G_KEY_FILE_ERROR_KEY_NOT_FOUND;
static_assert(kNoSuchFile == 4 && kNoSuchKey == 3, "GLib's error codes never change");

KeyFile make_key_file();

/** Loads `path` into `file`, without comments. Returns false with `error` set when that fails. */
bool load_key_file(KeyFile const& file, std::string const& path, KeyFileError& error);

}  // namespace Radar
