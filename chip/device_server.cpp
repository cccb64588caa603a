#include "chip/device_server.h"

#define FUSE_USE_VERSION 35
#include <fuse_lowlevel.h>
#include <poll.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <future>
#include <string>

#include "kit/base/errno_text.h"
#include "kit/base/error.h"

namespace Chip {

namespace {

/** The answers about the file never change, so the kernel may keep them this long, in s. */
constexpr double kAttributeSeconds = 3600;

Spidev& device_of(fuse_req_t request) {
    return *static_cast<Spidev*>(fuse_req_userdata(request));
}

struct stat attributes() {
    struct stat status = {};
    status.st_ino = FUSE_ROOT_ID;
    status.st_mode = S_IFREG | S_IRUSR | S_IWUSR;
    status.st_nlink = 1;
    status.st_uid = geteuid();
    status.st_gid = getegid();
    return status;
}

void reply_attributes(fuse_req_t request) {
    const struct stat status = attributes();
    fuse_reply_attr(request, &status, kAttributeSeconds);
}

void on_getattr(fuse_req_t request, fuse_ino_t, fuse_file_info*) {
    reply_attributes(request);
}

void on_setattr(fuse_req_t request, fuse_ino_t, struct stat*, int changes, fuse_file_info*) {
    // A shell truncates what it redirects to; a device takes no notice.
    const int harmless = FUSE_SET_ATTR_SIZE | FUSE_SET_ATTR_ATIME | FUSE_SET_ATTR_MTIME |
                         FUSE_SET_ATTR_CTIME | FUSE_SET_ATTR_ATIME_NOW | FUSE_SET_ATTR_MTIME_NOW;
    if ((changes & ~harmless) != 0) {
        fuse_reply_err(request, EPERM);
        return;
    }
    reply_attributes(request);
}

void on_open(fuse_req_t request, fuse_ino_t, fuse_file_info* file) {
    file->direct_io = 1;
    file->nonseekable = 1;
    fuse_reply_open(request, file);
}

void on_read(fuse_req_t request, fuse_ino_t, size_t size, off_t, fuse_file_info*) {
    if (size > Spidev::kBufferSize) {
        fuse_reply_err(request, EMSGSIZE);
        return;
    }
    const std::vector<uint8_t> bytes = device_of(request).read(size);
    fuse_reply_buf(request, reinterpret_cast<char const*>(bytes.data()), bytes.size());
}

void on_write(fuse_req_t request, fuse_ino_t, char const* bytes, size_t size, off_t,
              fuse_file_info*) {
    if (size > Spidev::kBufferSize) {
        fuse_reply_err(request, EMSGSIZE);
        return;
    }
    device_of(request).write(reinterpret_cast<uint8_t const*>(bytes), size);
    fuse_reply_write(request, size);
}

void on_ioctl(fuse_req_t request, fuse_ino_t, unsigned command, void*, fuse_file_info*, unsigned,
              void const* input, size_t input_size, size_t output_size) {
    auto const* first = static_cast<uint8_t const*>(input);
    const std::vector<uint8_t> argument(first, first + input_size);
    // The kernel has copied the argument only; what it points at is in the client's memory.
    ProcessMemory client(fuse_req_ctx(request)->pid);
    const Spidev::Reply reply = device_of(request).control(command, argument, client);
    if (reply.result < 0) {
        fuse_reply_err(request, -reply.result);
        return;
    }
    fuse_reply_ioctl(request, reply.result, reply.argument.data(),
                     std::min(reply.argument.size(), output_size));
}

fuse_lowlevel_ops operations() {
    fuse_lowlevel_ops ops = {};
    ops.getattr = on_getattr;
    ops.setattr = on_setattr;
    ops.open = on_open;
    ops.read = on_read;
    ops.write = on_write;
    ops.ioctl = on_ioctl;
    return ops;
}

fuse_session* make_session(int fuse, Spidev& device) {
    char name[] = "petrelradar-chip";
    char* arguments[] = {name, nullptr};
    fuse_args args = {1, arguments, 0};
    const fuse_lowlevel_ops ops = operations();
    fuse_session* session = fuse_session_new(&args, &ops, sizeof ops, &device);
    fuse_opt_free_args(&args);
    if (session == nullptr) throw Kit::Error("no FUSE session");
    // By this name the library takes a descriptor that is mounted already, and closes it in the
    // end.
    const std::string mounted = "/dev/fd/" + std::to_string(fuse);
    if (fuse_session_mount(session, mounted.c_str()) != 0) {
        fuse_session_destroy(session);
        throw Kit::Error("no FUSE session on " + mounted);
    }
    return session;
}

}  // namespace

struct DeviceServer::Session {
    Session(Kit::FileDescriptor fuse, Spidev& device) : session(make_session(fuse.get(), device)) {
        // Now the session's.
        static_cast<void>(fuse.release());
    }
    ~Session() {
        fuse_session_destroy(session);
        std::free(buffer.mem);
    }
    Session(Session const&) = delete;
    Session& operator=(Session const&) = delete;

    fuse_session* session;
    fuse_buf buffer = {};
};

DeviceServer::DeviceServer(Kit::FileDescriptor fuse, Spidev& device)
    : session_(std::make_unique<Session>(std::move(fuse), device)) {}

DeviceServer::~DeviceServer() = default;

void DeviceServer::introduce(std::string const& path) {
    // The kernel asks on behalf of whoever looks, and that cannot be the thread that answers.
    std::future<int> look = std::async(std::launch::async, [path] {
        struct stat status = {};
        return stat(path.c_str(), &status) == 0 ? 0 : errno;
    });
    while (look.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
        constexpr int kRoundMilliseconds = 1;
        pollfd waits = {fd(), POLLIN, 0};
        if (poll(&waits, 1, kRoundMilliseconds) > 0 && !serve()) break;
    }
    if (const int error = look.get()) throw Kit::Error(path + ": " + Kit::errno_text(error));
}

int DeviceServer::fd() const {
    return fuse_session_fd(session_->session);
}

bool DeviceServer::serve() {
    const int size = fuse_session_receive_buf(session_->session, &session_->buffer);
    if (size == -EINTR || size == -EAGAIN) return true;
    if (size <= 0) return false;
    fuse_session_process_buf(session_->session, &session_->buffer);
    return fuse_session_exited(session_->session) == 0;
}

}  // namespace Chip
