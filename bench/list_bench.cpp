// list-bench WINDOWS LIMIT: what a list of so many windows costs, as a multiple of the
// processor time of a hand-written loop, and how many processes it opens.

// dwmapi.h needs what windows.h declares.
// clang-format off
#include <windows.h>
#include <dwmapi.h>
// clang-format on

#include <objbase.h>
#include <shobjidl.h>

#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "CountMain.h"
#include "Report.h"
#include "qx-screen-capture.h"
#include "scene.h"
#include "thread_time.h"

namespace {

constexpr int kRounds = 30;
constexpr int kListsPerRound = 20;
constexpr int kRoom = 2048;

// --------------------------------------------------------------- the hand-written loop

struct Record {
  HWND window;
  DWORD processId;
  std::wstring processName;
  std::wstring title;
  RECT rect;
};

BOOL CALLBACK CollectCandidate(HWND window, LPARAM found) {
  wchar_t name[kRoom];
  if (IsWindowVisible(window) && GetClassNameW(window, name, kRoom) > 0 &&
      std::wstring_view(name) != L"Progman") {
    reinterpret_cast<std::vector<HWND>*>(found)->push_back(window);
  }
  return TRUE;
}

void DropOtherDesktops(std::vector<HWND>& windows) {
  void* created = nullptr;
  if (FAILED(CoCreateInstance(CLSID_VirtualDesktopManager, nullptr, CLSCTX_ALL,
                              IID_IVirtualDesktopManager, &created))) {
    return;
  }
  auto* const manager = static_cast<IVirtualDesktopManager*>(created);
  std::erase_if(windows, [&](HWND window) {
    wchar_t name[kRoom];
    DWORD cloaked = 0;
    BOOL onCurrent = TRUE;
    return (SUCCEEDED(DwmGetWindowAttribute(window, DWMWA_CLOAKED, &cloaked, sizeof(cloaked))) &&
            cloaked != 0 &&
            SUCCEEDED(manager->IsWindowOnCurrentVirtualDesktop(window, &onCurrent)) &&
            !onCurrent) ||
           (GetClassNameW(window, name, kRoom) > 0 &&
            std::wstring_view(name) == L"ThumbnailWindow");
  });
  manager->Release();
}

std::wstring ProcessName(DWORD processId) {
  std::wstring name;
  const HANDLE process = OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, processId);
  if (process) {
    wchar_t path[kRoom];
    DWORD length = kRoom;
    if (QueryFullProcessImageNameW(process, 0, path, &length)) {
      name = path;
      name = name.substr(name.rfind(L'\\') + 1);
      name.resize(name.rfind(L'.'));
    }
    CloseHandle(process);
  }
  return name;
}

std::size_t ListByHand() {
  std::vector<HWND> windows;
  EnumWindows(CollectCandidate, reinterpret_cast<LPARAM>(&windows));
  DropOtherDesktops(windows);
  std::vector<Record> records;
  for (const HWND window : windows) {
    wchar_t title[kRoom];
    RECT rect = {};
    if (GetWindowTextW(window, title, kRoom) == 0 ||
        (GetWindowLongPtrW(window, GWL_EXSTYLE) & WS_EX_TOPMOST) != 0 ||
        !GetWindowRect(window, &rect) || IsIconic(window) || rect.right - rect.left < 32) {
      continue;
    }
    DWORD processId = 0;
    GetWindowThreadProcessId(window, &processId);
    std::wstring name = ProcessName(processId);
    if (!IsIconic(window) && !IsZoomed(window) &&
        SUCCEEDED(
            DwmGetWindowAttribute(window, DWMWA_EXTENDED_FRAME_BOUNDS, &rect, sizeof(rect)))) {
      records.push_back({window, processId, std::move(name), title, rect});
    }
  }
  return records.size();
}

// -------------------------------------------------------------------------- the library

std::size_t ListByLibrary(ScreenCapture& capture) {
  std::size_t listed = 0;
  capture.GetWindowList(
      [](const IScreenCapture::WindowInfo*, const int& count, void* user) {
        *static_cast<std::size_t*>(user) = static_cast<std::size_t>(count);
      },
      &listed);
  return listed;
}

struct Cost {
  double micros;     // a list
  double processes;  // opened for a list
};

template <typename List>
Cost Measure(std::size_t windows, List list) {
  const std::uint64_t opened = CountCalls("OpenProcess");
  const double start = ThreadMicros();
  for (int i = 0; i < kListsPerRound; ++i) {
    if (list() != windows) {
      throw std::runtime_error("a list has the wrong length");
    }
  }
  return {(ThreadMicros() - start) / kListsPerRound,
          static_cast<double>(CountCalls("OpenProcess") - opened) / kListsPerRound};
}

int Run(int windows, double limit) {
  if (!OpenManyWindows(windows)) {
    throw std::runtime_error("there is no desktop to list here");
  }
  const auto count = static_cast<std::size_t>(windows);
  ScreenCapture capture;
  std::vector<double> hand;
  std::vector<double> library;
  Cost byHand = {};
  Cost byLibrary = {};
  // Both sides take turns, and the quieter half of each one's rounds counts. The first
  // round is for warming up.
  for (int round = 0; round <= kRounds; ++round) {
    byHand = Measure(count, ListByHand);
    byLibrary = Measure(count, [&] { return ListByLibrary(capture); });
    if (round > 0) {
      hand.push_back(byHand.micros);
      library.push_back(byLibrary.micros);
    }
  }
  std::fprintf(stderr, "  hand loop %.0f us, library %.0f us a list\n", LowerHalfMean(hand),
               LowerHalfMean(library));
  const std::string what = "list of " + std::to_string(windows) + " windows, ";
  Report report;
  report.AtMost(what + "times the hand loop", LowerHalfMean(library) / LowerHalfMean(hand), limit);
  report.AtMost(what + "processes opened, at most the hand loop's", byLibrary.processes,
                byHand.processes);
  return report.ExitCode();
}

}  // namespace

int main(int argc, char** argv) {
  return CountMain(argc, argv, "list-bench", [](int windows, double limit) {
    // As on a host's main thread, so that virtual desktops are asked about.
    if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {
      throw std::runtime_error("no COM");
    }
    struct Apartment {
      ~Apartment() { CoUninitialize(); }
    } const apartment;
    return Run(windows, limit);
  });
}
