// Text between the encodings that Windows calls use. Wide text holds one code
// point per wchar_t here.
#pragma once

#include <string>
#include <string_view>

namespace vwin {

// Anything that is no code point becomes U+FFFD, as on Windows.
std::string ToUtf8(std::wstring_view wide);
std::wstring FromUtf8(std::string_view utf8);

// Between wide text and the narrow text of the A functions, whose code page is
// Latin-1 here; what it lacks becomes '?'.
std::string ToNarrow(std::wstring_view wide);
std::wstring FromNarrow(std::string_view narrow);

// Lower case in ASCII, which is all that names of modules and classes need.
std::string ToLower(std::string_view text);

}  // namespace vwin
