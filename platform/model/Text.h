// Text between the encodings that Windows calls use. Wide text holds one code
// point per wchar_t here.
#pragma once

#include <string>
#include <string_view>
#include <type_traits>

namespace vwin {

// Anything that is no code point becomes U+FFFD, as on Windows.
std::string ToUtf8(std::wstring_view wide);
std::wstring FromUtf8(std::string_view utf8);

// Between wide text and the narrow text of the A functions, whose code page is
// Latin-1 here; what it lacks becomes '?', once for every UTF-16 unit.
std::string ToNarrow(std::wstring_view wide);
std::wstring FromNarrow(std::string_view narrow);

// For a function with an A and a W form: wide text as the form has it, and back.
template <typename Char>
decltype(auto) FromWide(const std::wstring& wide) {
  if constexpr (std::is_same_v<Char, char>) {
    return ToNarrow(wide);
  } else {
    return (wide);
  }
}
inline std::wstring ToWide(std::string_view text) { return FromNarrow(text); }
inline std::wstring ToWide(std::wstring_view text) { return std::wstring(text); }

// Lower case in ASCII, which is all that names of modules and classes need.
std::string ToLower(std::string_view text);

}  // namespace vwin
