#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "petrel/block.h"

namespace test_support {

/** One call of Petrel::Block::make_fdport(). */
struct RegisteredPort {
    Petrel::Block* block;
    std::string name;
    int fd;
    uint16_t events;
};

/** The ports that were registered in this program, in order. One thread. */
std::vector<RegisteredPort> const& registered_ports();

}  // namespace test_support
