#include "text.h"

#include <windows.h>

#include <cstddef>
#include <cstdio>

namespace {

bool IsControl(unsigned char byte) { return byte < 0x20 || byte == 0x7F; }

}  // namespace

std::string ToUtf8(std::wstring_view text) {
  const auto length = static_cast<int>(text.size());
  const auto convert = [&](std::string& out) {
    return WideCharToMultiByte(CP_UTF8, 0, text.data(), length, out.data(),
                               static_cast<int>(out.size()), nullptr, nullptr);
  };
  std::string out;
  if (length > 0) {
    out.resize(static_cast<std::size_t>(convert(out)));
    convert(out);
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
