// Threads, events, locks, modules, processes, text, versions: what real Windows
// answers is the reference for the stand-in.
#include <objbase.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/platform/TestWindow.h"

namespace qx::test {
namespace {

std::string toUtf8(const std::wstring& wide) {
  std::string text(64, '#');
  const int length =
      WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), text.data(),
                          static_cast<int>(text.size()), nullptr, nullptr);
  text.resize(static_cast<std::size_t>(length));
  return text;
}

TEST(Events, StaySetOrLetOneThreadGo) {
  TestEvent manual(TRUE, FALSE);
  EXPECT_EQ(DWORD{WAIT_TIMEOUT}, WaitForSingleObject(manual.handle, 1));
  EXPECT_TRUE(SetEvent(manual.handle));
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(manual.handle, 0));
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(manual.handle, INFINITE));
  TestEvent go(FALSE, TRUE);
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(go.handle, 0));
  EXPECT_EQ(DWORD{WAIT_TIMEOUT}, WaitForSingleObject(go.handle, 0));

  TestEvent gone(FALSE);
  std::atomic<int> count{0};
  const auto body = [&] {
    go.Wait();
    ++count;
    gone.Set();
  };
  TestThread first(body);
  TestThread second(body);
  go.Set();
  gone.Wait();
  EXPECT_EQ(1, count);
  go.Set();
  first.Join();
  second.Join();
  EXPECT_EQ(2, count);
}

TEST(Threads, HaveIdsAndLastErrorsOfTheirOwnAndAreSignalledFromTheirEndOn) {
  DWORD idInside = 0;
  DWORD error = 99;
  SetLastError(17);
  TestThread thread([&] {
    error = GetLastError();
    SetLastError(18);
    idInside = GetCurrentThreadId();
  });
  EXPECT_EQ(WAIT_OBJECT_0, thread.Join());
  EXPECT_EQ(17u, GetLastError());
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(thread.handle(), 0));
  EXPECT_EQ(0u, error);
  EXPECT_EQ(thread.id(), idInside);
  EXPECT_NE(GetCurrentThreadId(), idInside);
}

TEST(ConditionVariables, HandTheLockToAndFroAndHoldItAfterATimeOut) {
  SRWLOCK lock = SRWLOCK_INIT;
  CONDITION_VARIABLE changed = CONDITION_VARIABLE_INIT;
  constexpr int kTurns = 200;
  int turn = -1;  // from 0 on, even for one side, odd for the other
  const auto play = [&](int side) {
    AcquireSRWLockExclusive(&lock);
    EXPECT_GE(turn, 0) << "whoever timed out has the lock";
    while (turn < kTurns) {
      if (turn % 2 == side) {
        ++turn;
        WakeAllConditionVariable(&changed);
      } else {
        SleepConditionVariableSRW(&changed, &lock, INFINITE, 0);
      }
    }
    ReleaseSRWLockExclusive(&lock);
  };
  AcquireSRWLockExclusive(&lock);
  EXPECT_TRUE(
      FailsWith(ERROR_TIMEOUT, [&] { return SleepConditionVariableSRW(&changed, &lock, 5, 0); }));
  {
    TestThread even([&] { play(0); });
    TestThread odd([&] { play(1); });
    turn = 0;
    ReleaseSRWLockExclusive(&lock);
  }
  EXPECT_EQ(kTurns, turn);
}

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
      reinterpret_cast<LPCWSTR>(&toUtf8), &program));
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

TEST(Text, GoesToUtf8AndBackWhereThereIsRoom) {
  EXPECT_EQ("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", toUtf8(L"a\u00E4\u20AC\U0001F600"));
  const std::wstring lone = {L'x', static_cast<wchar_t>(0xD800), L'y'};
  EXPECT_EQ("x\xEF\xBF\xBDy", toUtf8(lone)) << "half a surrogate pair";
  std::wstring wide(8, L'#');
  const int length =
      MultiByteToWideChar(CP_UTF8, 0, "a\xC3\xA4\xF0\x9F\x98\x80", -1, wide.data(), 8);
  wide.resize(static_cast<std::size_t>(length));
  EXPECT_EQ(std::wstring(L"a\u00E4\U0001F600", std::size(L"a\u00E4\U0001F600")), wide)
      << "with the NUL";

  char small[3];
  const auto convert = [&](const wchar_t* text, int count, int room) {
    return WideCharToMultiByte(CP_UTF8, 0, text, count, room ? small : nullptr, room, nullptr,
                               nullptr);
  };
  EXPECT_EQ(4, convert(L"\u20AC", -1, 0));
  EXPECT_TRUE(FailsWith(ERROR_INSUFFICIENT_BUFFER, [&] { return convert(L"\u20AC", -1, 3); }));
  EXPECT_TRUE(FailsWith(ERROR_INVALID_PARAMETER, [&] { return convert(L"", 0, 3); }));
  EXPECT_EQ(0, _stricmp("PowerPnt", "pOWERpNT"));
  EXPECT_NE(0, _stricmp("a", "ab"));
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
