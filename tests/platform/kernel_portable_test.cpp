// Modules, processes, versions, COM: what real Windows answers is the reference for the
// stand-in.
#include <objbase.h>

#include <string>

#include "tests/platform/TestWindow.h"

namespace qx::test {
namespace {

TEST(Modules, AreFoundByNameOrByAnAddressInThem) {
  const HMODULE kernel = GetModuleHandleA("KERNEL32");
  ASSERT_NE(nullptr, kernel);
  EXPECT_EQ(kernel, GetModuleHandleA("kernel32.dll"));
  EXPECT_EQ(kernel, LoadLibraryA("Kernel32.dll"));
  EXPECT_TRUE(FreeLibrary(kernel));
  EXPECT_EQ(kernel, LoadLibraryExW(L"kernel32.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32));
  EXPECT_TRUE(FreeLibrary(kernel));

  constexpr DWORD kNotFound = ERROR_MOD_NOT_FOUND;
  EXPECT_TRUE(FailsWith(kNotFound, [] { return GetModuleHandleA("no-such-module.dll"); }));
  EXPECT_TRUE(FailsWith(kNotFound, [] { return LoadLibraryA("no-such-module.dll"); }));
  EXPECT_TRUE(FailsWith(kNotFound, [] {
    return LoadLibraryExW(L"no-such-module.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
  }));
  EXPECT_TRUE(
      FailsWith(ERROR_PROC_NOT_FOUND, [&] { return GetProcAddress(kernel, "NoSuchFunction"); }));

  HMODULE program = nullptr;
  EXPECT_TRUE(GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<LPCWSTR>(&IsAtLeast), &program));
  EXPECT_EQ(GetModuleHandleA(nullptr), program);

  HMODULE pinned = nullptr;
  const auto pin = [&](const wchar_t* name, DWORD flags = 0) {
    return GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | flags, name, &pinned);
  };
  EXPECT_TRUE(FailsWith(kNotFound, [&] { return pin(L"no-such-module.dll"); }));
  EXPECT_TRUE(FailsWith(ERROR_INVALID_PARAMETER, [&] {
    return pin(L"gdi32.dll", GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT);
  }));
  EXPECT_TRUE(pin(L"gdi32.dll"));
  EXPECT_EQ(GetModuleHandleA("gdi32.dll"), pinned);
  EXPECT_TRUE(FreeLibrary(pinned)) << "one reference too many does no harm";
  EXPECT_EQ(GetModuleHandleA("gdi32.dll"), pinned);
}

TEST(Versions, AgreeBetweenTheirTwoSources) {
  using GetNumbers = void(WINAPI*)(DWORD*, DWORD*, DWORD*);
  const auto getNumbers = reinterpret_cast<GetNumbers>(reinterpret_cast<void*>(
      GetProcAddress(GetModuleHandleA("ntdll.dll"), "RtlGetNtVersionNumbers")));
  ASSERT_NE(nullptr, getNumbers);
  DWORD major = 0, minor = 0, build = 0;
  getNumbers(&major, &minor, &build);
  EXPECT_EQ(0xF0000000u, build & 0xFFFF0000u) << "flags of a release build";

  EXPECT_EQ(284u, sizeof(OSVERSIONINFOEXW));
  EXPECT_EQ(major > 6 || (major == 6 && minor >= 2), IsAtLeast(6, 2, 0) != FALSE);
  EXPECT_TRUE(IsAtLeast(5, 9, 0))
      << "a lower minor number does not matter below a higher major one";
  EXPECT_TRUE(FailsWith(ERROR_OLD_WIN_VERSION, [] { return IsAtLeast(99, 0, 0); }));
}

TEST(Processes, TellTheirImagePathWhenThereIsRoom) {
  const HANDLE self =
      OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, GetCurrentProcessId());
  ASSERT_NE(nullptr, self);
  char path[260] = {};
  DWORD size = sizeof(path);
  ASSERT_TRUE(QueryFullProcessImageNameA(self, 0, path, &size));
  EXPECT_EQ(std::string(path).size(), size);
  EXPECT_EQ(".exe", std::string(path).substr(size - 4));
  // No room for the NUL.
  EXPECT_TRUE(FailsWith(ERROR_INSUFFICIENT_BUFFER,
                        [&] { return QueryFullProcessImageNameA(self, 0, path, &size); }));
  CloseHandle(self);
  EXPECT_TRUE(FailsWith(ERROR_INVALID_PARAMETER,
                        [] { return OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, 0x7FFFFFFC); }));
}

TEST(System, KnowsItsDesktopAndNoKeyThatNobodyMade) {
  const HDESK desktop = OpenDesktopA("Default", 0, FALSE, DESKTOP_SWITCHDESKTOP);
  ASSERT_NE(nullptr, desktop);
  EXPECT_TRUE(SwitchDesktop(desktop));
  EXPECT_TRUE(CloseDesktop(desktop));
  EXPECT_EQ(nullptr, OpenDesktopA("NoSuchDesktop", 0, FALSE, DESKTOP_SWITCHDESKTOP));
  HKEY key = nullptr;
  EXPECT_EQ(ERROR_FILE_NOT_FOUND,
            RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\NobodyMadeThis", 0, KEY_READ, &key));
}

TEST(Com, IsEnteredAndLeftByEachThread) {
  EXPECT_EQ(S_OK, CoInitializeEx(nullptr, COINIT_MULTITHREADED));
  EXPECT_EQ(S_FALSE, CoInitializeEx(nullptr, COINIT_MULTITHREADED));
  EXPECT_EQ(RPC_E_CHANGED_MODE, CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
  CoUninitialize();
  CoUninitialize();
  EXPECT_EQ(S_OK, CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
  CoUninitialize();
}

}  // namespace
}  // namespace qx::test
