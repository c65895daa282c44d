// thumbnail-bench WINDOWS LIMIT: what the thumbnails of so many windows cost, as a multiple
// of the processor time of a hand-written loop, and how many windows are made for them.

// These need what windows.h declares.
// clang-format off
#include <windows.h>
#include <dwmapi.h>
#include <objbase.h>
#include <objidl.h>
#include <gdiplus.h>
// clang-format on

#include <cstdint>
#include <cstdio>
#include <future>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "CountMain.h"
#include "Report.h"
#include "qx-screen-capture.h"
#include "scene.h"
#include "thread_time.h"

namespace {

using namespace Gdiplus::DllExports;

constexpr int kRounds = 40;
constexpr SIZE kBox = {320, 180};
constexpr LONG kEdge = 2;
constexpr char kPrefix[] = "data:image/png; base64,";

// By id, as hosts get them.
using Thumbnails = std::map<int, std::string>;

void Demand(bool done) {
  if (!done) {
    throw std::runtime_error("a call failed");
  }
}

// --------------------------------------------------------------- the hand-written loop

// The window in which the compositor shows the others, above and left of the screen.
class Host {
 public:
  Host() {
    std::promise<HWND> opened;
    std::future<HWND> window = opened.get_future();
    m_thread = std::thread([this, &opened] { serve(opened); });
    m_window = window.get();
  }
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;
  ~Host() {
    PostThreadMessageW(m_threadId, WM_QUIT, 0, 0);
    m_thread.join();
  }

  HWND Handle() const { return m_window; }

 private:
  void serve(std::promise<HWND>& opened) {
    WNDCLASSEXW windowClass = {};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.lpfnWndProc = DefWindowProcW;
    windowClass.lpszClassName = L"HandThumbnail";
    RegisterClassExW(&windowClass);  // once
    const HWND window =
        CreateWindowExW(WS_EX_NOACTIVATE | WS_EX_TOOLWINDOW, L"HandThumbnail", L"", WS_POPUP,
                        -kBox.cx, -kBox.cy, kBox.cx, kBox.cy, nullptr, nullptr, nullptr, nullptr);
    SetWindowLongPtrW(window, GWL_EXSTYLE,
                      GetWindowLongPtrW(window, GWL_EXSTYLE) | WS_EX_LAYERED | WS_EX_TRANSPARENT);
    SetWindowPos(window, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOMOVE | SWP_NOACTIVATE);
    ShowWindow(window, SW_SHOWNA);
    UpdateWindow(window);
    m_threadId = GetCurrentThreadId();
    opened.set_value(window);
    MSG message = {};
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
      DispatchMessageW(&message);
    }
    DestroyWindow(window);
  }

  DWORD m_threadId = 0;
  HWND m_window = nullptr;
  std::thread m_thread;
};

HTHUMBNAIL Show(HWND host, HWND target) {
  HTHUMBNAIL thumbnail = nullptr;
  SIZE size = {};
  RECT window = {};
  RECT frame = {};
  Demand(
      SUCCEEDED(DwmRegisterThumbnail(host, target, &thumbnail)) &&
      SUCCEEDED(DwmQueryThumbnailSourceSize(thumbnail, &size)) && GetWindowRect(target, &window) &&
      !IsZoomed(target) && !IsIconic(target) &&
      SUCCEEDED(DwmGetWindowAttribute(target, DWMWA_EXTENDED_FRAME_BOUNDS, &frame, sizeof(frame))));
  const LONG left = frame.left - window.left + kEdge;
  const LONG top = frame.top - window.top;
  DWM_THUMBNAIL_PROPERTIES properties = {};
  properties.dwFlags = DWM_TNP_RECTDESTINATION | DWM_TNP_RECTSOURCE | DWM_TNP_VISIBLE;
  properties.rcDestination = {0, 0, kBox.cx, kBox.cy};
  properties.rcSource = {left, top, left + size.cx - 2 * kEdge, top + size.cy};
  properties.fVisible = TRUE;
  Demand(SUCCEEDED(DwmUpdateThumbnailProperties(thumbnail, &properties)));
  return thumbnail;
}

CLSID FindPngEncoder() {
  UINT count = 0;
  UINT size = 0;
  Demand(GdipGetImageEncodersSize(&count, &size) == Gdiplus::Ok && size > 0);
  std::vector<Gdiplus::ImageCodecInfo> encoders(size / sizeof(Gdiplus::ImageCodecInfo) + 1);
  Demand(GdipGetImageEncoders(count, size, encoders.data()) == Gdiplus::Ok);
  for (UINT i = 0; i < count; ++i) {
    if (std::wstring(encoders[i].MimeType) == L"image/png") {
      return encoders[i].Clsid;
    }
  }
  throw std::runtime_error("there is no PNG encoder");
}

std::string Base64(const std::uint8_t* bytes, std::size_t count) {
  constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text = kPrefix;
  text.reserve(text.size() + (count + 2) / 3 * 4);
  for (std::size_t i = 0; i < count; i += 3) {
    const std::uint32_t group = std::uint32_t{bytes[i]} << 16 |
                                (i + 1 < count ? std::uint32_t{bytes[i + 1]} << 8 : 0) |
                                (i + 2 < count ? std::uint32_t{bytes[i + 2]} : 0);
    text += kAlphabet[group >> 18];
    text += kAlphabet[group >> 12 & 63];
    text += i + 1 < count ? kAlphabet[group >> 6 & 63] : '=';
    text += i + 2 < count ? kAlphabet[group & 63] : '=';
  }
  return text;
}

std::string TextOfFile(Gdiplus::GpBitmap* image, const CLSID& encoder) {
  IStream* stream = nullptr;
  HGLOBAL memory = nullptr;
  Demand(SUCCEEDED(CreateStreamOnHGlobal(nullptr, TRUE, &stream)) &&
         GdipSaveImageToStream(image, stream, &encoder, nullptr) == Gdiplus::Ok &&
         SUCCEEDED(GetHGlobalFromStream(stream, &memory)));
  std::string text =
      Base64(static_cast<const std::uint8_t*>(GlobalLock(memory)), GlobalSize(memory));
  GlobalUnlock(memory);
  stream->Release();
  return text;
}

std::string TextOfPicture(void* pixels, const CLSID& encoder) {
  Gdiplus::GpBitmap* picture = nullptr;
  Gdiplus::GpBitmap* canvas = nullptr;
  Gdiplus::GpGraphics* graphics = nullptr;
  Demand(GdipCreateBitmapFromScan0(kBox.cx, kBox.cy, kBox.cx * 4, PixelFormat32bppRGB,
                                   static_cast<BYTE*>(pixels), &picture) == Gdiplus::Ok &&
         GdipCreateBitmapFromScan0(kBox.cx, kBox.cy, 0, PixelFormat32bppRGB, nullptr, &canvas) ==
             Gdiplus::Ok &&
         GdipGetImageGraphicsContext(canvas, &graphics) == Gdiplus::Ok &&
         GdipGraphicsClear(graphics, 0x00FFFFFF) == Gdiplus::Ok &&
         GdipDrawImageRectI(graphics, picture, 0, 0, kBox.cx, kBox.cy) == Gdiplus::Ok);
  GdipDeleteGraphics(graphics);
  std::string text = TextOfFile(canvas, encoder);
  GdipDisposeImage(canvas);
  GdipDisposeImage(picture);
  return text;
}

Thumbnails MakeByHand(const std::vector<int>& ids) {
  constexpr UINT kPrintFullContent = 2;
  const Host host;
  const CLSID encoder = FindPngEncoder();
  Thumbnails thumbnails;
  for (const int id : ids) {
    const HTHUMBNAIL shown =
        Show(host.Handle(), reinterpret_cast<HWND>(static_cast<std::intptr_t>(id)));
    const HDC screen = GetDC(host.Handle());
    const HDC dc = CreateCompatibleDC(screen);
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = kBox.cx;
    info.bmiHeader.biHeight = -kBox.cy;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    void* pixels = nullptr;
    const HBITMAP bitmap = CreateDIBSection(screen, &info, DIB_RGB_COLORS, &pixels, nullptr, 0);
    Demand(SelectObject(dc, bitmap) && PrintWindow(host.Handle(), dc, kPrintFullContent));
    GdiFlush();
    thumbnails[id] = TextOfPicture(pixels, encoder);
    DeleteDC(dc);
    DeleteObject(bitmap);
    ReleaseDC(host.Handle(), screen);
    DwmUnregisterThumbnail(shown);
  }
  return thumbnails;
}

// -------------------------------------------------------------------------- the library

std::vector<int> ListIds(ScreenCapture& capture) {
  std::vector<int> ids;
  capture.GetWindowList(
      [](const IScreenCapture::WindowInfo* windows, const int& count, void* user) {
        for (int i = 0; i < count; ++i) {
          static_cast<std::vector<int>*>(user)->push_back(windows[i].id);
        }
      },
      &ids);
  return ids;
}

Thumbnails MakeByLibrary(ScreenCapture& capture) {
  Thumbnails thumbnails;
  capture.GetWindowThumbnailAll(
      kBox.cx, kBox.cy,
      [](const int* ids, const char** texts, const int& count, void* user) {
        for (int i = 0; i < count; ++i) {
          (*static_cast<Thumbnails*>(user))[ids[i]] = texts[i];
        }
      },
      &thumbnails);
  return thumbnails;
}

// One side's lists.
struct Cost {
  std::vector<double> micros;
  std::uint64_t made = 0;  // windows, for all lists
};

template <typename Make>
Thumbnails Measure(std::size_t windows, Cost& cost, bool counts, Make make) {
  const std::uint64_t made = CountCalls("CreateWindowExW");
  // Windows print and are shown on threads of their own.
  const double start = ProcessMicros();
  Thumbnails thumbnails = make();
  const double micros = ProcessMicros() - start;
  if (thumbnails.size() != windows) {
    throw std::runtime_error("thumbnails are missing");
  }
  for (const auto& [id, text] : thumbnails) {
    if (text.size() < sizeof(kPrefix)) {
      throw std::runtime_error("a thumbnail is empty");
    }
  }
  if (counts) {
    cost.micros.push_back(micros);
    cost.made += CountCalls("CreateWindowExW") - made;
  }
  return thumbnails;
}

int Run(int windows, double limit) {
  if (!OpenManyWindows(windows)) {
    throw std::runtime_error("there is no desktop with windows here");
  }
  const auto count = static_cast<std::size_t>(windows);
  ScreenCapture capture;  // has GDI+ started, for both
  const std::vector<int> ids = ListIds(capture);
  Cost hand;
  Cost library;
  // Both sides take turns, and the quieter half of each one's rounds counts. The first
  // round is for warming up.
  for (int round = 0; round <= kRounds; ++round) {
    const Thumbnails byHand = Measure(count, hand, round > 0, [&] { return MakeByHand(ids); });
    const Thumbnails byLibrary =
        Measure(count, library, round > 0, [&] { return MakeByLibrary(capture); });
    if (byLibrary != byHand) {
      throw std::runtime_error("the two sides' thumbnails differ");
    }
  }
  const double handMicros = LowerHalfMean(hand.micros);
  const double libraryMicros = LowerHalfMean(library.micros);
  std::fprintf(stderr, "  hand loop %.0f us, library %.0f us a list\n", handMicros, libraryMicros);
  Demand(hand.made > 0 && library.made > 0);  // they are counted
  const std::string what = "thumbnails of " + std::to_string(windows) + " windows, ";
  Report report;
  report.AtMost(what + "times the hand loop", libraryMicros / handMicros, limit);
  report.AtMost(what + "windows made a list", static_cast<double>(library.made) / kRounds, 1);
  return report.ExitCode();
}

}  // namespace

int main(int argc, char** argv) { return CountMain(argc, argv, "thumbnail-bench", Run); }
