#include "tests/host/ColorWindow.h"

#include <process.h>

namespace qx::test {
namespace {

constexpr wchar_t kClassName[] = L"ColorWindow";

LRESULT CALLBACK windowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message != WM_PAINT) {
    return DefWindowProcW(window, message, wParam, lParam);
  }
  const auto color = static_cast<COLORREF>(GetWindowLongPtrW(window, GWLP_USERDATA));
  PAINTSTRUCT paint = {};
  const HDC dc = BeginPaint(window, &paint);
  const HBRUSH brush = CreateSolidBrush(color);
  RECT client = {};
  GetClientRect(window, &client);
  FillRect(dc, &client, brush);
  DeleteObject(brush);
  EndPaint(window, &paint);
  return 0;
}

}  // namespace

ColorWindow::ColorWindow(const RECT& rect, std::uint32_t rgb) : m_rect(rect), m_rgb(rgb) {
  m_opened = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  // A thread of the system's, which may wait as long as it likes.
  const auto body = [](void* window) -> unsigned {
    static_cast<ColorWindow*>(window)->run();
    return 0;
  };
  m_thread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, body, this, 0, nullptr));
  WaitForSingleObject(m_opened, INFINITE);
}

ColorWindow::~ColorWindow() {
  PostMessageW(m_window, WM_QUIT, 0, 0);
  WaitForSingleObject(m_thread, INFINITE);
  CloseHandle(m_thread);
  CloseHandle(m_opened);
}

void ColorWindow::run() {
  const HINSTANCE module = GetModuleHandleA(nullptr);
  WNDCLASSEXW windowClass = {};
  windowClass.cbSize = sizeof(windowClass);
  windowClass.lpfnWndProc = windowProcedure;
  windowClass.hInstance = module;
  windowClass.lpszClassName = kClassName;
  RegisterClassExW(&windowClass);
  m_window = CreateWindowExW(WS_EX_TOPMOST, kClassName, L"", WS_POPUP, m_rect.left, m_rect.top,
                             m_rect.right - m_rect.left, m_rect.bottom - m_rect.top, nullptr,
                             nullptr, module, nullptr);
  const COLORREF color = RGB(m_rgb >> 16 & 0xFF, m_rgb >> 8 & 0xFF, m_rgb & 0xFF);
  SetWindowLongPtrW(m_window, GWLP_USERDATA, static_cast<LONG_PTR>(color));
  ShowWindow(m_window, SW_SHOWNOACTIVATE);
  UpdateWindow(m_window);
  SetEvent(m_opened);
  MSG message = {};
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    DispatchMessageW(&message);
  }
  DestroyWindow(m_window);
}

}  // namespace qx::test
