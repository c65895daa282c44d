// Icons of virtual programs: whose they are, and what copies of them show.
#include <shellapi.h>

#include "platform/control/Icons.h"
#include "platform/control/Ledger.h"
#include "tests/platform/DesktopTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

TEST(Icons, OfFilesAreTheCallersAndOthersAreNotToBeDestroyed) {
  const HICON made = MakeIcon({1, 1, {0xFF000000}});
  SetProgramIcon(L"C:\\Apps\\Notes.exe", made);
  HICON copies[2] = {};
  for (HICON& copy : copies) {
    SHFILEINFOW info{};
    EXPECT_TRUE(SHGetFileInfoW(L"c:\\apps\\notes.EXE", 0, &info, sizeof(info),
                               SHGFI_ICON | SHGFI_SMALLICON));
    copy = info.hIcon;
  }
  EXPECT_TRUE(DestroyIcon(copies[0]));
  EXPECT_FALSE(DestroyIcon(copies[0])) << "stale";
  EXPECT_TRUE(DestroyIcon(copies[1])) << "a copy of its own";
  EXPECT_TRUE(TakeMisuses().empty());
  DestroyIcon(made);
  DestroyIcon(LoadIconW(nullptr, IDI_APPLICATION));
  EXPECT_EQ(TakeMisuses().size(), 2u);
}

TEST(Icons, CopiesShowNoAlphaAndWithoutColoursTheMaskHasTwiceTheirHeight) {
  ICONINFO info{};
  ASSERT_TRUE(GetIconInfo(MakeIcon({1, 2, {0x80102030, 0x40506070}}), &info));
  TestBitmap copy(1, 2);
  const HDC dc = CreateCompatibleDC(copy.dc());
  const HGDIOBJ before = SelectObject(dc, info.hbmColor);
  EXPECT_TRUE(BitBlt(copy.dc(), 0, 0, 1, 2, dc, 0, 0, SRCCOPY));
  SelectObject(dc, before);
  DeleteDC(dc);
  EXPECT_EQ(copy.Pixels(), (std::vector<std::uint32_t>{0x102030, 0x506070}));
  DeleteObject(info.hbmColor);
  DeleteObject(info.hbmMask);

  ASSERT_TRUE(GetIconInfo(MakeIcon({8, 5}), &info));
  BITMAP mask{};
  GetObjectW(info.hbmMask, sizeof(mask), &mask);
  EXPECT_FALSE(info.hbmColor);
  EXPECT_EQ(mask.bmWidth, 8);
  EXPECT_EQ(mask.bmHeight, 10);
  DeleteObject(info.hbmMask);
}

}  // namespace
}  // namespace qx::test
