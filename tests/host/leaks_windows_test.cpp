// What many shares leave behind in their process, whichever engines the system lets start.
#include <gtest/gtest.h>
#include <qx-screen-capture-c.h>
#include <qx-screen-capture.h>
#include <windows.h>

// After windows.h.
#include <tlhelp32.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "tests/host/ColorWindow.h"
#include "tests/platform/TestWindow.h"
#include "tests/support/ShareRecorder.h"

namespace qx::test {
namespace {

// Of this process, registry keys apart: Wine leaks two of them whenever a class can't be
// created. From the system's list of all, since Wine counts none for a process.
std::size_t handles() {
  struct Entry {
    void* object;
    std::uintptr_t processId;
    std::uintptr_t handle;
    ULONG access;
    USHORT creator;
    USHORT type;
    ULONG attributes;
    ULONG reserved;
  };
  struct List {
    std::uintptr_t count;
    std::uintptr_t reserved;
    Entry entries[1];
  };
  using Query = LONG(WINAPI*)(ULONG what, void* out, ULONG size, ULONG* needed);
  const auto query = reinterpret_cast<Query>(reinterpret_cast<void*>(
      GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
  constexpr ULONG kExtendedHandleInformation = 64;
  std::vector<std::uintptr_t> room(1 << 20);
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, L"Software", 0, KEY_READ, &key), ERROR_SUCCESS);
  const LONG status = query(kExtendedHandleInformation, room.data(),
                            static_cast<ULONG>(room.size() * sizeof(room[0])), nullptr);
  EXPECT_EQ(status, 0);
  const auto* const list = reinterpret_cast<const List*>(room.data());
  const Entry* const first = list->entries;
  const Entry* const last = first + list->count;
  const auto mine = [](const Entry& entry) { return entry.processId == GetCurrentProcessId(); };
  const Entry* const known = std::find_if(first, last, [&](const Entry& entry) {
    return mine(entry) && entry.handle == reinterpret_cast<std::uintptr_t>(key);
  });
  RegCloseKey(key);
  if (known == last) {
    ADD_FAILURE() << "the list lacks a handle";
    return 0;
  }
  const auto count = static_cast<std::size_t>(std::count_if(
      first, last, [&](const Entry& entry) { return mine(entry) && entry.type != known->type; }));
  return count;
}

int HandleId(HWND window) { return static_cast<int>(reinterpret_cast<std::intptr_t>(window)); }

int threads() {
  const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  EXPECT_NE(snapshot, INVALID_HANDLE_VALUE);
  THREADENTRY32 entry = {};
  entry.dwSize = sizeof(entry);
  int count = 0;
  for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry)) {
    count += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1 : 0;
  }
  CloseHandle(snapshot);
  return count;
}

TEST(LeaksTest, ThirtySharesLeaveNeitherHandlesNorThreads) {
  const ColorWindow window({40, 40, 240, 190}, 0xC8280A);
  LogRecorder log;
  ScreenCapture capture;
  capture.SetCaptureFPS(30);
  ShareRecorder host;
  IScreenCapture::ShareError error = IScreenCapture::ShareErrorNone;
  const auto monitor = static_cast<int>(reinterpret_cast<std::intptr_t>(
      MonitorFromWindow(window.Handle(), MONITOR_DEFAULTTOPRIMARY)));
  const auto twoShares = [&] {
    log.Forget();
    host.Forget();
    ASSERT_TRUE(capture.ShareDesktop(nullptr, monitor, &host, error)) << log.Dump();
    EXPECT_TRUE(host.WaitFor("frame", 1)) << log.Dump();
    capture.ShareStop();
    // Wine 8 does not tell Windows 10 where windows are.
    ASSERT_TRUE(capture.ShareWindow(nullptr, HandleId(window.Handle()), &host, error) ||
                capture.ShareDesktop(nullptr, monitor, &host, error))
        << log.Dump();
    EXPECT_TRUE(host.WaitFor("frame", 2)) << log.Dump();
    capture.ShareStop();
  };
  for (int i = 0; i < 3; ++i) {
    twoShares();  // what is made once for the process is there then
  }
  const std::size_t handlesBefore = handles();
  const int threadsBefore = threads();
  for (int i = 0; i < 15; ++i) {
    twoShares();
  }
  std::printf("handles %zu, then %zu; threads %d, then %d\n", handlesBefore, handles(),
              threadsBefore, threads());
  // Some that the system keeps come and go.
  EXPECT_LE(handles(), handlesBefore + 10);
  EXPECT_LE(threads(), threadsBefore + 1);
}

// A host that unloads the library may have threads that have called it.
TEST(LeaksTest, LibraryGoesThoughThreadsThatAskedItForTextLiveOn) {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(GetModuleHandleW(L"qx-screen-capture.dll"), path, MAX_PATH);
  const std::wstring copy = std::wstring(path) + L".copy.dll";
  ASSERT_TRUE(CopyFileW(path, copy.c_str(), FALSE));
  const HMODULE library = LoadLibraryW(copy.c_str());
  ASSERT_TRUE(library);
  const auto function = [&]<typename Function>(Function*, const char* name) {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(library, name)));
  };
  const auto create = function(&qx_create, "qx_create");
  const auto title = function(&qx_get_window_title, "qx_get_window_title");
  const auto destroy = function(&qx_destroy, "qx_destroy");
  TestEvent asked;
  TestEvent over;
  TestThread thread([&] {
    qx_screen_capture* const capture = create();
    EXPECT_STREQ(title(capture, 0), "");
    EXPECT_EQ(destroy(capture), QX_OK);
    asked.Set();
    over.Wait();
  });
  asked.Wait();
  EXPECT_TRUE(FreeLibrary(library));
  EXPECT_FALSE(GetModuleHandleW(copy.c_str()));
  over.Set();
  thread.Join();
  EXPECT_TRUE(DeleteFileW(copy.c_str()));
}

}  // namespace
}  // namespace qx::test
