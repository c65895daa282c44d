#include "common/DataUrl.h"

#include <cstddef>

namespace qx {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

void Base64Encode(const std::vector<std::uint8_t>& bytes, std::string& text) {
  text.assign((bytes.size() + 2) / 3 * 4, '=');
  std::size_t out = 0;
  for (std::size_t in = 0; in < bytes.size(); in += 3) {
    const std::size_t left = bytes.size() - in;
    const std::uint32_t group = std::uint32_t{bytes[in]} << 16 |
                                (left > 1 ? std::uint32_t{bytes[in + 1]} << 8 : 0) |
                                (left > 2 ? std::uint32_t{bytes[in + 2]} : 0);
    text[out++] = kAlphabet[group >> 18];
    text[out++] = kAlphabet[group >> 12 & 63];
    if (left > 1) {
      text[out++] = kAlphabet[group >> 6 & 63];
    }
    if (left > 2) {
      text[out++] = kAlphabet[group & 63];
    }
  }
}

std::string MakePngDataUrl(const std::vector<std::uint8_t>& bytes) {
  std::string encoded;
  Base64Encode(bytes, encoded);
  encoded.insert(0, kPngDataUrlPrefix);
  return encoded;
}

}  // namespace qx
