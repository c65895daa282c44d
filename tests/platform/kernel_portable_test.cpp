// Threads, events, locks, modules, processes, text, versions: what real Windows
// answers is the reference for the stand-in.
#include <gtest/gtest.h>
#include <objbase.h>
#include <windows.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/platform/TestWindow.h"

namespace {

using qx::test::TestThread;

struct ScopedEvent {
  ScopedEvent(BOOL manualReset, BOOL set)
      : handle(CreateEventW(nullptr, manualReset, set, nullptr)) {}
  ~ScopedEvent() { CloseHandle(handle); }
  ScopedEvent(const ScopedEvent&) = delete;
  ScopedEvent& operator=(const ScopedEvent&) = delete;
  const HANDLE handle;
};

template <typename Function>
Function Find(const char* module, const char* name) {
  return reinterpret_cast<Function>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA(module), name)));
}

std::string ToUtf8(const std::wstring& wide) {
  std::string text(64, '#');
  const int length =
      WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), text.data(),
                          static_cast<int>(text.size()), nullptr, nullptr);
  text.resize(static_cast<std::size_t>(length));
  return text;
}

}  // namespace

TEST(Event, OfTheTwoKindsOnlyOneStaysSetAfterAWait) {
  const ScopedEvent automatic(FALSE, TRUE);
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(automatic.handle, 0));
  EXPECT_EQ(DWORD{WAIT_TIMEOUT}, WaitForSingleObject(automatic.handle, 0));

  const ScopedEvent manual(TRUE, FALSE);
  EXPECT_EQ(DWORD{WAIT_TIMEOUT}, WaitForSingleObject(manual.handle, 1));
  EXPECT_TRUE(SetEvent(manual.handle));
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(manual.handle, 0));
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(manual.handle, INFINITE));
}

TEST(Event, LetsOneWaitingThreadGoForEachSetting) {
  const ScopedEvent go(FALSE, FALSE);
  const ScopedEvent gone(FALSE, FALSE);
  std::atomic<int> count{0};
  const auto body = [&] {
    WaitForSingleObject(go.handle, INFINITE);
    ++count;
    SetEvent(gone.handle);
  };
  TestThread first(body);
  TestThread second(body);
  SetEvent(go.handle);
  WaitForSingleObject(gone.handle, INFINITE);
  EXPECT_EQ(1, count);
  SetEvent(go.handle);
  first.Join();
  second.Join();
  EXPECT_EQ(2, count);
}

TEST(Thread, HasItsIdAndIsSignalledFromItsEndOn) {
  std::atomic<DWORD> idInside{0};
  TestThread thread([&] { idInside = GetCurrentThreadId(); });
  EXPECT_EQ(WAIT_OBJECT_0, thread.Join());
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(thread.handle(), 0));
  EXPECT_EQ(thread.id(), idInside);
  EXPECT_NE(GetCurrentThreadId(), idInside);
}

TEST(Thread, HasALastErrorOfItsOwn) {
  SetLastError(17);
  std::atomic<DWORD> inside{99};
  TestThread([&] {
    inside = GetLastError();
    SetLastError(18);
  });
  EXPECT_EQ(0u, inside);
  EXPECT_EQ(17u, GetLastError());
}

TEST(ConditionVariable, HandsTheLockToAndFro) {
  SRWLOCK lock = SRWLOCK_INIT;
  CONDITION_VARIABLE changed = CONDITION_VARIABLE_INIT;
  int turn = 0;  // odd for one side, even for the other
  constexpr int kTurns = 200;
  const auto play = [&](int side) {
    AcquireSRWLockExclusive(&lock);
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
  {
    TestThread even([&] { play(0); });
    TestThread odd([&] { play(1); });
  }
  EXPECT_EQ(kTurns, turn);
}

TEST(ConditionVariable, TellsATimeOutAndHoldsTheLockThen) {
  SRWLOCK lock = SRWLOCK_INIT;
  CONDITION_VARIABLE changed = CONDITION_VARIABLE_INIT;
  std::atomic<bool> released{false};
  std::atomic<bool> sawReleased{false};
  AcquireSRWLockExclusive(&lock);
  EXPECT_FALSE(SleepConditionVariableSRW(&changed, &lock, 5, 0));
  EXPECT_EQ(DWORD{ERROR_TIMEOUT}, GetLastError());
  {
    TestThread other([&] {
      AcquireSRWLockExclusive(&lock);
      sawReleased = released.load();
      ReleaseSRWLockExclusive(&lock);
    });
    released = true;
    ReleaseSRWLockExclusive(&lock);
  }
  EXPECT_TRUE(sawReleased);
}

TEST(Modules, AreFoundByNameOrByAnAddressInThem) {
  const HMODULE kernel = GetModuleHandleA("KERNEL32");
  ASSERT_NE(nullptr, kernel);
  EXPECT_EQ(kernel, GetModuleHandleA("kernel32.dll"));
  EXPECT_EQ(kernel, LoadLibraryA("Kernel32.dll"));
  EXPECT_TRUE(FreeLibrary(kernel));

  EXPECT_EQ(nullptr, GetModuleHandleA("no-such-module.dll"));
  EXPECT_EQ(DWORD{ERROR_MOD_NOT_FOUND}, GetLastError());
  EXPECT_EQ(nullptr, LoadLibraryA("no-such-module.dll"));
  EXPECT_EQ(DWORD{ERROR_MOD_NOT_FOUND}, GetLastError());
  EXPECT_EQ(kernel, LoadLibraryExW(L"kernel32.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32));
  EXPECT_TRUE(FreeLibrary(kernel));
  EXPECT_EQ(nullptr, LoadLibraryExW(L"no-such-module.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32));
  EXPECT_EQ(DWORD{ERROR_MOD_NOT_FOUND}, GetLastError());
  EXPECT_EQ(nullptr, GetProcAddress(kernel, "NoSuchFunction"));
  EXPECT_EQ(DWORD{ERROR_PROC_NOT_FOUND}, GetLastError());

  HMODULE program = nullptr;
  EXPECT_TRUE(GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<LPCWSTR>(&ToUtf8), &program));
  EXPECT_EQ(GetModuleHandleA(nullptr), program);
}

TEST(Modules, APinnedOneStays) {
  constexpr DWORD kPin = GET_MODULE_HANDLE_EX_FLAG_PIN;
  HMODULE pinned = nullptr;
  EXPECT_FALSE(GetModuleHandleExW(kPin, L"no-such-module.dll", &pinned));
  EXPECT_EQ(DWORD{ERROR_MOD_NOT_FOUND}, GetLastError());
  EXPECT_FALSE(GetModuleHandleExW(kPin | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, L"gdi32.dll",
                                  &pinned));
  EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, GetLastError());
  EXPECT_TRUE(GetModuleHandleExW(kPin, L"gdi32.dll", &pinned));
  EXPECT_EQ(GetModuleHandleA("gdi32.dll"), pinned);
  EXPECT_TRUE(FreeLibrary(pinned)) << "one reference too many does no harm";
  EXPECT_EQ(GetModuleHandleA("gdi32.dll"), pinned);
}

TEST(Versions, AgreeBetweenTheirTwoSources) {
  using GetNumbers = void(WINAPI*)(DWORD*, DWORD*, DWORD*);
  const auto getNumbers = Find<GetNumbers>("ntdll.dll", "RtlGetNtVersionNumbers");
  ASSERT_NE(nullptr, getNumbers);
  DWORD major = 0;
  DWORD minor = 0;
  DWORD build = 0;
  getNumbers(&major, &minor, &build);
  EXPECT_EQ(0xF0000000u, build & 0xFFFF0000u) << "flags of a release build";

  OSVERSIONINFOEXW wanted{};
  wanted.dwOSVersionInfoSize = sizeof(wanted);
  EXPECT_EQ(284u, sizeof(wanted));
  const DWORD types = VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR;
  ULONGLONG conditions = VerSetConditionMask(0, VER_MAJORVERSION, VER_GREATER_EQUAL);
  conditions = VerSetConditionMask(conditions, VER_MINORVERSION, VER_GREATER_EQUAL);
  conditions = VerSetConditionMask(conditions, VER_SERVICEPACKMAJOR, VER_GREATER_EQUAL);
  wanted.dwMajorVersion = 6;
  wanted.dwMinorVersion = 2;
  const bool isWindows8 = major > 6 || (major == 6 && minor >= 2);
  EXPECT_EQ(isWindows8, VerifyVersionInfoW(&wanted, types, conditions) != FALSE);
  // A lower minor number does not matter below a higher major one.
  wanted.dwMajorVersion = 5;
  wanted.dwMinorVersion = 9;
  EXPECT_TRUE(VerifyVersionInfoW(&wanted, types, conditions));
  wanted.dwMajorVersion = 99;
  wanted.dwMinorVersion = 0;
  EXPECT_FALSE(VerifyVersionInfoW(&wanted, types, conditions));
  EXPECT_EQ(DWORD{ERROR_OLD_WIN_VERSION}, GetLastError());
}

TEST(Text, GoesToUtf8AndBack) {
  EXPECT_EQ("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", ToUtf8(L"a\u00E4\u20AC\U0001F600"));
  const std::wstring lone = {L'x', static_cast<wchar_t>(0xD800), L'y'};
  EXPECT_EQ("x\xEF\xBF\xBDy", ToUtf8(lone)) << "half a surrogate pair";

  const char utf8[] = "a\xC3\xA4\xF0\x9F\x98\x80";
  std::wstring wide(8, L'#');
  const int length = MultiByteToWideChar(CP_UTF8, 0, utf8, -1, wide.data(), 8);
  ASSERT_GT(length, 0);
  wide.resize(static_cast<std::size_t>(length));
  EXPECT_EQ(std::wstring(L"a\u00E4\U0001F600", std::size(L"a\u00E4\U0001F600")), wide)
      << "with the NUL";
}

TEST(Text, NeedsRoom) {
  EXPECT_EQ(4, WideCharToMultiByte(CP_UTF8, 0, L"\u20AC", -1, nullptr, 0, nullptr, nullptr));
  char small[3];
  EXPECT_EQ(0, WideCharToMultiByte(CP_UTF8, 0, L"\u20AC", -1, small, 3, nullptr, nullptr));
  EXPECT_EQ(DWORD{ERROR_INSUFFICIENT_BUFFER}, GetLastError());
  EXPECT_EQ(0, WideCharToMultiByte(CP_UTF8, 0, L"", 0, small, 3, nullptr, nullptr));
  EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, GetLastError());
  EXPECT_EQ(0, _stricmp("PowerPnt", "pOWERpNT"));
  EXPECT_NE(0, _stricmp("a", "ab"));
}

TEST(Process, TellsItsImagePathWhenThereIsRoom) {
  const HANDLE self =
      OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, GetCurrentProcessId());
  ASSERT_NE(nullptr, self);
  char path[260] = {};
  DWORD size = sizeof(path);
  ASSERT_TRUE(QueryFullProcessImageNameA(self, 0, path, &size));
  EXPECT_EQ(std::string(path).size(), size);
  EXPECT_EQ(".exe", std::string(path).substr(size - 4));
  DWORD tooSmall = size;  // no room for the NUL
  EXPECT_FALSE(QueryFullProcessImageNameA(self, 0, path, &tooSmall));
  EXPECT_EQ(DWORD{ERROR_INSUFFICIENT_BUFFER}, GetLastError());
  CloseHandle(self);

  EXPECT_EQ(nullptr, OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, 0x7FFFFFFC));
  EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, GetLastError());
}

TEST(Registry, LacksAKeyThatNobodyMade) {
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

TEST(InputDesktop, CanBeSwitchedToWithTheRight) {
  const HDESK desktop = OpenDesktopA("Default", 0, FALSE, DESKTOP_SWITCHDESKTOP);
  ASSERT_NE(nullptr, desktop);
  EXPECT_TRUE(SwitchDesktop(desktop));
  EXPECT_TRUE(CloseDesktop(desktop));
  EXPECT_EQ(nullptr, OpenDesktopA("NoSuchDesktop", 0, FALSE, DESKTOP_SWITCHDESKTOP));
}
