#include "text.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;

bool IsHighSurrogate(std::uint32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsLowSurrogate(std::uint32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }
bool IsControl(unsigned char byte) { return byte < 0x20 || byte == 0x7F; }

void Append(std::string& out, std::uint32_t code) {
  const auto tail = [&](int shift) { out += static_cast<char>(0x80 | ((code >> shift) & 0x3F)); };
  if (code < 0x80) {
    out += static_cast<char>(code);
  } else if (code < 0x800) {
    out += static_cast<char>(0xC0 | (code >> 6));
    tail(0);
  } else if (code < 0x10000) {
    out += static_cast<char>(0xE0 | (code >> 12));
    tail(6);
    tail(0);
  } else {
    out += static_cast<char>(0xF0 | (code >> 18));
    tail(12);
    tail(6);
    tail(0);
  }
}

}  // namespace

std::string ToUtf8(std::wstring_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    auto code = static_cast<std::uint32_t>(text[i]);
    if (IsHighSurrogate(code) && i + 1 < text.size() &&
        IsLowSurrogate(static_cast<std::uint32_t>(text[i + 1]))) {
      ++i;
      code = 0x10000 + ((code - 0xD800) << 10) + (static_cast<std::uint32_t>(text[i]) - 0xDC00);
    } else if (IsHighSurrogate(code) || IsLowSurrogate(code) || code > 0x10FFFF) {
      code = kReplacement;
    }
    Append(out, code);
  }
  return out;
}

std::string JsonString(const std::string& text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (IsControl(static_cast<unsigned char>(c))) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
      out += escape;
    } else {
      out += c;
    }
  }
  return out + '"';
}

std::string OneLine(std::string text) {
  for (char& c : text) {
    if (IsControl(static_cast<unsigned char>(c))) {
      c = ' ';
    }
  }
  return text;
}
