#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qx {

// RFC 4648, with padding and without line breaks. Replaces the contents of `text`.
void Base64Encode(const std::vector<std::uint8_t>& bytes, std::string& text);

// A PNG file as "data:image/png; base64,...", the form that hosts get.
std::string MakePngDataUrl(const std::vector<std::uint8_t>& bytes);

}  // namespace qx
