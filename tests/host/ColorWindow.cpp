#include "tests/host/ColorWindow.h"

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

ColorWindow::ColorWindow(const RECT& rect, std::uint32_t rgb) {
  const HANDLE opened = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  m_thread = std::thread([this, rect, rgb, opened] { run(rect, rgb, opened); });
  WaitForSingleObject(opened, INFINITE);
  CloseHandle(opened);
}

ColorWindow::~ColorWindow() {
  PostMessageW(m_window, WM_QUIT, 0, 0);
  m_thread.join();
}

void ColorWindow::run(RECT rect, std::uint32_t rgb, HANDLE opened) {
  const HINSTANCE module = GetModuleHandleA(nullptr);
  WNDCLASSEXW windowClass = {};
  windowClass.cbSize = sizeof(windowClass);
  windowClass.lpfnWndProc = windowProcedure;
  windowClass.hInstance = module;
  windowClass.lpszClassName = kClassName;
  RegisterClassExW(&windowClass);
  m_window = CreateWindowExW(WS_EX_TOPMOST, kClassName, L"", WS_POPUP, rect.left, rect.top,
                             rect.right - rect.left, rect.bottom - rect.top, nullptr, nullptr,
                             module, nullptr);
  const COLORREF color = RGB(rgb >> 16 & 0xFF, rgb >> 8 & 0xFF, rgb & 0xFF);
  SetWindowLongPtrW(m_window, GWLP_USERDATA, static_cast<LONG_PTR>(color));
  ShowWindow(m_window, SW_SHOWNOACTIVATE);
  UpdateWindow(m_window);
  SetEvent(opened);
  MSG message = {};
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    DispatchMessageW(&message);
  }
  DestroyWindow(m_window);
}

}  // namespace qx::test
