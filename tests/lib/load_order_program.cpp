// Writes what is built while the library is loaded, what a program can use meanwhile, and what is
// destroyed when it is unloaded: one line for each event.

#include <dlfcn.h>
#include <fcntl.h>
#include <google/protobuf/descriptor.h>
#include <google/protobuf/descriptor.pb.h>
#include <google/protobuf/descriptor_database.h>
#include <unistd.h>

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "config/analytics.h"
#include "config/configuration.h"
#include "petrel/logger.h"
#include "radar/radar_status_interface.h"

namespace {

/** Straight to the descriptor: nothing of the program is built yet when the first events come. */
void report(std::string const& line) {
    const std::string whole = line + "\n";
    if (write(STDOUT_FILENO, whole.data(), whole.size()) < 0) _exit(2);
}

template <typename Function>
Function* next(char const* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

bool is(void (*destructor)(void*), char const* symbol) {
    return reinterpret_cast<void*>(destructor) == dlsym(RTLD_DEFAULT, symbol);
}

/** Whether the object is in the library and does not come from a foreign header. */
bool is_the_library_s_own(void* object, void (*destructor)(void*)) {
    Dl_info place = {};
    if (dladdr(object, &place) == 0) return false;
    if (std::strstr(place.dli_fname, "libpetrelradar-shared") == nullptr) return false;
    // The standard streams' counters, and the empty frame and target of the generated code, which
    // are constants whose destruction does nothing.
    const bool is_default_message =
        place.dli_sname != nullptr && std::strncmp(place.dli_sname, "_ZN2RO", 6) == 0;
    return !is_default_message && !is(destructor, "_ZNSt8ios_base4InitD1Ev");
}

/**
 * Whether the object is a text. With hardened containers its destructor is a copy in the library,
 * which has no name, so that a text is known by its layout: it points into itself when it is short.
 */
bool is_text(void* object, void (*destructor)(void*)) {
    if (is(destructor, "_ZNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEED1Ev")) return true;
    struct {
        char const* data;
        std::size_t size;
        char own_bytes[16];  // the capacity, when they are not the text
    } text = {};
    static_assert(sizeof(text) == sizeof(std::string));
    std::memcpy(&text, object, sizeof(text));
    if (text.data == static_cast<char*>(object) + offsetof(decltype(text), own_bytes)) {
        return text.size < sizeof(text.own_bytes);
    }
    std::size_t capacity = 0;
    std::memcpy(&capacity, text.own_bytes, sizeof(capacity));
    return text.data != nullptr && text.size > 0 && text.size <= capacity &&
           text.data[text.size] == '\0';
}

/** What the library's static object is; empty for objects of others. */
std::string name_of(void* object, void (*destructor)(void*)) {
    if (object == Radar::RadarStatusInterface::instance) return "registry";
    if (object == Radar::Configuration::instance) return "settings";
    if (!is_the_library_s_own(object, destructor)) return "";
    if (is_text(object, destructor)) return "text " + *static_cast<std::string*>(object);
    return "unexpected object";
}

/** A static object of the library whose destruction is to be reported. */
struct Registered {
    std::string name;
    void* object;
    void (*destructor)(void*);
};

void destroy(void* registered) {
    auto* const entry = static_cast<Registered*>(registered);
    report("destroy " + entry->name);
    entry->destructor(entry->object);
    delete entry;
}

bool frame_is_described() {
    google::protobuf::FileDescriptorProto file;
    return google::protobuf::DescriptorPool::internal_generated_database()->FindFileByName(
        "radar_objects.proto", &file);
}

/** What the library answers at this moment. */
std::string state() {
    return std::to_string(Radar::RadarStatusInterface::instance->get_radar_status().size()) +
           " status items, height " + std::to_string(get_height()) + ", frames " +
           (frame_is_described() ? "described" : "not described");
}

void report_open(char const* path) {
    if (std::strcmp(path, "/etc/radar/radar.conf") == 0) report("open radar.conf");
}

// With large files on 32 bits, what is written "open" is the function open64.
#ifdef __USE_FILE_OFFSET64
constexpr char kOpen[] = "open64";
#else
constexpr char kOpen[] = "open";
#endif

int forward_open(char const* name, char const* path, int flags, mode_t mode) {
    report_open(path);
    return next<int(char const*, int, ...)>(name)(path, flags, mode);
}

/** Reports when the registry destroys it. */
struct ReportsDestruction {
    ReportsDestruction() = default;
    ReportsDestruction(ReportsDestruction const&) = delete;
    ReportsDestruction& operator=(ReportsDestruction const&) = delete;
    ~ReportsDestruction() { report("callback destroyed"); }
};

/** A static object of the program, built before all its others. */
struct EarlyObject {
    EarlyObject() {
        auto const reporter = std::make_shared<ReportsDestruction>();
        Radar::RadarStatusInterface::instance->set_radar_status_callback(
            "early", [reporter] { return "here"; });
        report("program: " + state() + ", range " +
               std::to_string(Radar::Configuration::instance->get("range", 0)));
    }
};
__attribute__((init_priority(101))) EarlyObject early_object;

}  // namespace

extern "C" {

void logger(int level, const char* format, ...) {
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    std::string line(text);
    if (!line.empty() && line.back() == '\n') line.pop_back();
    report("logger: [" + std::to_string(level) + "] " + line);
    report("logger: " + state());
}

int open(char const* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const auto mode = va_arg(arguments, mode_t);
    va_end(arguments);
    return forward_open(kOpen, path, flags, mode);
}

#ifndef __USE_FILE_OFFSET64
int open64(char const* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const auto mode = va_arg(arguments, mode_t);
    va_end(arguments);
    return forward_open("open64", path, flags, mode);
}
#endif

int __cxa_atexit(void (*destructor)(void*), void* object, void* library) noexcept {
    static auto* const real = next<int(void (*)(void*), void*, void*)>("__cxa_atexit");
    const std::string name = name_of(object, destructor);
    if (name.empty()) return real(destructor, object, library);
    report("built " + name);
    return real(destroy, new Registered{name, object, destructor}, library);
}

#ifdef __ARM_EABI__
int __aeabi_atexit(void* object, void (*destructor)(void*), void* library) noexcept {
    return __cxa_atexit(destructor, object, library);
}
#endif
}

int main() {
    report("main: " + state());
}
