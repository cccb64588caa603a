#pragma once

#include <glib.h>

#include <memory>

namespace Kit {

/** Frees what GLib gives to its caller. */
struct GLibDeleter {
    void operator()(GKeyFile* file) const { g_key_file_free(file); }
    void operator()(GError* error) const { g_error_free(error); }
    void operator()(gchar** texts) const { g_strfreev(texts); }
};

/** Owners of a key file, of an error, and of a list of texts that ends with null. */
using KeyFilePointer = std::unique_ptr<GKeyFile, GLibDeleter>;
using GLibErrorPointer = std::unique_ptr<GError, GLibDeleter>;
using TextListPointer = std::unique_ptr<gchar*, GLibDeleter>;

}  // namespace Kit
