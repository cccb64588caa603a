#pragma once

#include <functional>

namespace test_support {

/** What is done before any thread is joined; nothing when it is not set. To be reset after use. */
extern std::function<void()> before_join;

/** Whether this build lets a program take the place of the function that joins threads. */
bool can_see_joins();

}  // namespace test_support
