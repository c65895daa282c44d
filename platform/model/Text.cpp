#include "platform/model/Text.h"

#include <algorithm>
#include <cstdint>

namespace vwin {
namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;

bool IsCodePoint(std::uint32_t value) {
  return value <= 0x10FFFF && !(value >= 0xD800 && value <= 0xDFFF);
}

void AppendUtf8(std::string& text, std::uint32_t value) {
  if (!IsCodePoint(value)) value = kReplacement;
  const auto tail = [&](int shift) { text += static_cast<char>(0x80 | ((value >> shift) & 0x3F)); };
  if (value < 0x80) {
    text += static_cast<char>(value);
  } else if (value < 0x800) {
    text += static_cast<char>(0xC0 | (value >> 6));
    tail(0);
  } else if (value < 0x10000) {
    text += static_cast<char>(0xE0 | (value >> 12));
    tail(6);
    tail(0);
  } else {
    text += static_cast<char>(0xF0 | (value >> 18));
    tail(12);
    tail(6);
    tail(0);
  }
}

// Reads one code point at `position` and moves past it. A broken sequence gives
// kReplacement and is left after its good part.
std::uint32_t ReadUtf8(std::string_view text, std::size_t& position) {
  const auto first = static_cast<std::uint8_t>(text[position++]);
  if (first < 0x80) return first;
  const int tailLength = first >= 0xF0 && first <= 0xF4   ? 3
                         : first >= 0xE0 && first <= 0xEF ? 2
                         : first >= 0xC2 && first <= 0xDF ? 1
                                                          : 0;
  if (tailLength == 0) return kReplacement;
  std::uint32_t value = first & (0x3Fu >> tailLength);
  for (int i = 0; i < tailLength; ++i) {
    if (position == text.size()) return kReplacement;
    const auto next = static_cast<std::uint8_t>(text[position]);
    if ((next & 0xC0) != 0x80) return kReplacement;
    value = (value << 6) | (next & 0x3Fu);
    ++position;
  }
  const bool overlong = (tailLength == 2 && value < 0x800) || (tailLength == 3 && value < 0x10000);
  return overlong || !IsCodePoint(value) ? kReplacement : value;
}

}  // namespace

std::string ToUtf8(std::wstring_view wide) {
  std::string text;
  for (std::size_t i = 0; i < wide.size(); ++i) {
    auto value = static_cast<std::uint32_t>(wide[i]);
    const auto next = i + 1 < wide.size() ? static_cast<std::uint32_t>(wide[i + 1]) : 0;
    // Programs may write in UTF-16 units here as well.
    if (value >= 0xD800 && value < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
      value = 0x10000 + ((value - 0xD800) << 10) + (next - 0xDC00);
      ++i;
    }
    AppendUtf8(text, value);
  }
  return text;
}

std::wstring FromUtf8(std::string_view utf8) {
  std::wstring wide;
  for (std::size_t position = 0; position < utf8.size();) {
    wide += static_cast<wchar_t>(ReadUtf8(utf8, position));
  }
  return wide;
}

std::string ToNarrow(std::wstring_view wide) {
  std::string text;
  for (const wchar_t c : wide) {
    const auto value = static_cast<std::uint32_t>(c);
    if (value < 0x100) {
      text += static_cast<char>(value);
    } else {
      text += value < 0x10000 ? "?" : "??";
    }
  }
  return text;
}

std::wstring FromNarrow(std::string_view narrow) {
  std::wstring wide;
  for (const char c : narrow) wide += static_cast<wchar_t>(static_cast<unsigned char>(c));
  return wide;
}

std::string ToLower(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return lower;
}

}  // namespace vwin
