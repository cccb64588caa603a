#pragma once

#include <dirent.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/timerfd.h>
#include <sys/uio.h>

#include <cerrno>
#include <ctime>
#include <functional>

namespace test_support {

/**
 * Doubles for the system calls of the libraries: while an object of this class lives, a call whose
 * double is set goes to the double, all others to the system. One object at a time. Doubles are
 * called on the calling thread and may call the system themselves through real_*.
 */
class SystemCalls {
public:
    SystemCalls();
    ~SystemCalls();
    SystemCalls(SystemCalls const&) = delete;
    SystemCalls& operator=(SystemCalls const&) = delete;

    std::function<int(char const* path, int flags)> open;
    std::function<int(int fd)> close;
    std::function<ssize_t(int fd, void* bytes, size_t size)> read;
    std::function<ssize_t(int fd, void const* bytes, size_t size)> write;
    std::function<ssize_t(int fd, iovec const* pieces, int count)> writev;
    std::function<ssize_t(int fd, void const* bytes, size_t size, off64_t offset)> pwrite;
    std::function<off64_t(int fd, off64_t offset, int whence)> lseek;
    std::function<int(int fd)> fsync;
    std::function<int(char const* from, char const* to)> rename;
    std::function<int(char const* from, char const* to, unsigned flags)> renameat2;
    std::function<int(char const* path)> unlink;
    std::function<int(int fd, uid_t user, gid_t group)> fchown;
    std::function<int(int fd, mode_t mode)> fchmod;
    std::function<int(char const* path, struct stat* status)> stat;
    std::function<DIR*(char const* path)> opendir;
    std::function<dirent*(DIR* directory)> readdir;
    std::function<int(int fd, unsigned long request, void* argument)> ioctl;
    std::function<int(int fd, int command, long argument)> fcntl;
    std::function<int(int domain, int type, int protocol, int ends[2])> socketpair;
    std::function<int(pollfd* waits, nfds_t count, int timeout_ms)> poll;
    std::function<int(int epoll, int operation, int fd, epoll_event* event)> epoll_ctl;
    std::function<int(timeval* now)> gettimeofday;
    std::function<time_t()> time;
    std::function<int(timespec const* time)> nanosleep;
    std::function<int(int clock, int flags)> timerfd_create;
    std::function<int(int fd, int flags, itimerspec const* setting)> timerfd_settime;
};

int real_open(char const* path, int flags);
int real_close(int fd);
ssize_t real_read(int fd, void* bytes, size_t size);
ssize_t real_write(int fd, void const* bytes, size_t size);
ssize_t real_writev(int fd, iovec const* pieces, int count);
ssize_t real_pwrite(int fd, void const* bytes, size_t size, off64_t offset);
off64_t real_lseek(int fd, off64_t offset, int whence);
int real_fsync(int fd);
int real_rename(char const* from, char const* to);
int real_unlink(char const* path);
int real_stat(char const* path, struct stat* status);
DIR* real_opendir(char const* path);
dirent* real_readdir(DIR* directory);
int real_ioctl(int fd, unsigned long request, void* argument);
int real_fcntl(int fd, int command, long argument);
int real_poll(pollfd* waits, nfds_t count, int timeout_ms);
int real_epoll_ctl(int epoll, int operation, int fd, epoll_event* event);
int real_timerfd_create(int clock, int flags);
int real_timerfd_settime(int fd, int flags, itimerspec const* setting);

/** A double that fails with `error` every time, for calls that return a number. */
inline auto fails_with(int error) {
    return [error](auto&&...) {
        errno = error;
        return -1;
    };
}

}  // namespace test_support
