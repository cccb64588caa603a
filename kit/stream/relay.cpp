#include "kit/stream/relay.h"

#include <system_error>
#include <utility>

#include "kit/base/error.h"
#include "kit/stream/relay_server.h"

namespace Kit {

class Relay::Impl {
public:
    explicit Impl(RelayOptions options) : server(std::move(options)) {}

    RelayServer server;
};

Relay::Relay(RelayOptions options) {
    const std::string path = options.socket_path;
    try {
        impl_ = std::make_unique<Impl>(std::move(options));
    } catch (std::system_error const& error) {
        throw Error(path + ": cannot be served: " + error.what());
    }
}

Relay::~Relay() = default;

void Relay::publish(std::string stream_frame) {
    impl_->server.publish(std::move(stream_frame));
}

void Relay::relay_from(int fd) {
    impl_->server.relay_from(fd);
}

RelayCounters Relay::counters() const {
    return impl_->server.counters();
}

void Relay::stop(std::chrono::milliseconds grace) {
    impl_->server.stop(grace);
}

}  // namespace Kit
