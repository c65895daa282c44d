// What virtual Windows answers when a test configures the machine: versions, keys,
// processes, icons, monitors and what lies at their edges.
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

TEST(Process, CanBeOpenedOnlyWhenItIsThereAndLetsUs) {
  AddProcess(7000, L"C:\\Apps\\Gr\u00FCn.exe");
  AddProcess(7004, L"C:\\Apps\\elevated.exe", false);
  char path[260];
  DWORD size = sizeof(path);
  const auto read = [&](DWORD id, DWORD rights) {
    const HANDLE process = OpenProcess(rights, FALSE, id);
    const BOOL done = process && QueryFullProcessImageNameA(process, 0, path, &size);
    const DWORD error = GetLastError();
    if (process) CloseHandle(process);
    SetLastError(error);
    return done;
  };
  EXPECT_TRUE(read(7000, PROCESS_QUERY_LIMITED_INFORMATION));
  EXPECT_STREQ("C:\\Apps\\Gr\xFCn.exe", path);
  EXPECT_TRUE(FailsWith(ERROR_ACCESS_DENIED, [&] { return read(7000, PROCESS_VM_READ); }));
  EXPECT_TRUE(
      FailsWith(ERROR_ACCESS_DENIED, [&] { return read(7004, PROCESS_QUERY_INFORMATION); }));
  RemoveProcess(7000);
  EXPECT_TRUE(
      FailsWith(ERROR_INVALID_PARAMETER, [&] { return read(7000, PROCESS_QUERY_INFORMATION); }));
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

MONITORINFOEXW infoOf(HMONITOR monitor) {
  MONITORINFOEXW info{};
  info.cbSize = sizeof(info);
  EXPECT_TRUE(GetMonitorInfoW(monitor, &info));
  return info;
}

std::vector<HMONITOR> enumerated(LPCRECT clip = nullptr) {
  std::vector<HMONITOR> found;
  EnumDisplayMonitors(
      nullptr, clip,
      [](HMONITOR monitor, HDC, LPRECT, LPARAM to) -> BOOL {
        reinterpret_cast<std::vector<HMONITOR>*>(to)->push_back(monitor);
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&found));
  return found;
}

TEST_F(MonitorTest, AreListedInTheirOrderWithTheirFacts) {
  const HMONITOR first = PrimaryMonitor();
  const HMONITOR left = AddMonitor({-80, -20, 0, 40}, {.workArea = RECT{-80, -20, 0, 30}});
  EXPECT_EQ(enumerated(), (std::vector<HMONITOR>{first, left}));
  EXPECT_GT(reinterpret_cast<std::intptr_t>(first), 0);
  EXPECT_LT(reinterpret_cast<std::intptr_t>(left), 0) << "the second one needs sign extension";

  const MONITORINFOEXW info = infoOf(left);
  EXPECT_EQ(info.rcMonitor.left, -80);
  EXPECT_EQ(info.rcWork.bottom, 30);
  EXPECT_FALSE(info.dwFlags & MONITORINFOF_PRIMARY);
  EXPECT_STREQ(info.szDevice, L"\\\\.\\DISPLAY2");
  EXPECT_TRUE(infoOf(first).dwFlags & MONITORINFOF_PRIMARY);
  EXPECT_EQ(GetSystemMetrics(SM_XVIRTUALSCREEN), -80);
  EXPECT_EQ(GetSystemMetrics(SM_CYVIRTUALSCREEN), 120);
  EXPECT_EQ(GetSystemMetrics(SM_CMONITORS), 2);

  const RECT onTheLeft = {-10, 0, -5, 5};
  EXPECT_EQ(enumerated(&onTheLeft), (std::vector<HMONITOR>{left}));
}

TEST_F(MonitorTest, ARenewedOneIsTheSameDeviceAndStaleHandlesAreRefused) {
  const HMONITOR before = AddMonitor({200, 0, 300, 100}, {.device = L"\\\\.\\DISPLAY7"});
  const HMONITOR after = RenewMonitorHandle(before);
  EXPECT_NE(before, after);
  EXPECT_STREQ(infoOf(after).szDevice, L"\\\\.\\DISPLAY7");
  EXPECT_EQ(enumerated(), (std::vector<HMONITOR>{PrimaryMonitor(), after}));
  RemoveMonitor(after);
  MONITORINFO info{};
  info.cbSize = sizeof(info);
  for (const HMONITOR none : {before, after, reinterpret_cast<HMONITOR>(GetDesktopWindow())}) {
    EXPECT_TRUE(
        FailsWith(ERROR_INVALID_MONITOR_HANDLE, [&] { return GetMonitorInfoW(none, &info); }));
  }
  info.cbSize = 12;
  EXPECT_FALSE(GetMonitorInfoW(PrimaryMonitor(), &info));
}

TEST_F(MonitorTest, NothingIsOutsideOfThem) {
  AddMonitor({-50, -30, 0, 70});
  open({.rect = {-100, -100, 300, 300}, .color = kRed});
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
