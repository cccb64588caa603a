#include "lib/config/glib_calls.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <memory>

namespace test_support {

namespace {

KeyFileCalls* doubles = nullptr;

template <typename Function>
Function* next(char const* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/** Loads the file, if it loads, and lets `read` run into an error; returns the error's text. */
template <typename Read>
std::string error_of(std::string const& path, Read const& read) {
    const std::unique_ptr<GKeyFile, void (*)(GKeyFile*)> file(g_key_file_new(), g_key_file_free);
    GError* error = nullptr;
    if (g_key_file_load_from_file(file.get(), path.c_str(), G_KEY_FILE_NONE, &error) != FALSE) {
        read(file.get(), &error);
    }
    EXPECT_NE(error, nullptr) << path << " is in order";
    const std::string text = error != nullptr ? error->message : "";
    g_clear_error(&error);
    return text;
}

}  // namespace

KeyFileCalls::KeyFileCalls() {
    doubles = this;
}

KeyFileCalls::~KeyFileCalls() {
    doubles = nullptr;
}

std::string load_error_of(std::string const& path) {
    return error_of(path, [](GKeyFile*, GError**) {});
}

std::string integer_error_of(std::string const& path, std::string const& group,
                             std::string const& key) {
    return error_of(path, [&](GKeyFile* file, GError** error) {
        g_key_file_get_integer(file, group.c_str(), key.c_str(), error);
    });
}

std::string double_error_of(std::string const& path, std::string const& group,
                            std::string const& key) {
    return error_of(path, [&](GKeyFile* file, GError** error) {
        g_key_file_get_double(file, group.c_str(), key.c_str(), error);
    });
}

std::string text_error_of(std::string const& path, std::string const& group,
                          std::string const& key) {
    return error_of(path, [&](GKeyFile* file, GError** error) {
        g_free(g_key_file_get_string(file, group.c_str(), key.c_str(), error));
    });
}

}  // namespace test_support

using test_support::doubles;

gboolean g_key_file_load_from_file(GKeyFile* file, const gchar* path, GKeyFileFlags flags,
                                   GError** error) {
    if (doubles != nullptr && doubles->load) return doubles->load(error);
    static auto* const real =
        test_support::next<decltype(g_key_file_load_from_file)>("g_key_file_load_from_file");
    return real(file, path, flags, error);
}

gboolean g_key_file_save_to_file(GKeyFile* file, const gchar* path, GError** error) {
    if (doubles != nullptr && doubles->save) return doubles->save(error);
    static auto* const real =
        test_support::next<decltype(g_key_file_save_to_file)>("g_key_file_save_to_file");
    return real(file, path, error);
}
