#pragma once

#include <string>

namespace Tools {

/** A text in UTF-8 without control characters as the content of an element of XML. */
std::string xml_text(std::string const& text);

}  // namespace Tools
