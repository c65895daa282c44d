#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

// The bytes of a picture that the library handed out as "data:image/png; base64,"
// text. Empty when `url` is no such text.
std::vector<std::uint8_t> DecodePngDataUrl(std::string_view url);
