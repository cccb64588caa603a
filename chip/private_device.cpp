#include "chip/private_device.h"

#include <fcntl.h>
#include <fmt/core.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "kit/base/errno_text.h"

namespace Chip {

namespace {

namespace fs = std::filesystem;

constexpr char kDeviceName[] = "spidev0.0";
/** Where the machine's own "/dev" is seen from inside. */
constexpr char kMachineName[] = ".machine";
constexpr char kMachinePath[] = "/dev/.machine";

[[noreturn]] void fail(std::string const& what, int error = errno) {
    throw Unavailable(what + ": " + Kit::errno_text(error));
}

void write_proc(std::string const& path, std::string const& text) {
    const Kit::FileDescriptor file(open(path.c_str(), O_WRONLY | O_CLOEXEC));
    if (!file.valid()) fail("cannot open " + path);
    if (write(file.get(), text.data(), text.size()) < 0) fail("cannot write " + path);
}

/** Maps a user or group to itself. */
std::string identity(unsigned id) {
    return fmt::format("{} {} 1", id, id);
}

/** Returns whether that took a user namespace. */
bool enter_namespaces() {
    const uid_t uid = geteuid();
    const gid_t gid = getegid();
    if (uid == 0 && unshare(CLONE_NEWNS) == 0) return false;
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) fail("no mount namespace");
    write_proc("/proc/self/setgroups", "deny");
    write_proc("/proc/self/uid_map", identity(uid));
    write_proc("/proc/self/gid_map", identity(gid));
    return true;
}

void mount_at(char const* source, std::string const& target, char const* type, unsigned long flags,
              std::string const& options) {
    if (mount(source, target.c_str(), type, flags, options.c_str()) != 0) {
        fail("cannot mount " + target);
    }
}

std::vector<std::string> machine_devices() {
    std::vector<std::string> names;
    for (fs::directory_entry const& entry : fs::directory_iterator("/dev")) {
        const std::string name = entry.path().filename();
        // Ours, and what a simulated chip around this one has made.
        if (name != kDeviceName && name != kMachineName) names.push_back(name);
    }
    return names;
}

/** A copy of a mount and all below it that stands nowhere yet. */
Kit::FileDescriptor clone_mounts(std::string const& path) {
    Kit::FileDescriptor tree(
        open_tree(AT_FDCWD, path.c_str(), OPEN_TREE_CLONE | OPEN_TREE_CLOEXEC | AT_RECURSIVE));
    if (!tree.valid()) fail("cannot copy the mounts of " + path);
    return tree;
}

void place_mounts(Kit::FileDescriptor const& tree, std::string const& path) {
    if (move_mount(tree.get(), "", AT_FDCWD, path.c_str(), MOVE_MOUNT_F_EMPTY_PATH) != 0) {
        fail("cannot mount " + path);
    }
}

void cover_dev() {
    // What is mounted later on the machine is still seen here, and nothing from here there.
    mount_at(nullptr, "/", nullptr, MS_REC | MS_SLAVE, "");
    const std::vector<std::string> names = machine_devices();
    const Kit::FileDescriptor machine = clone_mounts("/dev");
    mount_at("tmpfs", "/dev", "tmpfs", MS_NOSUID | MS_NOEXEC, "mode=0755,size=1m");
    fs::create_directory(kMachinePath);
    place_mounts(machine, kMachinePath);
    for (std::string const& name : names) {
        // Links, not mounts one by one: "ptmx" finds its "pts" only beside itself.
        fs::create_symlink(fs::path(kMachinePath) / name, fs::path("/dev") / name);
    }
}

Kit::FileDescriptor open_fuse() {
    // In the namespaces, since the kernel wants both ends of the mount in one user namespace.
    Kit::FileDescriptor fuse(open("/dev/fuse", O_RDWR | O_CLOEXEC | O_NONBLOCK));
    if (!fuse.valid()) fail("cannot open /dev/fuse");
    return fuse;
}

void mount_device(int fuse) {
    std::ofstream(kDevicePath).flush();
    // The rights of the file hold, also for other users.
    const std::string options =
        fmt::format("fd={},rootmode=100600,user_id={},group_id={},default_permissions,allow_other",
                    fuse, geteuid(), getegid());
    mount_at("petrelradar-chip", kDevicePath, "fuse", MS_NOSUID | MS_NODEV, options);
}

}  // namespace

PrivateDevice mount_private_device() {
    try {
        PrivateDevice device;
        device.user_namespace = enter_namespaces();
        device.fuse = open_fuse();
        cover_dev();
        mount_device(device.fuse.get());
        return device;
    } catch (fs::filesystem_error const& problem) {
        fail("cannot lay out " + problem.path1().string(), problem.code().value());
    }
}

}  // namespace Chip
