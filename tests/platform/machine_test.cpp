// What virtual Windows answers when a test configures the machine.
#include "platform/control/Machine.h"

#include "platform/model/Modules.h"
#include "tests/platform/TestWindow.h"

namespace {

using namespace vwin::control;
using qx::test::FailsWith;

FARPROC Export(const char* module, const char* name) {
  return GetProcAddress(GetModuleHandleA(module), name);
}

}  // namespace

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
  const auto isAtLeast = [](DWORD minor, WORD servicePack) {
    OSVERSIONINFOEXW wanted{};
    wanted.dwOSVersionInfoSize = sizeof(wanted);
    wanted.dwMajorVersion = 6;
    wanted.dwMinorVersion = minor;
    wanted.wServicePackMajor = servicePack;
    ULONGLONG conditions = 0;
    for (const DWORD type : {VER_MAJORVERSION, VER_MINORVERSION, VER_SERVICEPACKMAJOR})
      conditions = VerSetConditionMask(conditions, type, VER_GREATER_EQUAL);
    return VerifyVersionInfoW(&wanted, VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR,
                              conditions) != FALSE;
  };
  EXPECT_TRUE(isAtLeast(1, 1));
  EXPECT_FALSE(isAtLeast(1, 2));
  EXPECT_FALSE(isAtLeast(2, 0));
  EXPECT_TRUE(isAtLeast(0, 2)) << "a service pack counts within its version only";
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
