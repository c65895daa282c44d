// Frame buffers, the empty-picture test, text and handles.
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "common/BufferYUVI420.h"
#include "tests/support/ShareRecorder.h"
#include "win/util/Handles.h"
#include "win/util/Utils.h"

namespace {
bool g_outOfMemory = false;
}  // namespace

// The one way in which the buffers ask for memory.
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return g_outOfMemory ? nullptr : ::operator new[](size);
}

namespace qx {
namespace {

TEST(BufferYUVI420, PlanesLieBehindEachOther) {
  BufferYUVI420 buffer;
  EXPECT_EQ(buffer.BufferY(), nullptr);
  ASSERT_TRUE(buffer.CreateBuffer(6, 4));
  EXPECT_EQ(buffer.Width(), 6);
  EXPECT_EQ(buffer.Height(), 4);
  EXPECT_EQ(buffer.StrideY(), 6);
  EXPECT_EQ(buffer.StrideU(), 3);
  EXPECT_EQ(buffer.StrideV(), 3);
  EXPECT_EQ(buffer.BufferU() - buffer.BufferY(), 24);
  EXPECT_EQ(buffer.BufferV() - buffer.BufferU(), 6);
}

TEST(BufferYUVI420, EveryPlaneIsInsideTheBlock) {
  // The sanitizer sees a byte outside.
  for (const auto& [width, height] : {std::pair{2, 2}, {1, 1}, {3, 5}, {5, 2}}) {
    BufferYUVI420 buffer;
    ASSERT_TRUE(buffer.CreateBuffer(width, height));
    const auto chromaRows = static_cast<std::size_t>((height + 1) / 2);
    std::memset(buffer.BufferY(), 1, static_cast<std::size_t>(buffer.StrideY() * height));
    std::memset(buffer.BufferU(), 2, static_cast<std::size_t>(buffer.StrideU()) * chromaRows);
    std::memset(buffer.BufferV(), 3, static_cast<std::size_t>(buffer.StrideV()) * chromaRows);
    EXPECT_EQ(buffer.BufferY()[width * height - 1], 1) << width << 'x' << height;
    EXPECT_EQ(buffer.BufferU()[0], 2);
    EXPECT_EQ(*(buffer.BufferV() - 1), 2);
  }
}

TEST(BufferYUVI420, SteadySizeKeepsTheBlockAndSaysNothing) {
  const test::LogRecorder log;
  BufferYUVI420 buffer;
  ASSERT_TRUE(buffer.CreateBuffer(64, 48));
  const auto* block = buffer.BufferY();
  ASSERT_TRUE(buffer.CreateBuffer(64, 48));
  EXPECT_EQ(buffer.BufferY(), block);
  EXPECT_EQ(log.Count("BufferYUVI420::CreateBuffer param is width is 64, height is 48,m_bufferY"),
            1)
      << log.Dump();
}

TEST(BufferYUVI420, FailureKeepsThePictureThatThereWas) {
  BufferYUVI420 buffer;
  ASSERT_TRUE(buffer.CreateBuffer(4, 2));
  std::memset(buffer.BufferY(), 9, 12);
  g_outOfMemory = true;
  EXPECT_FALSE(buffer.CreateBuffer(8, 8));
  g_outOfMemory = false;
  for (const auto& [width, height] : {std::pair{-2, 4}, {4, -2}, {0, 4}, {4, 0}, {-4, -2}}) {
    EXPECT_FALSE(buffer.CreateBuffer(width, height));
  }
  EXPECT_EQ(buffer.Width(), 4);
  EXPECT_EQ(buffer.StrideV(), 2);
  EXPECT_EQ(buffer.BufferV()[1], 9);
  EXPECT_TRUE(buffer.CreateBuffer(8, 8));
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

TEST(Utils, WideToUtf8) {
  EXPECT_EQ(WideToUtf8(L""), "");
  EXPECT_EQ(WideToUtf8(L"a\u00e9\u20ac"), "a\xC3\xA9\xE2\x82\xAC");
  EXPECT_EQ(WideToUtf8(L"\U0001F600!"), "\xF0\x9F\x98\x80!") << "outside of the basic plane";
  EXPECT_EQ(WideToUtf8(std::wstring_view(L"a\0b", 3)), std::string("a\0b", 3));
  char room[4] = {};
  EXPECT_EQ(WideToUtf8(L"\U0001F600", room), 4u);
  EXPECT_EQ(WideToUtf8(L"\U0001F600!", room), 0u) << "does not fit";
}

TEST(Utils, IdsAreSignExtended) {
  const auto high = reinterpret_cast<HWND>(static_cast<std::intptr_t>(-2));
  EXPECT_EQ(HandleToId(high), -2);
  EXPECT_EQ(IdToHandle<HWND>(-2), high);
  EXPECT_EQ(HandleToId(IdToHandle<HMONITOR>(0x00010001)), 0x00010001);
}

struct CountingPolicy {
  using Value = const char*;
  int* closed = nullptr;
  void Close(const char*) const { ++*closed; }
};

TEST(Handle, IsClosedOnceByItsLastOwner) {
  int closed = 0;
  {
    Handle<CountingPolicy> first("a", {&closed});
    Handle<CountingPolicy> second(std::move(first));
    EXPECT_FALSE(first);
    first = Handle<CountingPolicy>("b", {&closed});
    second = std::move(first);
    EXPECT_EQ(closed, 1);
    EXPECT_STREQ(second.Release(), "b");
  }
  EXPECT_EQ(closed, 1) << "released is the caller's";
}

}  // namespace
}  // namespace qx
