#include "sources.h"

#include <windows.h>

#include "text.h"

namespace {

constexpr int kMaxText = 512;

// Window handles are 32 bits wide, sign-extended.
HWND ToWindow(std::int32_t id) { return reinterpret_cast<HWND>(static_cast<std::intptr_t>(id)); }

std::string ClassName(std::int32_t id) {
  wchar_t text[kMaxText] = {};
  GetClassNameW(ToWindow(id), text, kMaxText);
  return ToUtf8(text);
}

}  // namespace

std::vector<IScreenCapture::DesktopInfo> ListDesktops(IScreenCapture& capture) {
  using Desktops = std::vector<IScreenCapture::DesktopInfo>;
  Desktops desktops;
  capture.GetDesktopList(
      [](const IScreenCapture::DesktopInfo* list, const int& count, void* user) {
        static_cast<Desktops*>(user)->assign(list, list + count);
      },
      &desktops);
  return desktops;
}

std::vector<WindowSource> ListWindows(IScreenCapture& capture) {
  using Windows = std::vector<WindowSource>;
  Windows windows;
  capture.GetWindowList(
      [](const IScreenCapture::WindowInfo* list, const int& count, void* user) {
        for (int i = 0; i < count; ++i) {
          const IScreenCapture::WindowInfo& w = list[i];
          static_cast<Windows*>(user)->push_back({w.id, w.handle, w.processId,
                                                  ToUtf8(w.processName), ToUtf8(w.title),
                                                  ClassName(w.id), w.x, w.y, w.width, w.height});
        }
      },
      &windows);
  return windows;
}

std::string WindowTitle(std::int32_t id) {
  wchar_t text[kMaxText] = {};
  GetWindowTextW(ToWindow(id), text, kMaxText);
  return ToUtf8(text);
}
