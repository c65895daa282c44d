// filter-bench LIMIT: what 64 rules against 200 windows cost a frame, in
// microseconds.
#include <windows.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "FilterRules.h"
#include "Report.h"
#include "win/prompt/FilterWindowManager.h"

namespace {

constexpr int kRounds = 50;
constexpr int kFramesPerRound = 40;

std::vector<HWND> OpenWindows() {
  WNDCLASSEXW windowClass = {};
  windowClass.cbSize = sizeof(windowClass);
  windowClass.lpfnWndProc = DefWindowProcW;
  windowClass.lpszClassName = L"FilterBench";
  RegisterClassExW(&windowClass);
  std::vector<HWND> windows;
  for (int i = 0; i < kFilterWindows; ++i) {
    const std::wstring title = L"Document " + std::to_wstring(i);
    windows.push_back(CreateWindowExW(0, L"FilterBench", title.c_str(), WS_POPUP, i, i, 200, 100,
                                      nullptr, nullptr, nullptr, nullptr));
    if (windows.back() == nullptr) {
      std::fputs("filter-bench: can't open a window\n", stderr);
      std::exit(2);
    }
  }
  return windows;
}

// As a monitor share does it for each of its frames.
int CountExcluded(const qx::FilterWindowManager& manager, const std::vector<HWND>& windows) {
  int excluded = 0;
  for (const HWND window : windows) {
    if (manager.IsExcludedWindow(window) && !manager.IsIncludedWindow(window)) {
      ++excluded;
    }
  }
  return excluded;
}

}  // namespace

int main(int argc, char** argv) {
  const double limit = argc == 2 ? std::strtod(argv[1], nullptr) : 0;
  if (limit <= 0) {
    std::fputs("usage: filter-bench LIMIT\n", stderr);
    return 2;
  }
  const std::vector<HWND> windows = OpenWindows();
  qx::FilterWindowManager manager;
  manager.SetExcludeWindows(MakeFilterRules(windows));
  manager.AddIncludeWindow(IScreenCapture::FilterWindowInfo{.type = 1, .processId = 900000});
  std::vector<double> micros;
  for (int round = 0; round < kRounds; ++round) {
    const auto start = std::chrono::steady_clock::now();
    for (int frame = 0; frame < kFramesPerRound; ++frame) {
      if (CountExcluded(manager, windows) != kFilteredWindows) {
        std::fputs("filter-bench: the wrong windows match\n", stderr);
        return 2;
      }
    }
    const std::chrono::duration<double, std::micro> passed =
        std::chrono::steady_clock::now() - start;
    micros.push_back(passed.count() / kFramesPerRound);
  }
  for (const HWND window : windows) {
    DestroyWindow(window);
  }
  Report report;
  report.AtMost("64 filter rules against 200 windows, microseconds a frame", Median(micros), limit);
  return report.ExitCode();
}
