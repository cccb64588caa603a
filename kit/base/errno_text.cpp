#include "kit/base/errno_text.h"

#include <array>
#include <cerrno>
#include <cstring>

namespace Kit {

std::string errno_text(int error) {
    const int before = errno;
    std::array<char, 256> buffer;
    // GNU's form, which returns the text; strerror() may use one buffer for all threads.
    std::string text = strerror_r(error, buffer.data(), buffer.size());
    errno = before;
    return text;
}

}  // namespace Kit
