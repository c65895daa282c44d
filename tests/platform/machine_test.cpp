// What virtual Windows answers when a test configures the machine.
#include "platform/control/Machine.h"

#include <gtest/gtest.h>
#include <windows.h>
#include <wtsapi32.h>

#include <cstdint>

#include "platform/model/Modules.h"

namespace {

using namespace vwin::control;

FARPROC Export(const char* module, const char* name) {
  return GetProcAddress(GetModuleHandleA(module), name);
}

// VerifyVersionInfoW as the usual helpers ask it.
bool IsAtLeast(std::uint32_t major, std::uint32_t minor, std::uint16_t servicePack) {
  OSVERSIONINFOEXW wanted{};
  wanted.dwOSVersionInfoSize = sizeof(wanted);
  wanted.dwMajorVersion = major;
  wanted.dwMinorVersion = minor;
  wanted.wServicePackMajor = servicePack;
  ULONGLONG conditions = 0;
  for (const DWORD type : {VER_MAJORVERSION, VER_MINORVERSION, VER_SERVICEPACKMAJOR}) {
    conditions = VerSetConditionMask(conditions, type, VER_GREATER_EQUAL);
  }
  return VerifyVersionInfoW(&wanted, VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR,
                            conditions) != FALSE;
}

// The session's flags, or -1 when they can't be had.
int SessionFlags() {
  LPWSTR buffer = nullptr;
  DWORD bytes = 0;
  if (WTSQuerySessionInformationW(WTS_CURRENT_SERVER_HANDLE, WTS_CURRENT_SESSION, WTSSessionInfoEx,
                                  &buffer, &bytes) == FALSE) {
    return -1;
  }
  const auto* const record = reinterpret_cast<const WTSINFOEXW*>(buffer);
  const int flags = bytes == 0 ? -1 : record->Data.WTSInfoExLevel1.SessionFlags;
  WTSFreeMemory(buffer);
  return flags;
}

}  // namespace

TEST(Version, DecidesWhatTheTwoSourcesSayAndWhichFunctionsThereAre) {
  struct Case {
    vwin::Version version;
    bool is8;
    bool hasPreciseTime;
    bool hasThreadDescription;
  };
  for (const Case& c :
       {Case{kWindows7, false, false, false}, Case{kWindows8, true, true, false},
        Case{kWindows81, true, true, false}, Case{kWindows10, true, true, true},
        Case{{10, 0, 10586}, true, true, false}, Case{kWindows11, true, true, true}}) {
    SetVersion(c.version);
    const auto numbers = reinterpret_cast<void (*)(DWORD*, DWORD*, DWORD*)>(
        reinterpret_cast<void*>(Export("ntdll.dll", "RtlGetNtVersionNumbers")));
    DWORD major = 0;
    DWORD minor = 0;
    DWORD build = 0;
    numbers(&major, &minor, &build);
    EXPECT_EQ(c.version, (vwin::Version{major, minor, build & 0xFFFF}));
    EXPECT_EQ(c.is8, IsAtLeast(6, 2, 0)) << c.version.build;
    EXPECT_EQ(c.hasPreciseTime, Export("kernel32.dll", "GetSystemTimePreciseAsFileTime") != nullptr)
        << c.version.build;
    EXPECT_EQ(c.hasThreadDescription, Export("kernel32.dll", "SetThreadDescription") != nullptr)
        << c.version.build;
  }
  SetVersion(kWindows7);
  EXPECT_TRUE(IsAtLeast(6, 1, 1));
  EXPECT_FALSE(IsAtLeast(6, 1, 2));
  EXPECT_TRUE(IsAtLeast(6, 0, 2)) << "a service pack counts within its version only";
}

TEST(Session, TellsALockInTheWayOfItsVersion) {
  EXPECT_EQ(WTS_SESSIONSTATE_UNLOCK, SessionFlags());
  LockSession(true);
  EXPECT_EQ(WTS_SESSIONSTATE_LOCK, SessionFlags());
  SetVersion(kWindows7);
  EXPECT_EQ(WTS_SESSIONSTATE_UNLOCK, SessionFlags()) << "the wrong way round on Windows 7";

  SetSessionQuery(SessionQuery::kNoBytes);
  EXPECT_EQ(-1, SessionFlags());
  SetSessionQuery(SessionQuery::kFails, 7022);
  EXPECT_EQ(-1, SessionFlags());
  EXPECT_EQ(7022u, GetLastError());
}

TEST(Registry, ChecksTheRightsOfAKey) {
  const char* const path = "Software\\Test";
  SetRegistryDword(path, "Number", 0x01020304);
  HKEY key = nullptr;
  std::uint32_t value = 0;
  DWORD type = 0;
  DWORD size = sizeof(value);
  ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExA(HKEY_CURRENT_USER, "SOFTWARE\\test\\", 0, KEY_READ, &key));
  auto* const bytes = reinterpret_cast<BYTE*>(&value);
  EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExA(key, "number", nullptr, &type, bytes, &size));
  EXPECT_EQ(0x01020304u, value);
  EXPECT_EQ(DWORD{REG_DWORD}, type);
  size = 2;
  EXPECT_EQ(ERROR_MORE_DATA, RegQueryValueExA(key, "Number", nullptr, nullptr, bytes, &size));
  EXPECT_EQ(4u, size);
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegQueryValueExA(key, "Other", nullptr, nullptr, bytes, &size));
  EXPECT_EQ(ERROR_ACCESS_DENIED, RegSetValueExA(key, "Number", 0, REG_DWORD, bytes, 4));
  EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(key));

  ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExA(HKEY_CURRENT_USER, path, 0, KEY_WRITE, &key));
  value = 5;
  EXPECT_EQ(ERROR_SUCCESS, RegSetValueExA(key, "Number", 0, REG_DWORD, bytes, 4));
  EXPECT_EQ(ERROR_ACCESS_DENIED, RegQueryValueExA(key, "Number", nullptr, nullptr, bytes, &size));
  EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(key));
  EXPECT_EQ(5u, RegistryDword(path, "Number"));
  RemoveRegistryKey(path);
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegOpenKeyExA(HKEY_CURRENT_USER, path, 0, KEY_READ, &key));
}

TEST(Process, CanBeOpenedOnlyWhenItIsThereAndLetsUs) {
  AddProcess(7000, L"C:\\Apps\\Gr\u00FCn.exe");
  AddProcess(7004, L"C:\\Apps\\elevated.exe", false);
  const HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, 7000);
  char path[260];
  DWORD size = sizeof(path);
  EXPECT_TRUE(QueryFullProcessImageNameA(process, 0, path, &size));
  EXPECT_STREQ("C:\\Apps\\Gr\xFCn.exe", path);
  CloseHandle(process);
  const HANDLE blind = OpenProcess(PROCESS_VM_READ, FALSE, 7000);
  EXPECT_FALSE(QueryFullProcessImageNameA(blind, 0, path, &size));
  EXPECT_EQ(DWORD{ERROR_ACCESS_DENIED}, GetLastError());
  CloseHandle(blind);
  EXPECT_EQ(nullptr, OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, 7004));
  EXPECT_EQ(DWORD{ERROR_ACCESS_DENIED}, GetLastError());
  RemoveProcess(7000);
  EXPECT_EQ(nullptr, OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, 7000));
  EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, GetLastError());
}
