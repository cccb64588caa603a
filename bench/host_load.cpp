// What the reference host costs under the load of a busy device: frames of 64 targets at 30 Hz,
// sent to 16 consumers and recorded.
//
//   host_load PETRELRADARD [SECONDS [CONSUMERS]]
//
// Plays a detection log of its own making to the host, reads every consumer's stream and checks
// that no frame is missing, and looks at the host's processor time and memory as the kernel counts
// them. Everything is written to a directory of its own in /tmp, but for the host's recordings.

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "kit/stream/client.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kFrames = 900;
constexpr int kTargets = 64;
constexpr int kFrameMicroseconds = 33333;

[[noreturn]] void fail(std::string const& what) {
    throw std::runtime_error(what);
}

void write_log(std::string const& path) {
    std::ofstream log(path);
    log << "frame_index,timestamp_us,rcs,r,rdot,theta,options,snr\n";
    for (int frame = 0; frame < kFrames; ++frame) {
        for (int target = 0; target < kTargets; ++target) {
            log << frame << "," << 1000000 + kFrameMicroseconds * frame << ",-3.25," << 1.5 + target
                << "," << 0.25 * (target % 7) << ",0.125,0,17.5\n";
        }
    }
    if (!log.flush()) fail("cannot write " + path);
}

/** Stands in for the service manager, to be told when the host is ready. */
int listen_for_notifications(std::string const& path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (bind(fd, reinterpret_cast<sockaddr const*>(&address), sizeof(address)) != 0) {
        fail("cannot listen at " + path);
    }
    return fd;
}

void await_ready(int notifications) {
    for (;;) {
        pollfd wait = {notifications, POLLIN, 0};
        if (poll(&wait, 1, 10000) != 1) fail("the host does not start");
        char message[512];
        const ssize_t size = recv(notifications, message, sizeof(message), 0);
        if (std::string(message, size > 0 ? static_cast<size_t>(size) : 0).find("READY=1") !=
            std::string::npos) {
            return;
        }
    }
}

pid_t start(std::vector<std::string> arguments) {
    const pid_t pid = fork();
    if (pid != 0) return pid;
    std::vector<char*> words;
    for (std::string& argument : arguments) words.push_back(argument.data());
    words.push_back(nullptr);
    execv(words[0], words.data());
    _exit(127);
}

/** Processor time of the process so far, all threads, in s. */
double processor_seconds(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    std::getline(file, line);
    std::istringstream fields(line.substr(line.rfind(')') + 2));
    std::string skipped;
    for (int i = 0; i < 11; ++i) fields >> skipped;
    long user = 0;
    long system = 0;
    fields >> user >> system;
    return static_cast<double>(user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

/** A line of the process's status, in KiB. */
long memory(pid_t pid, std::string const& name) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(file, line);) {
        if (line.rfind(name + ":", 0) == 0) return std::stol(line.substr(name.size() + 1));
    }
    fail("the host has ended");
}

/** Reads one consumer's stream until told to stop. */
class Consumer {
public:
    explicit Consumer(std::string const& socket) : client_(socket) {}

    /** Takes what is there. Frames are missing where the step of the timestamps is another one. */
    void read() {
        while (client_.next(frame_, std::chrono::milliseconds(0)) ==
               Kit::StreamClient::Result::kFrame) {
            const uint64_t timestamp = frame_.objects.timestamp();
            if (frames_++ > 0 && timestamp > last_ && timestamp - last_ != kFrameMicroseconds) {
                ++gaps_;
            }
            last_ = timestamp;
        }
    }

    int fd() const { return client_.fd(); }
    uint64_t frames() const { return frames_; }
    uint64_t gaps() const { return gaps_; }

private:
    Kit::StreamClient client_;
    Kit::StreamFrame frame_;
    uint64_t frames_ = 0;
    uint64_t gaps_ = 0;
    uint64_t last_ = 0;
};

using Consumers = std::vector<std::unique_ptr<Consumer>>;

/** Reads every consumer's stream, and what the host tells its manager, for a while. */
void read_for(Consumers const& consumers, int notifications, std::chrono::milliseconds duration) {
    for (const auto end = Clock::now() + duration; Clock::now() < end;) {
        std::vector<pollfd> waits = {{notifications, POLLIN, 0}};
        for (auto const& consumer : consumers) waits.push_back({consumer->fd(), POLLIN, 0});
        poll(waits.data(), waits.size(), 10);
        char message[512];
        while (recv(notifications, message, sizeof(message), MSG_DONTWAIT) > 0) {
        }
        for (auto const& consumer : consumers) consumer->read();
    }
}

double milliseconds_since(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

/** A host that plays the log. */
class Host {
public:
    explicit Host(std::string const& program) {
        char name[] = "/tmp/host-load-XXXXXX";
        if (mkdtemp(name) == nullptr) fail("cannot make a directory in /tmp");
        directory_ = name;
        write_log(directory_ + "/load.csv");
        const std::string manager = directory_ + "/notify.sock";
        notifications_ = listen_for_notifications(manager);
        setenv("NOTIFY_SOCKET", manager.c_str(), 1);

        const auto started = Clock::now();
        pid_ = start({program, "--input", directory_ + "/load.csv", "--loop", "--socket", socket(),
                      "--status-socket", directory_ + "/status.sock"});
        await_ready(notifications_);
        start_milliseconds_ = milliseconds_since(started);
    }

    ~Host() {
        if (pid_ > 0) stop({});
        close(notifications_);
        std::filesystem::remove_all(directory_);
    }
    Host(Host const&) = delete;
    Host& operator=(Host const&) = delete;

    /** Ends the host while its consumers read on. Returns its exit status, -1 when it was killed.
     */
    int stop(Consumers const& consumers) {
        kill(pid_, SIGTERM);
        int status = 0;
        while (waitpid(pid_, &status, WNOHANG) == 0) {
            read_for(consumers, notifications_, std::chrono::milliseconds(1));
        }
        pid_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    int notifications() const { return notifications_; }
    pid_t pid() const { return pid_; }
    std::string socket() const { return directory_ + "/targets.sock"; }
    double start_milliseconds() const { return start_milliseconds_; }

private:
    std::string directory_;
    int notifications_ = -1;
    pid_t pid_ = -1;
    double start_milliseconds_ = 0;
};

void print_consumers(Consumers const& consumers) {
    unsigned long long frames = 0;
    unsigned long long gaps = 0;
    for (auto const& consumer : consumers) {
        frames += consumer->frames();
        gaps += consumer->gaps();
    }
    std::printf("frames to consumers   %8llu, %llu gaps\n", frames, gaps);
}

void run(std::string const& program, int seconds, int consumer_count) {
    Host host(program);
    std::printf("start to ready        %8.1f ms\n", host.start_milliseconds());
    Consumers consumers;
    for (int i = 0; i < consumer_count; ++i) {
        consumers.push_back(std::make_unique<Consumer>(host.socket()));
    }
    // The first part is for caches, queues and the allocator to fill up.
    const std::chrono::milliseconds whole = std::chrono::seconds(seconds);
    read_for(consumers, host.notifications(), whole / 10);
    std::printf("memory, settled       %8ld KiB after %d s\n", memory(host.pid(), "VmRSS"),
                seconds / 10);

    const double before = processor_seconds(host.pid());
    const auto measured = Clock::now();
    read_for(consumers, host.notifications(), whole - whole / 10);
    const double used = processor_seconds(host.pid()) - before;
    const double elapsed = milliseconds_since(measured) / 1000;
    std::printf("processor             %8.2f %% of one core, over %.0f s\n", 100 * used / elapsed,
                elapsed);
    std::printf("memory, at the end    %8ld KiB\n", memory(host.pid(), "VmRSS"));
    std::printf("memory, highest       %8ld KiB\n", memory(host.pid(), "VmHWM"));

    const auto stopped = Clock::now();
    const int status = host.stop(consumers);
    std::printf("stop                  %8.1f ms, status %d\n", milliseconds_since(stopped), status);
    print_consumers(consumers);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 4) {
        std::fprintf(stderr, "usage: host_load PETRELRADARD [SECONDS [CONSUMERS]]\n");
        return 2;
    }
    try {
        run(argv[1], argc > 2 ? std::stoi(argv[2]) : 60, argc > 3 ? std::stoi(argv[3]) : 16);
    } catch (std::exception const& problem) {
        std::fprintf(stderr, "host_load: %s\n", problem.what());
        return 1;
    }
    return 0;
}
