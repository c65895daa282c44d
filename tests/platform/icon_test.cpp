// Icons of virtual programs.
#include <gtest/gtest.h>
#include <shellapi.h>

#include "platform/control/Icons.h"
#include "platform/control/Ledger.h"
#include "tests/platform/DesktopTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

HICON smallIcon(const wchar_t* path) {
  SHFILEINFOW info{};
  const DWORD_PTR result =
      SHGetFileInfoW(path, 0, &info, sizeof(info), SHGFI_ICON | SHGFI_SMALLICON);
  EXPECT_EQ(result != 0, info.hIcon != nullptr);
  return info.hIcon;
}

BITMAP sizeOf(HBITMAP bitmap) {
  BITMAP size{};
  GetObjectW(bitmap, sizeof(size), &size);
  return size;
}

// Deletes the bitmaps when a test is done with them.
struct Info : ICONINFO {
  explicit Info(HICON icon) : ICONINFO{} { EXPECT_TRUE(GetIconInfo(icon, this)); }
  ~Info() {
    DeleteObject(hbmMask);
    if (hbmColor) DeleteObject(hbmColor);
  }
};

TEST(FileIcons, AreCopiesOfTheCaller) {
  AddProcess(9000, L"C:\\Apps\\plain.exe");
  SetProgramIcon(L"C:\\Apps\\Notes.exe", MakeIcon({4, 4, std::vector<std::uint32_t>(16)}));
  const HICON one = smallIcon(L"c:\\apps\\notes.EXE");
  const HICON two = smallIcon(L"C:\\Apps\\Notes.exe");
  EXPECT_NE(one, two);
  EXPECT_EQ(sizeOf(Info(one).hbmColor).bmWidth, 4);
  EXPECT_TRUE(DestroyIcon(one));
  EXPECT_FALSE(DestroyIcon(one)) << "stale";
  EXPECT_EQ(sizeOf(Info(two).hbmColor).bmWidth, 4);
  EXPECT_TRUE(DestroyIcon(two));

  const HICON system = smallIcon(L"C:\\Apps\\plain.exe");
  EXPECT_EQ(sizeOf(Info(system).hbmColor).bmWidth, 16) << "a file without an icon";
  DestroyIcon(system);
  EXPECT_FALSE(smallIcon(L"C:\\Apps\\nothing.exe"));
}

TEST(Icons, OfOthersAreNotToBeDestroyed) {
  const HICON icon = MakeIcon({1, 1, {0xFF000000}});
  DestroyIcon(icon);
  DestroyIcon(LoadIconW(nullptr, IDI_APPLICATION));
  EXPECT_EQ(TakeMisuses().size(), 2u);
  Info still(icon);
}

TEST(Icons, ShowTheirAlphaInGetDIBitsOnly) {
  Info info(MakeIcon({1, 2, {0x80102030, 0x40506070}, {0xFFFFFF, 0}}));
  BITMAPINFO wanted{};
  wanted.bmiHeader = {sizeof(BITMAPINFOHEADER), 1, 2, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
  std::uint32_t pixels[2] = {};
  TestBitmap copy(1, 2);
  EXPECT_EQ(GetDIBits(copy.dc(), info.hbmColor, 0, 2, pixels, &wanted, DIB_RGB_COLORS), 2);
  EXPECT_EQ(pixels[0], 0x40506070u) << "bottom to top";
  EXPECT_EQ(pixels[1], 0x80102030u);
  EXPECT_EQ(GetDIBits(copy.dc(), info.hbmMask, 0, 2, pixels, &wanted, DIB_RGB_COLORS), 2);
  EXPECT_EQ(pixels[0], 0u);
  EXPECT_EQ(pixels[1], 0xFFFFFFu);

  const HDC dc = CreateCompatibleDC(copy.dc());
  const HGDIOBJ before = SelectObject(dc, info.hbmColor);
  EXPECT_TRUE(BitBlt(copy.dc(), 0, 0, 1, 2, dc, 0, 0, SRCCOPY));
  SelectObject(dc, before);
  DeleteDC(dc);
  EXPECT_EQ(copy.Pixels(), (std::vector<std::uint32_t>{0x102030, 0x506070}));
}

TEST(Icons, WithoutColoursHaveAMaskOfTwiceTheirHeight) {
  Info info(MakeIcon({8, 5}));
  EXPECT_FALSE(info.hbmColor);
  EXPECT_EQ(sizeOf(info.hbmMask).bmWidth, 8);
  EXPECT_EQ(sizeOf(info.hbmMask).bmHeight, 10);
}

}  // namespace
}  // namespace qx::test
