#pragma once

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "kit/demo_chip/registers.h"
#include "tests/support/chip_device.h"
#include "tests/support/inside.h"
#include "tests/support/private_paths.h"

namespace tools_test {

using test_support::Outcome;
using test_support::run_inside;

constexpr char kMap[] = "/tmp/chip.map";

/** The verbs on registers, with a chip in this process. */
class RegsTest : public test_support::PrivatePathsTest {
protected:
    void SetUp() override {
        PrivatePathsTest::SetUp();
        if (IsSkipped()) return;
        test_support::write_file(kMap, Kit::DemoChip::register_map_text());
    }

    /** "petrelradar regs ..." with the demo chip's map. */
    static Outcome regs(std::vector<std::string> arguments, std::string const& input = "") {
        arguments.insert(arguments.begin(), "regs");
        arguments.insert(arguments.end(), {"--map", kMap});
        return run_inside(arguments, input);
    }

    /** The same with another map. */
    static Outcome regs_with_map(std::string const& map, std::vector<std::string> arguments) {
        test_support::write_file(kMap, map);
        return regs(std::move(arguments));
    }

    /** Lets the chip measure a frame, which raises a flag in its events. */
    void measure_disturbed_frame() {
        chip_.chip.write(0x0010, 0x00400001, 0xFFFFFFFF);
        chip_.chip.measure({}, {true, true});
    }

    int traffic() const { return chip_.traffic(); }

    test_support::ChipDevice device_;
    test_support::CountingChip& chip_ = device_.chip;
    test_support::SystemCalls& calls_ = device_.calls;
};

/** One run and what it gives. */
struct RegsCase {
    char const* name;
    std::vector<std::string> arguments;
    int status;
    std::string out;
    std::string err;
};

inline std::ostream& operator<<(std::ostream& os, RegsCase const& tested) {
    return os << tested.name;
}

}  // namespace tools_test
