#include "data_url.h"

#include <string_view>

namespace {

constexpr std::string_view kPrefix = "data:image/png; base64,";
constexpr std::string_view kDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

std::vector<std::uint8_t> DecodePngDataUrl(std::string_view url) {
  if (url.substr(0, kPrefix.size()) != kPrefix) {
    return {};
  }
  url.remove_prefix(kPrefix.size());
  while (!url.empty() && url.back() == '=') {
    url.remove_suffix(1);
  }
  std::vector<std::uint8_t> bytes;
  std::uint32_t bits = 0;
  int count = 0;  // of the bits that make no byte yet
  for (const char c : url) {
    const std::size_t digit = kDigits.find(c);
    if (digit == std::string_view::npos) {
      return {};
    }
    bits = bits << 6 | static_cast<std::uint32_t>(digit);
    count += 6;
    if (count >= 8) {
      count -= 8;
      bytes.push_back(static_cast<std::uint8_t>(bits >> count));
    }
  }
  return bytes;
}
