// What the example makes of the library's text: it must be read by other programs.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "data_url.h"
#include "text.h"

namespace {

TEST(ExampleTextTest, AnyTitleIsValidJsonInUtf8) {
  EXPECT_EQ(JsonString(ToUtf8(L"a \"b\" \\ \x1\t\x7F")), R"("a \"b\" \\ \u0001\u0009\u007f")");
  EXPECT_EQ(ToUtf8(L"\u00BD \u20AC"), "\xC2\xBD \xE2\x82\xAC");
  // One character or a pair of surrogates, as the platform's wide text has it.
  EXPECT_EQ(ToUtf8(L"\U0001F600"), "\xF0\x9F\x98\x80");
  const std::wstring pair = {static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xDE00)};
  EXPECT_EQ(ToUtf8(pair), "\xF0\x9F\x98\x80");
  // Halves without their partners, also at the end.
  const std::wstring halves = {static_cast<wchar_t>(0xDE00), L'x', static_cast<wchar_t>(0xD83D)};
  EXPECT_EQ(ToUtf8(halves), "\xEF\xBF\xBDx\xEF\xBF\xBD");
  EXPECT_EQ(OneLine("a\r\n\x1B[2Jb"), "a   [2Jb");
}

TEST(ExampleTextTest, IconTextGivesItsBytes) {
  const std::string prefix = "data:image/png; base64,";
  using Bytes = std::vector<std::uint8_t>;
  EXPECT_EQ(DecodePngDataUrl(prefix + "iVBORw=="), (Bytes{0x89, 'P', 'N', 'G'}));
  EXPECT_EQ(DecodePngDataUrl(prefix + "+/8A"), (Bytes{0xFB, 0xFF, 0x00}));
  EXPECT_EQ(DecodePngDataUrl(""), Bytes{});
  EXPECT_EQ(DecodePngDataUrl("data:image/png;base64,iVBORw=="), Bytes{});
  EXPECT_EQ(DecodePngDataUrl(prefix + "iV*ORw=="), Bytes{});
}

}  // namespace
