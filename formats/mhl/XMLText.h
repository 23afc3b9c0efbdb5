#pragma once

#include <string>
#include <string_view>

// Whether XML 1.0 can hold the text at all, escaped or not: it is UTF-8, without control characters but tab,
// line feed and carriage return, and without U+FFFE and U+FFFF.
bool isXMLText(std::string_view text);

// The text as the content of an element or the value of an attribute. Readers turn a carriage return that is
// not escaped into a line feed, and in attributes tabs and line ends into blanks, so all three are escaped.
std::string xmlEscaped(std::string_view text);
