#include "win/source/WindowIcon.h"

#include <objbase.h>
// After windows.h.
#include <shellapi.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <utility>

#include "common/Logging.h"
#include "win/source/PngImage.h"
#include "win/util/ComScope.h"
#include "win/util/Errand.h"
#include "win/util/PictureInfo.h"
#include "win/util/WindowHelpers.h"

namespace qx::WindowsUtil {

namespace {

// Icons come from other processes, whose word for a size is no reason to allocate
// anything. Real ones end at 256.
constexpr int kMaxIconSide = 2048;

constexpr std::uint32_t kOpaque = 0xFF000000;

// 0x AA RR GG BB, rows top to bottom without gaps.
struct IconPixels {
  int width = 0;
  int height = 0;
  std::vector<std::uint32_t> pixels;
};

HICON AskWindow(HWND window, WPARAM kind, UINT timeLimit) {
  if (IsHungAppWindow(window)) {
    return nullptr;  // known to the system: the time would be wasted
  }
  DWORD_PTR icon = 0;
  // Only the icon counts: it stays 0 when nobody answers.
  SendMessageTimeoutW(window, WM_GETICON, kind, 0, SMTO_BLOCK, timeLimit, &icon);
  return reinterpret_cast<HICON>(icon);
}

// Icons but those of program files belong to the window, its class or the system.
IconHandle Borrowed(HICON icon) { return IconHandle(icon, {.borrowed = true}); }

IconHandle FindIcon(HWND window) {
  QX_LOG_INFO("try to get window; icon by WM_GETICON ICON_BIG");
  if (const HICON icon = AskWindow(window, ICON_BIG, 200)) {
    return Borrowed(icon);
  }
  QX_LOG_INFO("try to get window icon by WM_GETICON ICON_SMALL");
  if (const HICON icon = AskWindow(window, ICON_SMALL, 100)) {
    return Borrowed(icon);
  }
  QX_LOG_INFO("try to get window icon by WM_GETICON ICON_SMALL2");
  if (const HICON icon = AskWindow(window, ICON_SMALL2, 100)) {
    return Borrowed(icon);
  }
  QX_LOG_INFO("try to get window icon by GCL_HICON");
  if (const auto icon = reinterpret_cast<HICON>(GetClassLongPtrW(window, GCLP_HICON))) {
    return Borrowed(icon);
  }
  QX_LOG_INFO("try to get window icon by GetChildProcessWindowIcon");
  if (IconHandle icon = GetChildProcessWindowIcon(window)) {
    return icon;
  }
  return Borrowed(LoadIconW(nullptr, IDI_APPLICATION));
}

// Looks for the icon of a program on a thread of its own: the shell waits for the drive
// that holds the file, which may be on a network that is gone. Says nothing meanwhile,
// since a host may log under a lock that its waiting thread holds.
class ProgramIconSearch {
 public:
  explicit ProgramIconSearch(std::vector<HWND> windows) : m_windows(std::move(windows)) {}

  void Run() {
    // The shell wants it; without, it still finds most icons.
    const ComScope com(COINIT_APARTMENTTHREADED);
    for (const HWND window : m_windows) {
      m_icon = iconOf(window);
      if (m_icon) {
        break;
      }
    }
  }

  // After Run.
  IconHandle TakeIcon() { return std::move(m_icon); }
  const std::vector<const char*>& Failures() const { return m_failures; }

 private:
  IconHandle fail(const char* what) {
    m_failures.push_back(what);
    return {};
  }

  IconHandle iconOf(HWND window) {
    DWORD processId = 0;
    GetWindowThreadProcessId(window, &processId);
    if (processId == 0) {
      return fail("GetWindowThreadProcessId error:");
    }
    const KernelHandle process(OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, processId));
    if (!process) {
      return fail("PROCESS_QUERY_INFORMATION error:");
    }
    wchar_t path[2048] = {};
    DWORD length = static_cast<DWORD>(std::size(path));
    if (!QueryFullProcessImageNameW(process.Get(), 0, path, &length)) {
      return fail("QueryFullProcessImageNameW error:");
    }
    if (length == 0) {
      return {};
    }
    SHFILEINFOW info = {};
    if (!SHGetFileInfoW(path, 0, &info, sizeof(info), SHGFI_ICON | SHGFI_SMALLICON)) {
      return fail("SHGetFileInfo error:");
    }
    return IconHandle(info.hIcon);
  }

  const std::vector<HWND> m_windows;
  IconHandle m_icon;
  std::vector<const char*> m_failures;
};

// False unless all rows could be read.
bool ReadPixels(HDC dc, HBITMAP bitmap, IconPixels& out) {
  out.pixels.resize(static_cast<std::size_t>(out.width) * static_cast<std::size_t>(out.height));
  BITMAPINFO info = PictureInfo(out.width, out.height);
  return GetDIBits(dc, bitmap, 0, static_cast<UINT>(out.height), out.pixels.data(), &info,
                   DIB_RGB_COLORS) == out.height;
}

bool HasAlpha(const IconPixels& icon) {
  return std::any_of(icon.pixels.begin(), icon.pixels.end(),
                     [](std::uint32_t pixel) { return (pixel >> 24) != 0; });
}

// The icon's picture with alpha, which an icon without any has from its mask: the
// screen shows through where that is set.
bool ReadIcon(HICON icon, IconPixels& out) {
  ICONINFO info = {};
  if (!GetIconInfo(icon, &info)) {
    return false;
  }
  const GdiBitmap color(info.hbmColor);
  const GdiBitmap mask(info.hbmMask);
  if (!color) {
    return false;  // black and white
  }
  const WindowDc screen(GetDC(nullptr), {nullptr});
  BITMAP size = {};
  if (!screen || !GetObjectW(color.Get(), sizeof(size), &size)) {
    return false;
  }
  const auto isSide = [](LONG length) { return length > 0 && length <= kMaxIconSide; };
  if (!isSide(size.bmWidth) || !isSide(size.bmHeight)) {
    return false;
  }
  out = {size.bmWidth, size.bmHeight, {}};
  if (!ReadPixels(screen.Get(), color.Get(), out)) {
    return false;
  }
  if (HasAlpha(out) || !mask) {
    return true;
  }
  IconPixels covered = {out.width, out.height, {}};
  if (!ReadPixels(screen.Get(), mask.Get(), covered)) {
    return false;
  }
  std::transform(out.pixels.begin(), out.pixels.end(), covered.pixels.begin(), out.pixels.begin(),
                 [](std::uint32_t pixel, std::uint32_t masked) {
                   return masked == 0 ? pixel | kOpaque : pixel;
                 });
  return true;
}

bool EncodeIcon(IconPixels& icon, std::vector<std::uint8_t>& png) {
  GdiplusBitmap bitmap;
  const Gdiplus::GpStatus status = Gdiplus::DllExports::GdipCreateBitmapFromScan0(
      icon.width, icon.height, icon.width * 4, PixelFormat32bppARGB,
      reinterpret_cast<BYTE*>(icon.pixels.data()), bitmap.Put());
  CLSID encoder = {};
  return status == Gdiplus::Ok && FindImageEncoder(L"image/png", encoder) &&
         EncodeImage(bitmap.Get(), encoder, png);
}

}  // namespace

IconHandle GetChildProcessWindowIcon(HWND window) {
  if (!window) {
    return {};  // every window would be its child
  }
  std::vector<HWND> children;
  EnumChildWindowHandles(window, children);
  if (children.empty()) {
    return {};
  }
  // An icon that comes too late goes with the search, when that ends.
  const auto search = std::make_shared<ProgramIconSearch>(std::move(children));
  if (!RunWithin(kPatienceMs, [search] { search->Run(); })) {
    QX_LOG_INFO("no icon of a child's program in {} ms", static_cast<std::uint32_t>(kPatienceMs));
    return {};
  }
  for (const char* const failure : search->Failures()) {
    QX_LOG_INFO(failure);
  }
  return search->TakeIcon();
}

bool GetWindowIcon(HWND window, std::vector<std::uint8_t>& png) {
  QX_TRACE("WindowsUtil::GetWindowIcon");
  const IconHandle icon = FindIcon(window);
  if (!icon) {
    return false;
  }
  QX_LOG_INFO("Get Icon Success");
  IconPixels pixels;
  return ReadIcon(icon.Get(), pixels) && EncodeIcon(pixels, png);
}

}  // namespace qx::WindowsUtil
