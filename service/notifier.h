#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace Service {

/**
 * Tells the service manager how the service is doing, when it was started by one ($NOTIFY_SOCKET);
 * otherwise does nothing. Waits for nobody: what a manager that does not read has no room for is
 * lost. A manager that cannot be reached is logged once at level 1. One thread at a time.
 */
class Notifier {
public:
    /** Start-up is over. */
    void ready(std::string const& status);

    /** One line on what the service is doing. */
    void status(std::string const& text);

    /** The service is alive and well; to be sent once in every alive_interval(). */
    void alive();

    /** The service is ending. */
    void stopping(std::string const& status);

    /** Half of the time after which the manager gives the service up; none when it does not. */
    static std::optional<std::chrono::microseconds> alive_interval();

private:
    void send(std::string const& state);

    bool failure_logged_ = false;
};

}  // namespace Service
