#include "tools/plot/text.h"

namespace Tools {

std::string xml_text(std::string const& text) {
    std::string safe;
    for (const char c : text) {
        if (c == '<') {
            safe += "&lt;";
        } else if (c == '>') {
            safe += "&gt;";
        } else if (c == '&') {
            safe += "&amp;";
        } else {
            safe += c;
        }
    }
    return safe;
}

}  // namespace Tools
