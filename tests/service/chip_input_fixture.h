#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "kit/base/input_error.h"
#include "service/chip_input.h"
#include "tests/support/chip_device.h"

namespace service_test {

constexpr uint32_t kAllOnes = 0xFFFFFFFF;

/** The input from a chip in this process. */
class ChipInputTest : public testing::Test {
protected:
    void open(Service::ChipSettings const& settings = {}) {
        input_ = std::make_unique<Service::ChipInput>(settings);
        chip_.reads = 0;
        chip_.writes = 0;
    }

    /** Why opening was refused, in one line. */
    std::string refusal() {
        try {
            open();
        } catch (Kit::InputError const& error) {
            return error.what();
        }
        return "none";
    }

    void measure(std::vector<float> const& ranges, uint64_t timestamp = 0,
                 Chip::RadarChip::Disturbance disturbance = {}) {
        RO::RadarObjects frame;
        frame.set_timestamp(timestamp);
        for (const float range : ranges) frame.add_targets()->set_r(range);
        chip_.chip.measure(frame, disturbance);
    }

    bool poll() { return input_->poll(frame_); }

    test_support::ChipDevice device_;
    test_support::CountingChip& chip_ = device_.chip;
    std::unique_ptr<Service::ChipInput> input_;
    RO::RadarObjects frame_;
};

}  // namespace service_test
