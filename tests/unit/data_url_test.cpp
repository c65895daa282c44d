// PNG bytes as text for hosts.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "common/DataUrl.h"

namespace qx {
namespace {

using Bytes = std::vector<std::uint8_t>;

std::string Encoded(const Bytes& bytes) {
  std::string text = "what was there before";
  Base64Encode(bytes, text);
  return text;
}

TEST(Base64, EncodesEveryLengthAndTheWholeAlphabet) {
  const std::pair<std::string, std::string> known[] = {{"", ""},
                                                       {"f", "Zg=="},
                                                       {"fo", "Zm8="},
                                                       {"foo", "Zm9v"},
                                                       {"foob", "Zm9vYg=="},
                                                       {"fooba", "Zm9vYmE="},
                                                       {"foobar", "Zm9vYmFy"}};
  for (const auto& [plain, text] : known) {
    EXPECT_EQ(Encoded(Bytes(plain.begin(), plain.end())), text);
  }

  Bytes all;  // the numbers 0 to 63 in six bits each
  for (unsigned i = 0; i < 64; i += 4) {
    const unsigned group = i << 18 | (i + 1) << 12 | (i + 2) << 6 | (i + 3);
    all.insert(all.end(), {static_cast<std::uint8_t>(group >> 16),
                           static_cast<std::uint8_t>(group >> 8 & 0xFF),
                           static_cast<std::uint8_t>(group & 0xFF)});
  }
  EXPECT_EQ(Encoded(all), "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");
  EXPECT_EQ(Encoded(Bytes(3000, 0)), std::string(4000, 'A')) << "no line breaks";
}

}  // namespace
}  // namespace qx
