// Copies of what the callbacks of lists get.
#pragma once

#include <algorithm>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "platform/control/Ledger.h"
#include "tests/share/ShareTest.h"

namespace qx::test {

struct WindowList {
  struct Window {
    int id;
    std::uint32_t processId;
    std::wstring processName;
    std::wstring title;
    RECT rect;
  };

  int calls = 0;
  bool isNull = false;
  DWORD thread = 0;
  std::vector<Window> windows;

  static void Take(const IScreenCapture::WindowInfo* windows, const int& count, void* user) {
    auto& self = *static_cast<WindowList*>(user);
    ++self.calls;
    self.isNull = windows == nullptr;
    self.thread = GetCurrentThreadId();
    self.windows.clear();
    for (int i = 0; i < count; ++i) {
      const IScreenCapture::WindowInfo& info = windows[i];
      EXPECT_EQ(info.handle, info.id);
      self.windows.push_back({info.id,
                              info.processId,
                              info.processName,
                              info.title,
                              {info.x, info.y, info.x + info.width, info.y + info.height}});
    }
  }

  std::vector<int> ids() const {
    std::vector<int> ids;
    for (const Window& window : windows) {
      ids.push_back(window.id);
    }
    return ids;
  }
};

inline bool operator==(const WindowList::Window& a, const WindowList::Window& b) {
  return a.id == b.id && a.processId == b.processId && a.processName == b.processName &&
         a.title == b.title && EqualRect(&a.rect, &b.rect);
}
inline void PrintTo(const WindowList::Window& window, std::ostream* out) {
  *out << window.id << ' ' << window.processId << ' ' << testing::PrintToString(window.processName)
       << ' ' << testing::PrintToString(window.title) << ' ' << window.rect.left << ','
       << window.rect.top << ' ' << window.rect.right << ',' << window.rect.bottom;
}

// References to modules that running threads hold.
inline std::ptrdiff_t HeldModules() {
  const vwin::control::LedgerSnapshot all = vwin::control::Snapshot();
  return std::count_if(all.begin(), all.end(), [](const auto& entry) {
    return entry.kind == "module" && entry.call == "GetModuleHandleExW";
  });
}

struct ThumbnailList {
  int calls = 0;
  bool isNull = false;
  DWORD thread = 0;
  std::vector<int> order;
  std::map<int, std::string> texts;

  static void Take(const int* ids, const char** thumbnails, const int& count, void* user) {
    auto& self = *static_cast<ThumbnailList*>(user);
    ++self.calls;
    self.isNull = !ids && !thumbnails && count == 0;
    self.thread = GetCurrentThreadId();
    for (int i = 0; i < count; ++i) {
      self.order.push_back(ids[i]);
      self.texts[ids[i]] = thumbnails[i];
    }
  }
  std::size_t Failed() const {
    return static_cast<std::size_t>(
        std::ranges::count_if(texts, [](const auto& entry) { return entry.second.empty(); }));
  }
};

}  // namespace qx::test
