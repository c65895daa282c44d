// What virtual Windows answers when a test configures the machine: versions, keys, icons,
// and what lies around monitors.
#include "platform/control/Icons.h"
#include "platform/control/Ledger.h"
#include "platform/model/Modules.h"
#include "tests/platform/DesktopTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

FARPROC Export(const char* module, const char* name) {
  return GetProcAddress(GetModuleHandleA(module), name);
}

TEST(Version, DecidesWhatTheTwoSourcesSayAndWhichFunctionsThereAre) {
  struct Case {
    vwin::Version version;
    bool hasPreciseTime;
    bool hasThreadDescription;
  };
  for (const Case& c :
       {Case{kWindows7, false, false}, Case{kWindows8, true, false}, Case{kWindows81, true, false},
        Case{kWindows10, true, true}, Case{{10, 0, 10586}, true, false}}) {
    SCOPED_TRACE(c.version.build);
    SetVersion(c.version);
    EXPECT_EQ(c.hasPreciseTime,
              Export("kernel32.dll", "GetSystemTimePreciseAsFileTime") != nullptr);
    EXPECT_EQ(c.hasThreadDescription, Export("kernel32.dll", "SetThreadDescription") != nullptr);
  }
  SetVersion(kWindows7);
  EXPECT_TRUE(IsAtLeast(6, 1, 1));
  EXPECT_FALSE(IsAtLeast(6, 1, 2));
  EXPECT_FALSE(IsAtLeast(6, 2, 0));
  EXPECT_TRUE(IsAtLeast(6, 0, 2)) << "a service pack counts within its version only";
}

TEST(Registry, ChecksTheRightsOfAKey) {
  SetRegistryDword("Software\\Test", "Number", 0x01020304);
  HKEY key = nullptr;
  BYTE bytes[4] = {};
  DWORD size = sizeof(bytes);
  const auto open = [&](REGSAM rights) {
    return RegOpenKeyExA(HKEY_CURRENT_USER, "SOFTWARE\\test\\", 0, rights, &key);
  };
  const auto read = [&](const char* name) {
    return RegQueryValueExA(key, name, nullptr, nullptr, bytes, &size);
  };
  const auto write = [&] { return RegSetValueExA(key, "Number", 0, REG_DWORD, bytes, 4); };
  ASSERT_EQ(ERROR_SUCCESS, open(KEY_READ));
  EXPECT_EQ(ERROR_SUCCESS, read("number"));
  EXPECT_EQ(1, bytes[3]);
  size = 2;
  EXPECT_EQ(ERROR_MORE_DATA, read("Number"));
  EXPECT_EQ(4u, size);
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, read("Other"));
  EXPECT_EQ(ERROR_ACCESS_DENIED, write());
  EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(key));
  ASSERT_EQ(ERROR_SUCCESS, open(KEY_WRITE));
  EXPECT_EQ(ERROR_SUCCESS, write());
  EXPECT_EQ(ERROR_ACCESS_DENIED, read("Number"));
  EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(key));
}

TEST(Icons, AreNotToBeDestroyedByOthersAndCopiesShowNoAlpha) {
  ICONINFO info{};
  const HICON icon = MakeIcon({1, 2, {0x80102030, 0x40506070}});
  DestroyIcon(icon);
  DestroyIcon(LoadIconW(nullptr, IDI_APPLICATION));
  EXPECT_EQ(TakeMisuses().size(), 2u);
  ASSERT_TRUE(GetIconInfo(icon, &info));
  TestBitmap copy(1, 2);
  const HDC dc = CreateCompatibleDC(copy.dc());
  const HGDIOBJ before = SelectObject(dc, info.hbmColor);
  EXPECT_TRUE(BitBlt(copy.dc(), 0, 0, 1, 2, dc, 0, 0, SRCCOPY));
  SelectObject(dc, before);
  DeleteDC(dc);
  EXPECT_EQ(copy.Pixels(), (std::vector<std::uint32_t>{0x102030, 0x506070}));
  DeleteObject(info.hbmColor);
  DeleteObject(info.hbmMask);

  // Without colours the mask has twice their height.
  ASSERT_TRUE(GetIconInfo(MakeIcon({8, 5}), &info));
  BITMAP mask{};
  GetObjectW(info.hbmMask, sizeof(mask), &mask);
  EXPECT_FALSE(info.hbmColor);
  EXPECT_EQ(mask.bmWidth, 8);
  EXPECT_EQ(mask.bmHeight, 10);
  DeleteObject(info.hbmMask);
}

class MonitorTest : public DesktopTest {};

TEST_F(MonitorTest, NothingIsOutsideOfThem) {
  AddMonitor({-50, -30, 0, 70});
  OpenWindow({.rect = {-100, -100, 300, 300}, .color = kRed});
  EXPECT_EQ(screenAt(199, 0), kRedPixel);
  EXPECT_EQ(screenAt(200, 0), 0u);

  // One copy over both monitors and the gaps around them.
  TestBitmap picture(100, 120);
  picture.Fill({0, 0, 100, 120}, kGreen);
  ASSERT_TRUE(picture.CopyScreen(-60, -40));
  for (const POINT& gap : {POINT{9, 10}, {10, 9}, {60, 10}, {59, 110}})
    EXPECT_EQ(picture.At(gap.x, gap.y), 0u) << gap.x << ',' << gap.y;
  for (const POINT& red : {POINT{10, 10}, {59, 10}, {60, 40}})
    EXPECT_EQ(picture.At(red.x, red.y), kRedPixel) << red.x << ',' << red.y;
}

}  // namespace
}  // namespace qx::test
