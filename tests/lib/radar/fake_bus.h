#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "radar/radar_interface.h"

namespace test_support {

/** A chip of registers in memory, whose bus counts its traffic and fails on request. */
class FakeBus : public Radar::RadarInterface {
public:
    explicit FakeBus(int command = 0, int size = 1) : RadarInterface(command, size) {}

    ~FakeBus() override {
        if (destroyed != nullptr) *destroyed = true;
    }

    void write_register(int address, int value, int length) const override {
        traffic.push_back("write " + std::to_string(address) + " " + std::to_string(value) + " " +
                          std::to_string(length));
        if (before_write) before_write(address);
        registers[address] = value;
    }

    int read_register(int address) const override {
        traffic.push_back("read " + std::to_string(address));
        if (before_read) before_read(address);
        return registers[address];
    }

    using RadarInterface::address_bytes;
    using RadarInterface::command_byte;
    using RadarInterface::data_bytes;
    using RadarInterface::fd;
    using RadarInterface::rx_buffer;
    using RadarInterface::tx_buffer;

    /** "read <address>" and "write <address> <value> <length>", in order, failed ones included. */
    mutable std::vector<std::string> traffic;
    mutable std::map<int, int> registers;
    /** Called in the middle of a transfer; the transfer fails with what they throw. */
    std::function<void(int address)> before_read;
    std::function<void(int address)> before_write;
    /** Set when the object is destroyed. */
    bool* destroyed = nullptr;
};

}  // namespace test_support
