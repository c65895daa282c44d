#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qx {

// RFC 4648, with padding and without line breaks. Replaces the contents of `text`.
void Base64Encode(const std::vector<std::uint8_t>& bytes, std::string& text);

// Hosts compare it whole, so the blank stays.
inline constexpr std::string_view kPngDataUrlPrefix = "data:image/png; base64,";

// A PNG file as "data:image/png; base64,...", the form that hosts get.
std::string MakePngDataUrl(const std::vector<std::uint8_t>& bytes);

}  // namespace qx
