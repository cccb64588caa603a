#include "tests/support/private_paths.h"

#include <dirent.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <stdexcept>
#include <vector>

namespace test_support {

namespace {

namespace fs = std::filesystem;

/** Set in the program that was started again: empty, or why its paths are not private. */
constexpr char kVariable[] = "PETRELRADAR_TEST_PATHS";

/** Whether this program runs in an emulator, which starts none but the machine's own programs. */
bool emulated = false;

/** The machine's root, by a name that an emulator with a root of its own leaves alone. */
constexpr char kMachine[] = "/proc/self/root";

[[noreturn]] void fail(std::string const& what) {
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

void write_proc(char const* path, std::string const& text) {
    std::ofstream file(path);
    file << text << std::flush;
    if (!file) fail(std::string("cannot write ") + path);
}

void enter_namespaces() {
    const uid_t uid = geteuid();
    const gid_t gid = getegid();
    if (uid == 0 && unshare(CLONE_NEWNS) == 0) return;
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) fail("no mount namespace");
    write_proc("/proc/self/setgroups", "deny");
    write_proc("/proc/self/uid_map", "0 " + std::to_string(uid) + " 1");
    write_proc("/proc/self/gid_map", "0 " + std::to_string(gid) + " 1");
}

void mount_at(char const* source, fs::path const& target, char const* type, unsigned long flags) {
    if (mount(source, target.c_str(), type, flags, nullptr) != 0) {
        fail("cannot mount " + target.string());
    }
}

void bind_mount(fs::path const& source, fs::path const& target) {
    mount_at(source.c_str(), target, nullptr, MS_BIND | MS_REC);
}

/** Makes the new directory show what `original` holds, but for the names in `except`. */
void link_entries(fs::path const& original, fs::path const& link_target, fs::path const& directory,
                  std::set<std::string> const& except) {
    for (fs::directory_entry const& entry : fs::directory_iterator(original)) {
        const std::string name = entry.path().filename();
        if (except.count(name) == 0) fs::create_symlink(link_target / name, directory / name);
    }
}

/** A private directory in place of /`name`, whose entries lead to the machine's own. */
void make_linked_directory(fs::path const& root, std::string const& name,
                           std::set<std::string> const& except) {
    const fs::path kept = "." + name;
    fs::create_directory(root / kept);
    fs::create_directory(root / name);
    bind_mount("/" + name, root / kept);
    link_entries(kMachine / fs::path(name), "/" / kept, root / name, except);
}

/** Keeps `path` where it is when it lies in a directory that has become private. */
void keep(fs::path const& root, fs::path const& path) {
    if (path.string().rfind("/tmp/", 0) != 0) return;
    const fs::path target = root / path.relative_path();
    fs::create_directories(target);
    bind_mount(path, target);
}

void fill_root(fs::path const& root) {
    for (fs::directory_entry const& entry : fs::directory_iterator(kMachine)) {
        const fs::path name = entry.path().filename();
        if (name == "tmp" || name == "etc" || name == "var" || name == "dev") continue;
        if (entry.is_symlink()) {
            fs::copy_symlink(entry.path(), root / name);
        } else if (entry.is_directory() && "/" / name != root) {
            fs::create_directory(root / name);
            bind_mount("/" / name, root / name);
        }
    }
    make_linked_directory(root, "dev", {"spidev0.0"});
    make_linked_directory(root, "etc", {"radar"});
    fs::create_directory(root / "etc/radar");
    make_linked_directory(root, "var", {"spool"});
    fs::create_directories(root / "var/spool/storage/SD_DISK");
    if (fs::exists("/var/spool")) {
        link_entries(fs::path(kMachine) / "var/spool", "/.var/spool", root / "var/spool",
                     {"storage"});
    }
    fs::create_directory(root / "tmp");
    fs::permissions(root / "tmp", fs::perms::all | fs::perms::sticky_bit);
    keep(root, PETRELRADAR_SOURCE_DIR);
    keep(root, PETRELRADAR_BINARY_DIR);
}

void enter_root(fs::path const& root) {
    const fs::path working_directory = fs::current_path();
    if (chdir(root.c_str()) != 0) fail("cannot enter " + root.string());
    if (syscall(SYS_pivot_root, ".", ".") == 0) {
        if (umount2(".", MNT_DETACH) != 0) fail("cannot leave the old root");
    } else if (chroot(".") != 0) {
        fail("cannot change the root");
    }
    if (chdir(working_directory.c_str()) != 0 && chdir("/") != 0) fail("cannot enter /");
}

void make_paths_private() {
    // Any directory that every machine has; nothing of it changes outside the namespace.
    const fs::path root = fs::is_directory("/mnt") ? "/mnt" : "/srv";
    enter_namespaces();
    mount_at(nullptr, "/", nullptr, MS_REC | MS_PRIVATE);
    mount_at("tmpfs", root, "tmpfs", 0);
    fill_root(root);
    enter_root(root);
}

}  // namespace

void restart_with_private_paths(char** argv) {
    if (std::getenv(kVariable) != nullptr) return;
    try {
        make_paths_private();
        setenv(kVariable, "", 1);
        // Returns only where programs are emulated; the paths are private from here on all the
        // same.
        execv("/proc/self/exe", argv);
        emulated = true;
    } catch (std::exception const& problem) {
        setenv(kVariable, problem.what(), 1);
    }
}

std::string private_paths_problem() {
    const char* problem = std::getenv(kVariable);
    return problem != nullptr ? problem : "the paths were not made private";
}

bool can_start_itself() {
    return !emulated;
}

void write_file(std::string const& path, std::string const& content) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << content << std::flush;
    if (!file) throw std::runtime_error("cannot write " + path);
}

std::string read_file(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << "cannot read " << path;
    return std::string(std::istreambuf_iterator<char>(file), {});
}

bool leads_to_the_build(std::string const& path) {
    const std::string below = path + "/";
    const auto holds = [&](char const* folder) {
        return (std::string(folder) + "/").rfind(below, 0) == 0;
    };
    return holds(PETRELRADAR_SOURCE_DIR) || holds(PETRELRADAR_BINARY_DIR);
}

std::vector<std::string> list_directory(std::string const& path) {
    std::error_code none;
    std::set<std::string> names;
    for (fs::directory_entry const& entry : fs::directory_iterator(path, none)) {
        if (!leads_to_the_build(entry.path())) names.insert(entry.path().filename());
    }
    return {names.begin(), names.end()};
}

}  // namespace test_support
