#include "lumenTestText.h"

#include <charconv>
#include <cmath>
#include <cstdint>

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD

// The bytes of the character that `text` begins with; 0 when it begins with none. Overlong forms,
// surrogates and what lies beyond U+10FFFF are none: their second byte gives them away.
size_t characterLength(std::string_view text) {
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char first = byte(0);
  if (first < 0x80) return 1;
  const size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
  for (size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  const unsigned char least = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
  const unsigned char greatest = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
  return byte(1) >= least && byte(1) <= greatest ? length : 0;
}

// Appends the text character by character; what stands for one is up to `append`.
template <class Append>
void appendCharacters(std::string& out, std::string_view text, Append append) {
  while (!text.empty()) {
    const size_t length = characterLength(text);
    if (length == 0) out += kReplacement;
    else append(text.substr(0, length));
    text.remove_prefix(length ? length : 1);
  }
}

bool isControl(char c) { return static_cast<unsigned char>(c) < 0x20; }

}  // namespace

void LUMEN_TEST_AppendJson(std::string& out, std::string_view text) {
  appendCharacters(out, text, [&](std::string_view character) {
    constexpr char kHex[] = "0123456789abcdef";
    const char c = character[0];
    if (c == '"' || c == '\\') {
      (out += '\\') += c;
    } else if (c == '\n') {
      out += "\\n";
    } else if (c == '\t') {
      out += "\\t";
    } else if (isControl(c)) {
      ((out += "\\u00") += kHex[c / 16]) += kHex[c % 16];
    } else {
      out += character;
    }
  });
}

void LUMEN_TEST_AppendXml(std::string& out, std::string_view text) {
  appendCharacters(out, text, [&](std::string_view character) {
    const char c = character[0];
    if (c == '&') {
      out += "&amp;";
    } else if (c == '<') {
      out += "&lt;";
    } else if (c == '>') {
      out += "&gt;";
    } else if (c == '"') {
      out += "&quot;";
    } else if (c == '\n' || c == '\t' || c == '\r') {  // which a reader would make blanks of
      ((out += "&#") += std::to_string(c)) += ';';
    } else if (isControl(c) || character == "\xEF\xBF\xBE" || character == "\xEF\xBF\xBF") {
      out += kReplacement;
    } else {
      out += character;
    }
  });
}

void LUMEN_TEST_AppendNumber(std::string& out, double number, std::string_view none) {
  if (!std::isfinite(number)) {
    out += none;
    return;
  }
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof(digits), number).ptr;
  out.append(digits, end);
}
