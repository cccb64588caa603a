#pragma once

#include <gmock/gmock.h>

#include <string>
#include <unordered_map>
#include <vector>

#include "config/configuration.h"
#include "support/captured_log.h"
#include "support/private_paths.h"
#include "support/system_calls.h"

namespace test_support {

/** Settings in a file of the test's own. */
class ConfigurationTest : public PrivatePathsTest {
protected:
    using Settings = std::unordered_map<std::string, int>;
    using Log = std::vector<LogLine>;

    const std::string path = "/tmp/settings.conf";
    SystemCalls system_calls;
};

}  // namespace test_support
