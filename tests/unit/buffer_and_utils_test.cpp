// Frame buffers, the empty-picture test, and text.
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "common/BufferYUVI420.h"
#include "common/DataUrl.h"
#include "common/Utf8.h"
#include "tests/support/ShareRecorder.h"
#include "win/util/Utils.h"

namespace qx {
namespace {

TEST(BufferYUVI420, PlanesLieBehindEachOtherInsideTheBlock) {
  // The sanitizer sees a byte outside.
  for (const auto& [width, height] : {std::pair{6, 4}, {2, 2}, {1, 1}, {3, 5}, {5, 2}}) {
    const test::LogRecorder log;
    BufferYUVI420 buffer;
    EXPECT_EQ(buffer.BufferY(), nullptr);
    ASSERT_TRUE(buffer.CreateBuffer(width, height));
    const auto luma = static_cast<std::size_t>(buffer.StrideY() * height);
    const auto chroma = static_cast<std::size_t>(buffer.StrideU() * ((height + 1) / 2));
    EXPECT_EQ(buffer.BufferU() - buffer.BufferY(), std::ptrdiff_t(luma)) << width << 'x' << height;
    EXPECT_EQ(buffer.BufferV() - buffer.BufferU(), std::ptrdiff_t(chroma));
    EXPECT_EQ(buffer.StrideV(), (width + 1) / 2);
    std::memset(buffer.BufferY(), 7, luma + 2 * chroma);

    ASSERT_TRUE(buffer.CreateBuffer(width, height)) << "a steady size says nothing";
    EXPECT_EQ(log.Count("BufferYUVI420::CreateBuffer param is width is " + std::to_string(width) +
                        ", height is " + std::to_string(height) + ",m_bufferY"),
              1)
        << log.Dump();
    for (const auto& [badWidth, badHeight] : {std::pair{-2, 4}, {4, -2}, {0, 4}, {4, 0}}) {
      EXPECT_FALSE(buffer.CreateBuffer(badWidth, badHeight));
    }
    EXPECT_EQ(buffer.Width(), width);
    EXPECT_EQ(buffer.BufferV()[chroma - 1], 7) << "the picture is kept";
  }
}

TEST(TransparentFrame, FourOfSixteenSamplesDecide) {
  constexpr int kWidth = 40;
  constexpr int kHeight = 20;
  constexpr int kPixelsPerRow = kWidth + 3;
  std::vector<std::uint32_t> picture(kPixelsPerRow * kHeight, 0x00000001);
  const auto isTransparent = [&] {
    return isTransparentFrame(picture.data(), kWidth, kHeight, kPixelsPerRow * 4);
  };
  const test::LogRecorder log;
  EXPECT_FALSE(isTransparent()) << "alpha 0 alone is no empty pixel";
  EXPECT_TRUE(log.Lines().empty());
  picture[0] = 0;
  picture[30] = 0;
  picture[15 * kPixelsPerRow] = 0;
  EXPECT_FALSE(isTransparent()) << "three";
  picture[15 * kPixelsPerRow + 30] = 0;
  EXPECT_TRUE(isTransparent()) << "four";
  EXPECT_TRUE(
      log.Has(3, "isTransparentFrame check transparentCount:3, image width * height = 40 * 20"))
      << log.Dump();
  EXPECT_EQ(log.Lines().size(), 1u) << "limited";
}

TEST(TransparentFrame, SmallAndMissingPictures) {
  // Below four pixels of width one column is looked at, so each zero counts four
  // times; beside a zero of the other columns.
  const std::array<std::uint32_t, 12> narrow = {0, 7, 7, 7, 0, 0, 7, 0, 0, 7, 0, 0};
  EXPECT_TRUE(isTransparentFrame(narrow.data(), 3, 4, 12));
  const std::array<std::uint32_t, 12> column = {7, 0, 0, 7, 0, 0, 7, 0, 0, 7, 0, 0};
  EXPECT_FALSE(isTransparentFrame(column.data(), 3, 4, 12));
  const test::LogRecorder log;
  EXPECT_TRUE(isTransparentFrame(nullptr, 100, 100, 400));
  EXPECT_TRUE(log.Lines().empty());
}

TEST(Utf8, IsMadeOfWideTextAndKnown) {
  EXPECT_EQ(ToUtf8(L"a\u00e9\u20ac\U0001F600!"), "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80!");
  const std::wstring halves = {0xD83D, L'a', 0xDE00, 0xD83D};
  EXPECT_EQ(ToUtf8(halves),
            "\xEF\xBF\xBD"
            "a\xEF\xBF\xBD\xEF\xBF\xBD");
  for (const char* const text : {"", "a\x7F", "\xC2\x80", "\xE0\xA0\x80", "\xED\x9F\xBF",
                                 "\xEE\x80\x80", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"}) {
    EXPECT_TRUE(IsUtf8(text)) << text;
  }
  for (const char* const text :
       {"\x80", "\xC1\xBF", "\xC2", "\xC2z", "\xE0\x9F\xBF", "\xED\xA0\x80", "a\xE2\x82",
        "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF"}) {
    EXPECT_FALSE(IsUtf8(text)) << text;
  }
}

TEST(Base64, EncodesEveryLengthAndTheWholeAlphabet) {
  using Bytes = std::vector<std::uint8_t>;
  const auto encoded = [](const Bytes& bytes) {
    std::string text = "what was there before";
    Base64Encode(bytes, text);
    return text;
  };
  const std::pair<std::string, std::string> known[] = {{"", ""},
                                                       {"f", "Zg=="},
                                                       {"fo", "Zm8="},
                                                       {"foo", "Zm9v"},
                                                       {"foob", "Zm9vYg=="},
                                                       {"fooba", "Zm9vYmE="},
                                                       {"foobar", "Zm9vYmFy"}};
  for (const auto& [plain, text] : known) {
    EXPECT_EQ(encoded(Bytes(plain.begin(), plain.end())), text);
  }

  Bytes all;  // the numbers 0 to 63 in six bits each
  for (unsigned i = 0; i < 64; i += 4) {
    const unsigned group = i << 18 | (i + 1) << 12 | (i + 2) << 6 | (i + 3);
    all.insert(all.end(), {static_cast<std::uint8_t>(group >> 16),
                           static_cast<std::uint8_t>(group >> 8 & 0xFF),
                           static_cast<std::uint8_t>(group & 0xFF)});
  }
  EXPECT_EQ(encoded(all), "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");
  EXPECT_EQ(encoded(Bytes(3000, 0)), std::string(4000, 'A')) << "no line breaks";
}

}  // namespace
}  // namespace qx
