#pragma once

#include <string>
#include <string_view>

namespace qx {

// Wide text in the platform's own encoding, UTF-16 or UTF-32. What is no character, a
// surrogate without its other half, say, becomes U+FFFD.
std::string ToUtf8(std::wstring_view text);

// Whether a strict reader takes all of it: no overlong forms, no surrogates, nothing above
// U+10FFFF.
bool IsUtf8(std::string_view text) noexcept;

}  // namespace qx
