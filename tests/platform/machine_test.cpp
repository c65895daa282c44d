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
