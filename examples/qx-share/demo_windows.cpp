// demo-windows [--still]: opens a few plain windows, so that there is something
// to share. One moves and repaints itself every 15 ms, unless all are to be
// still. Says "ready" when they are drawn and runs until it is ended or a window
// is closed.
#include <windows.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <cwchar>

namespace {

constexpr UINT_PTR kStepTimer = 1;
constexpr UINT kStepMillis = 15;
constexpr UINT_PTR kReadyTimer = 2;
constexpr UINT kReadyMillis = 100;

struct DemoWindow {
  const wchar_t* title;
  COLORREF color;
  RECT rect;  // in thousandths of the screen
  bool lively;
  DWORD start;
};

DemoWindow g_windows[] = {
    {L"Notes", RGB(250, 244, 220), {40, 60, 520, 640}, false, 0},
    {L"Palette", RGB(60, 70, 190), {480, 240, 960, 820}, false, 0},
    {L"Mover", RGB(24, 150, 90), {80, 500, 360, 860}, true, 0},
};

void Bar(HDC dc, const RECT& rect, COLORREF color) {
  const HBRUSH brush = CreateSolidBrush(color);
  FillRect(dc, &rect, brush);
  DeleteObject(brush);
}

// Draws off-screen first, or a moving window would flicker into the frames.
void Paint(HWND window, const DemoWindow& demo) {
  PAINTSTRUCT paint;
  const HDC screen = BeginPaint(window, &paint);
  RECT client;
  GetClientRect(window, &client);
  const HDC dc = CreateCompatibleDC(screen);
  const HBITMAP bitmap = CreateCompatibleBitmap(screen, client.right, client.bottom);
  const HGDIOBJ before = SelectObject(dc, bitmap);
  Bar(dc, client, demo.color);
  const double time = demo.lively ? (GetTickCount() - demo.start) / 1000.0 : 0;
  for (int i = 0; i < 8; ++i) {
    const double level = 0.55 + 0.4 * std::sin(time * 3 + i * 0.8);
    const LONG left = (2 * i + 1) * client.right / 17;
    const RECT bar = {left, client.bottom - static_cast<LONG>(client.bottom * level),
                      left + client.right / 17, client.bottom};
    Bar(dc, bar, RGB(200 - 20 * i, 40 + 25 * i, 90 + 10 * i));
  }
  SetBkMode(dc, TRANSPARENT);
  TextOutW(dc, 12, 10, demo.title, static_cast<int>(std::wcslen(demo.title)));
  BitBlt(screen, 0, 0, client.right, client.bottom, dc, 0, 0, SRCCOPY);
  SelectObject(dc, before);
  DeleteObject(bitmap);
  DeleteDC(dc);
  EndPaint(window, &paint);
}

void Step(HWND window, const DemoWindow& demo) {
  const double time = (GetTickCount() - demo.start) / 1000.0;
  const int width = GetSystemMetrics(SM_CXSCREEN);
  const int height = GetSystemMetrics(SM_CYSCREEN);
  SetWindowPos(window, nullptr, static_cast<int>(width * (0.36 + 0.3 * std::sin(time * 1.1))),
               static_cast<int>(height * (0.32 + 0.26 * std::cos(time * 1.7))), 0, 0,
               SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
  SetCursorPos(static_cast<int>(width * (0.5 + 0.3 * std::cos(time * 1.3))),
               static_cast<int>(height * (0.5 + 0.3 * std::sin(time * 1.9))));
  InvalidateRect(window, nullptr, FALSE);
}

LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  const auto* demo = reinterpret_cast<const DemoWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  switch (message) {
    case WM_PAINT:
      if (demo != nullptr) {
        Paint(window, *demo);
        return 0;
      }
      break;
    case WM_TIMER:
      if (wParam == kReadyTimer) {
        KillTimer(window, kReadyTimer);
        GdiFlush();
        std::puts("ready");
        std::fflush(stdout);
      } else if (demo != nullptr) {
        Step(window, *demo);
      }
      return 0;
    case WM_DESTROY:
      PostQuitMessage(0);
      return 0;
    default:
      break;
  }
  return DefWindowProcW(window, message, wParam, lParam);
}

HWND Open(DemoWindow& demo, bool titleBar) {
  const int width = GetSystemMetrics(SM_CXSCREEN);
  const int height = GetSystemMetrics(SM_CYSCREEN);
  const HWND window = CreateWindowExW(0, L"DemoWindow", demo.title,
                                      (titleBar ? WS_OVERLAPPEDWINDOW : WS_POPUP) | WS_VISIBLE,
                                      demo.rect.left * width / 1000, demo.rect.top * height / 1000,
                                      (demo.rect.right - demo.rect.left) * width / 1000,
                                      (demo.rect.bottom - demo.rect.top) * height / 1000, nullptr,
                                      nullptr, GetModuleHandleW(nullptr), nullptr);
  if (window != nullptr) {
    demo.start = GetTickCount();
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&demo));
    InvalidateRect(window, nullptr, FALSE);
    UpdateWindow(window);
  }
  return window;
}

}  // namespace

int main(int argc, char** argv) {
  const bool still = argc > 1 && std::strcmp(argv[1], "--still") == 0;
  if (argc > 2 || (argc == 2 && !still)) {
    std::fputs("usage: demo-windows [--still]\n", stderr);
    return 2;
  }
  WNDCLASSW windowClass = {};
  windowClass.lpfnWndProc = WindowProcedure;
  windowClass.hInstance = GetModuleHandleW(nullptr);
  windowClass.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
  windowClass.lpszClassName = L"DemoWindow";
  RegisterClassW(&windowClass);
  HWND last = nullptr;
  for (DemoWindow& demo : g_windows) {
    demo.lively = demo.lively && !still;
    // A title bar is drawn anew when another window gets the focus.
    last = Open(demo, !still);
    if (last == nullptr) {
      std::fputs("demo-windows: can't open a window\n", stderr);
      return 1;
    }
    if (demo.lively) {
      SetTimer(last, kStepTimer, kStepMillis, nullptr);
    }
  }
  SetTimer(last, kReadyTimer, kReadyMillis, nullptr);
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    DispatchMessageW(&message);
  }
  return 0;
}
