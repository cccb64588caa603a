#include "tests/support/system_calls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>

// The functions below take the place of libc's for the program and the libraries that it links.

namespace test_support {

namespace {

/** Constant-initialised: the libraries make system calls while they are loaded. */
std::atomic<SystemCalls*> doubles{nullptr};

/** The function that the program would call without its own. */
template <typename Function>
Function* next(char const* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

#if defined(_FILE_OFFSET_BITS) && _FILE_OFFSET_BITS == 64 && __SIZEOF_POINTER__ == 4
#define PETRELRADAR_LARGE(name) name "64"
#else
#define PETRELRADAR_LARGE(name) name
#endif

}  // namespace

SystemCalls::SystemCalls() {
    doubles = this;
}

SystemCalls::~SystemCalls() {
    doubles = nullptr;
}

int real_open(char const* path, int flags) {
    static auto* const real = next<int(char const*, int, ...)>(PETRELRADAR_LARGE("open"));
    return real(path, flags, 0666);
}

int real_close(int fd) {
    static auto* const real = next<int(int)>("close");
    return real(fd);
}

ssize_t real_read(int fd, void* bytes, size_t size) {
    static auto* const real = next<ssize_t(int, void*, size_t)>("read");
    return real(fd, bytes, size);
}

ssize_t real_write(int fd, void const* bytes, size_t size) {
    static auto* const real = next<ssize_t(int, void const*, size_t)>("write");
    return real(fd, bytes, size);
}

ssize_t real_writev(int fd, iovec const* pieces, int count) {
    static auto* const real = next<ssize_t(int, iovec const*, int)>("writev");
    return real(fd, pieces, count);
}

ssize_t real_pwrite(int fd, void const* bytes, size_t size, off64_t offset) {
    static auto* const real = next<ssize_t(int, void const*, size_t, off64_t)>("pwrite64");
    return real(fd, bytes, size, offset);
}

off64_t real_lseek(int fd, off64_t offset, int whence) {
    static auto* const real = next<off64_t(int, off64_t, int)>("lseek64");
    return real(fd, offset, whence);
}

int real_fsync(int fd) {
    static auto* const real = next<int(int)>("fsync");
    return real(fd);
}

int real_rename(char const* from, char const* to) {
    static auto* const real = next<int(char const*, char const*)>("rename");
    return real(from, to);
}

int real_unlink(char const* path) {
    static auto* const real = next<int(char const*)>("unlink");
    return real(path);
}

int real_stat(char const* path, struct stat* status) {
    static auto* const real = next<int(char const*, struct stat*)>(PETRELRADAR_LARGE("stat"));
    return real(path, status);
}

DIR* real_opendir(char const* path) {
    static auto* const real = next<DIR*(char const*)>("opendir");
    return real(path);
}

dirent* real_readdir(DIR* directory) {
    static auto* const real = next<dirent*(DIR*)>(PETRELRADAR_LARGE("readdir"));
    return real(directory);
}

int real_ioctl(int fd, unsigned long request, void* argument) {
    static auto* const real = next<int(int, unsigned long, ...)>("ioctl");
    return real(fd, request, argument);
}

int real_fcntl(int fd, int command, long argument) {
    static auto* const real = next<int(int, int, ...)>("fcntl64");
    return real(fd, command, argument);
}

int real_poll(pollfd* waits, nfds_t count, int timeout_ms) {
    static auto* const real = next<int(pollfd*, nfds_t, int)>("poll");
    return real(waits, count, timeout_ms);
}

int real_epoll_ctl(int epoll, int operation, int fd, epoll_event* event) {
    static auto* const real = next<int(int, int, int, epoll_event*)>("epoll_ctl");
    return real(epoll, operation, fd, event);
}

int real_timerfd_create(int clock, int flags) {
    static auto* const real = next<int(int, int)>("timerfd_create");
    return real(clock, flags);
}

int real_timerfd_settime(int fd, int flags, itimerspec const* setting) {
    static auto* const real =
        next<int(int, int, itimerspec const*, itimerspec*)>("timerfd_settime");
    return real(fd, flags, setting, nullptr);
}

}  // namespace test_support

using namespace test_support;  // NOLINT(google-build-using-namespace): this file is one set of
                               // doubles

#define PETRELRADAR_DOUBLE(name, ...)                                       \
    if (SystemCalls* set = doubles; set != nullptr && set->name != nullptr) \
    return set->name(__VA_ARGS__)

extern "C" {

int open(char const* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const auto mode = va_arg(arguments, mode_t);
    va_end(arguments);
    PETRELRADAR_DOUBLE(open, path, flags);
    static auto* const real = next<int(char const*, int, ...)>(PETRELRADAR_LARGE("open"));
    return real(path, flags, mode);
}

int close(int fd) {
    PETRELRADAR_DOUBLE(close, fd);
    return real_close(fd);
}

ssize_t read(int fd, void* bytes, size_t size) {
    PETRELRADAR_DOUBLE(read, fd, bytes, size);
    return real_read(fd, bytes, size);
}

ssize_t write(int fd, void const* bytes, size_t size) {
    PETRELRADAR_DOUBLE(write, fd, bytes, size);
    return real_write(fd, bytes, size);
}

ssize_t writev(int fd, iovec const* pieces, int count) {
    PETRELRADAR_DOUBLE(writev, fd, pieces, count);
    return real_writev(fd, pieces, count);
}

ssize_t pwrite(int fd, void const* bytes, size_t size, off_t offset) {
    PETRELRADAR_DOUBLE(pwrite, fd, bytes, size, offset);
    return real_pwrite(fd, bytes, size, offset);
}

off64_t lseek64(int fd, off64_t offset, int whence) noexcept {
    PETRELRADAR_DOUBLE(lseek, fd, offset, whence);
    return real_lseek(fd, offset, whence);
}

int fsync(int fd) {
    PETRELRADAR_DOUBLE(fsync, fd);
    return real_fsync(fd);
}

int rename(char const* from, char const* to) noexcept {
    PETRELRADAR_DOUBLE(rename, from, to);
    return real_rename(from, to);
}

int renameat2(int from_directory, char const* from, int to_directory, char const* to,
              unsigned flags) noexcept {
    PETRELRADAR_DOUBLE(renameat2, from, to, flags);
    static auto* const real = next<int(int, char const*, int, char const*, unsigned)>("renameat2");
    return real(from_directory, from, to_directory, to, flags);
}

int unlink(char const* path) noexcept {
    PETRELRADAR_DOUBLE(unlink, path);
    return real_unlink(path);
}

int fchown(int fd, uid_t user, gid_t group) noexcept {
    PETRELRADAR_DOUBLE(fchown, fd, user, group);
    static auto* const real = next<int(int, uid_t, gid_t)>("fchown");
    return real(fd, user, group);
}

int fchmod(int fd, mode_t mode) noexcept {
    PETRELRADAR_DOUBLE(fchmod, fd, mode);
    static auto* const real = next<int(int, mode_t)>("fchmod");
    return real(fd, mode);
}

int stat(char const* path, struct stat* status) noexcept {
    PETRELRADAR_DOUBLE(stat, path, status);
    return real_stat(path, status);
}

DIR* opendir(char const* path) {
    PETRELRADAR_DOUBLE(opendir, path);
    return real_opendir(path);
}

dirent* readdir(DIR* directory) {
    PETRELRADAR_DOUBLE(readdir, directory);
    return real_readdir(directory);
}

int ioctl(int fd, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    PETRELRADAR_DOUBLE(ioctl, fd, request, argument);
    return real_ioctl(fd, request, argument);
}

int fcntl(int fd, int command, ...) {
    va_list arguments;
    va_start(arguments, command);
    const long argument = va_arg(arguments, long);
    va_end(arguments);
    PETRELRADAR_DOUBLE(fcntl, fd, command, argument);
    return real_fcntl(fd, command, argument);
}

int socketpair(int domain, int type, int protocol, int ends[2]) noexcept {
    PETRELRADAR_DOUBLE(socketpair, domain, type, protocol, ends);
    static auto* const real = next<int(int, int, int, int*)>("socketpair");
    return real(domain, type, protocol, ends);
}

int poll(pollfd* waits, nfds_t count, int timeout_ms) {
    PETRELRADAR_DOUBLE(poll, waits, count, timeout_ms);
    return real_poll(waits, count, timeout_ms);
}

int epoll_ctl(int epoll, int operation, int fd, epoll_event* event) noexcept {
    PETRELRADAR_DOUBLE(epoll_ctl, epoll, operation, fd, event);
    return real_epoll_ctl(epoll, operation, fd, event);
}

int gettimeofday(timeval* now, void* zone) noexcept {
    PETRELRADAR_DOUBLE(gettimeofday, now);
    static auto* const real = next<int(timeval*, void*)>("gettimeofday");
    return real(now, zone);
}

time_t time(time_t* result) noexcept {
    if (SystemCalls* set = doubles; set != nullptr && set->time != nullptr) {
        const time_t now = set->time();
        if (result != nullptr) *result = now;
        return now;
    }
    static auto* const real = next<time_t(time_t*)>("time");
    return real(result);
}

int nanosleep(timespec const* duration, timespec* left) {
    PETRELRADAR_DOUBLE(nanosleep, duration);
    static auto* const real = next<int(timespec const*, timespec*)>("nanosleep");
    return real(duration, left);
}

int timerfd_create(int clock, int flags) noexcept {
    PETRELRADAR_DOUBLE(timerfd_create, clock, flags);
    return real_timerfd_create(clock, flags);
}

int timerfd_settime(int fd, int flags, itimerspec const* setting, itimerspec* old) noexcept {
    PETRELRADAR_DOUBLE(timerfd_settime, fd, flags, setting);
    static auto* const real =
        next<int(int, int, itimerspec const*, itimerspec*)>("timerfd_settime");
    return real(fd, flags, setting, old);
}
}
