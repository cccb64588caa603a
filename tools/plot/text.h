#pragma once

#include <string>
#include <vector>

namespace Tools {

// Names of files, which may hold any bytes, as text of a picture.

/** The text in UTF-8, with a question mark for what cannot be shown: control characters and bytes
 * that are no UTF-8. */
std::string printable_text(std::string const& text);

/** The characters of a printable text. */
std::vector<std::string> characters_of(std::string const& text);

/** A printable text as the content of an element of XML. */
std::string xml_text(std::string const& text);

}  // namespace Tools
