// Texts of any origin, as parts of JSON and of XML.

#ifndef LUMEN_TEST_TEXT_H
#define LUMEN_TEST_TEXT_H

#include <string>
#include <string_view>

// Appends what stands for `text` between the quotes of a JSON string. Bytes that are no UTF-8
// become U+FFFD.
void LUMEN_TEST_AppendJson(std::string& out, std::string_view text);

// Appends what stands for `text` in XML, between tags or in an attribute's double quotes. What XML
// does not allow, and bytes that are no UTF-8, become U+FFFD.
void LUMEN_TEST_AppendXml(std::string& out, std::string_view text);

// Appends a number in as few digits as tell it from every other, independent of the locale; `none`
// for one that is not finite.
void LUMEN_TEST_AppendNumber(std::string& out, double number, std::string_view none);

#endif  // LUMEN_TEST_TEXT_H
