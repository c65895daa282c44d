#include "common/Utf8.h"

#include <cstddef>
#include <cstdint>

namespace qx {

namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;
constexpr std::uint32_t kLastCodePoint = 0x10FFFF;

bool IsHighSurrogate(std::uint32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(std::uint32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

bool IsCharacter(std::uint32_t value) {
  return value <= kLastCodePoint && !IsHighSurrogate(value) && !IsLowSurrogate(value);
}

// Reads the character at `position` and moves past it.
std::uint32_t NextCharacter(std::wstring_view text, std::size_t& position) {
  const auto unit = static_cast<std::uint32_t>(text[position++]);
  if constexpr (sizeof(wchar_t) == 2) {
    if (IsHighSurrogate(unit) && position < text.size()) {
      const auto low = static_cast<std::uint32_t>(text[position]);
      if (IsLowSurrogate(low)) {
        ++position;
        return 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
      }
    }
  }
  return IsCharacter(unit) ? unit : kReplacement;
}

void Append(std::string& text, std::uint32_t character) {
  const auto tail = [&](int shift) {
    text += static_cast<char>(0x80 | ((character >> shift) & 0x3F));
  };
  if (character < 0x80) {
    text += static_cast<char>(character);
  } else if (character < 0x800) {
    text += static_cast<char>(0xC0 | (character >> 6));
    tail(0);
  } else if (character < 0x10000) {
    text += static_cast<char>(0xE0 | (character >> 12));
    tail(6);
    tail(0);
  } else {
    text += static_cast<char>(0xF0 | (character >> 18));
    tail(12);
    tail(6);
    tail(0);
  }
}

// Of the sequence that begins with this byte; 0 for one that begins none.
std::size_t SequenceLength(std::uint8_t first) {
  if (first < 0x80) {
    return 1;
  }
  if (first >= 0xC2 && first <= 0xDF) {
    return 2;
  }
  if (first >= 0xE0 && first <= 0xEF) {
    return 3;
  }
  return first >= 0xF0 && first <= 0xF4 ? 4 : 0;
}

}  // namespace

std::string ToUtf8(std::wstring_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t position = 0; position < text.size();) {
    Append(out, NextCharacter(text, position));
  }
  return out;
}

bool IsUtf8(std::string_view text) noexcept {
  constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};  // by length
  while (!text.empty()) {
    const auto first = static_cast<std::uint8_t>(text.front());
    const std::size_t length = SequenceLength(first);
    if (length == 0 || length > text.size()) {
      return false;
    }
    std::uint32_t character = length == 1 ? first : first & (0x7Fu >> length);
    for (const char byte : text.substr(1, length - 1)) {
      if ((static_cast<std::uint8_t>(byte) & 0xC0) != 0x80) {
        return false;
      }
      character = (character << 6) | (static_cast<std::uint8_t>(byte) & 0x3Fu);
    }
    if (character < kSmallest[length] || !IsCharacter(character)) {
      return false;
    }
    text.remove_prefix(length);
  }
  return true;
}

}  // namespace qx
