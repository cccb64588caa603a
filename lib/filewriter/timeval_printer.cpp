#include "filewriter/timeval_printer.h"

#include <iomanip>

#include "filewriter/local_time.h"

namespace Radar {

std::ostream& operator<<(std::ostream& os, timeval const& time) {
    const std::tm local = local_time(time.tv_sec);
    const char fill = os.fill('0');
    os << std::setw(2) << local.tm_mday << std::setw(2) << local.tm_mon + 1 << std::setw(2)
       << local.tm_year - 100 << "_" << std::setw(2) << local.tm_hour << std::setw(2)
       << local.tm_min << std::setw(2) << local.tm_sec << "_" << std::setw(3)
       << time.tv_usec / 1000;
    os.fill(fill);
    return os;
}

}  // namespace Radar
