#include "lib/timer/registered_ports.h"

#include <dlfcn.h>

namespace test_support {

namespace {

std::vector<RegisteredPort> ports;

}  // namespace

std::vector<RegisteredPort> const& registered_ports() {
    return ports;
}

}  // namespace test_support

/** Takes the place of the framework's own, which it calls. */
Petrel::FDPort* Petrel::Block::make_fdport(std::string const& name, int fd,
                                           FDEvent::EventMask events) {
    using MakeFdport = FDPort*(Block*, std::string const&, int, FDEvent::EventMask);
    static auto* const real = reinterpret_cast<MakeFdport*>(
        dlsym(RTLD_NEXT,
              "_ZN6Petrel5Block11make_fdportERKNSt7__cxx1112basic_stringIcSt11char_traitsIcE"
              "SaIcEEEiNS_7FDEvent9EventMaskE"));
    test_support::ports.push_back({this, name, fd, events.bits()});
    return real(this, name, fd, events);
}
