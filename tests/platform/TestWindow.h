// What the tests of windows share: a window in one colour, a thread, a bitmap to
// look into. Only Windows calls, so that the tests run on a real system as well.
#pragma once

#include <windows.h>
// After windows.h.
#include <process.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace qx::test {

// A popup that paints its client area in one colour and notes its messages. It
// belongs to the thread that makes it.
class TestWindow {
 public:
  explicit TestWindow(const RECT& rect, COLORREF color = RGB(10, 20, 30), DWORD exStyle = 0,
                      HWND parent = nullptr, DWORD style = WS_POPUP, const wchar_t* title = L"")
      : m_color(color) {
    registerClass();
    m_handle =
        CreateWindowExW(exStyle, kClass, title, style, rect.left, rect.top, rect.right - rect.left,
                        rect.bottom - rect.top, parent, nullptr, nullptr, nullptr);
    SetWindowLongPtrW(m_handle, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  }
  ~TestWindow() {
    if (IsWindow(m_handle)) DestroyWindow(m_handle);
  }
  TestWindow(const TestWindow&) = delete;
  TestWindow& operator=(const TestWindow&) = delete;

  HWND handle() const { return m_handle; }
  operator HWND() const { return m_handle; }
  // Shows and paints.
  void Show() {
    ShowWindow(m_handle, SW_SHOWNOACTIVATE);
    UpdateWindow(m_handle);
  }

  static constexpr const wchar_t* kClass = L"PlatformTestWindow";
  std::function<void()> onPaint;  // called after each painting
  int paints = 0;
  RECT lastPaint{};
  std::vector<UINT> noted;  // messages from WM_USER on, WM_DESTROY and WM_NCDESTROY

 private:
  static void registerClass() {
    WNDCLASSEXW description{};
    description.cbSize = sizeof(description);
    description.lpfnWndProc = &TestWindow::procedure;
    description.lpszClassName = kClass;
    RegisterClassExW(&description);
  }

  static LRESULT CALLBACK procedure(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* self = reinterpret_cast<TestWindow*>(GetWindowLongPtrW(handle, GWLP_USERDATA));
    if (!self) return DefWindowProcW(handle, message, wParam, lParam);
    if (message == WM_PAINT) {
      self->paint();
      return 0;
    }
    const bool noted = message == WM_DESTROY || message == WM_NCDESTROY ||
                       (message >= WM_USER && message < 0xC000);
    if (noted) self->noted.push_back(message);
    return DefWindowProcW(handle, message, wParam, lParam);
  }

  void paint() {
    PAINTSTRUCT paint;
    const HDC dc = BeginPaint(m_handle, &paint);
    RECT client;
    GetClientRect(m_handle, &client);
    const HBRUSH brush = CreateSolidBrush(m_color);
    FillRect(dc, &client, brush);
    DeleteObject(brush);
    EndPaint(m_handle, &paint);
    ++paints;
    lastPaint = paint.rcPaint;
    if (onPaint) onPaint();
  }

  COLORREF m_color;
  HWND m_handle = nullptr;
};

// A thread of the system, joined at the end.
class TestThread {
 public:
  explicit TestThread(std::function<void()> body) : m_body(std::move(body)) {
    m_handle = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, &run, this, 0, nullptr));
  }
  ~TestThread() { Join(); }
  TestThread(const TestThread&) = delete;
  TestThread& operator=(const TestThread&) = delete;
  void Join() {
    if (!m_handle) return;
    WaitForSingleObject(m_handle, INFINITE);
    CloseHandle(m_handle);
    m_handle = nullptr;
  }

 private:
  static unsigned __stdcall run(void* self) {
    static_cast<TestThread*>(self)->m_body();
    return 0;
  }

  std::function<void()> m_body;
  HANDLE m_handle = nullptr;
};

// A bitmap in a memory DC of its own.
class TestBitmap {
 public:
  TestBitmap(int width, int height) : m_width(width), m_height(height) {
    const HDC screen = GetDC(nullptr);
    m_dc = CreateCompatibleDC(screen);
    m_bitmap = CreateCompatibleBitmap(screen, width, height);
    m_previous = SelectObject(m_dc, m_bitmap);
    ReleaseDC(nullptr, screen);
  }
  ~TestBitmap() {
    SelectObject(m_dc, m_previous);
    DeleteObject(m_bitmap);
    DeleteDC(m_dc);
  }
  TestBitmap(const TestBitmap&) = delete;
  TestBitmap& operator=(const TestBitmap&) = delete;

  HDC dc() const { return m_dc; }
  HBITMAP bitmap() const { return m_bitmap; }

  void Fill(const RECT& rect, COLORREF color) {
    const HBRUSH brush = CreateSolidBrush(color);
    FillRect(m_dc, &rect, brush);
    DeleteObject(brush);
  }
  // Copies a part of the screen, the bitmap's size.
  bool CopyScreen(int x, int y, DWORD operation = SRCCOPY) {
    const HDC screen = GetDC(nullptr);
    const BOOL copied = BitBlt(m_dc, 0, 0, m_width, m_height, screen, x, y, operation);
    ReleaseDC(nullptr, screen);
    return copied != FALSE;
  }
  // Rows top to bottom, 0xXXRRGGBB.
  std::vector<std::uint32_t> Pixels() const { return Lines(0, m_height, true); }
  std::vector<std::uint32_t> Lines(int first, int count, bool topDown) const {
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    info.bmiHeader.biWidth = m_width;
    info.bmiHeader.biHeight = topDown ? -m_height : m_height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(m_width * count), kUntouched);
    const int lines = GetDIBits(m_dc, m_bitmap, static_cast<UINT>(first), static_cast<UINT>(count),
                                pixels.data(), &info, DIB_RGB_COLORS);
    pixels.resize(static_cast<std::size_t>(m_width * lines));
    return pixels;
  }
  std::uint32_t At(int x, int y) const {
    return Pixels()[static_cast<std::size_t>(y * m_width + x)];
  }

  static constexpr std::uint32_t kUntouched = 0xABABABAB;

 private:
  int m_width;
  int m_height;
  HDC m_dc = nullptr;
  HBITMAP m_bitmap = nullptr;
  HGDIOBJ m_previous = nullptr;
};

}  // namespace qx::test
