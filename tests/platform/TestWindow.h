// What the tests of windows share: a window in one colour, a thread, a bitmap to
// look into. Only Windows calls, so that the tests run on a real system as well.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace qx::test {

constexpr COLORREF kRed = RGB(200, 30, 10);
constexpr std::uint32_t kRedPixel = 0x00C81E0A;
constexpr COLORREF kGreen = RGB(20, 180, 40);
constexpr std::uint32_t kGreenPixel = 0x0014B428;

// Whether a call fails, and with this error.
template <typename Call>
testing::AssertionResult FailsWith(DWORD error, const Call& call) {
  SetLastError(0);
  const bool done = static_cast<bool>(call());
  const DWORD seen = GetLastError();
  if (!done && seen == error) return testing::AssertionSuccess();
  return testing::AssertionFailure() << (done ? "it worked" : "it failed") << ", error " << seen;
}

// Whether the system says that it is this version, or a later one.
inline BOOL IsAtLeast(DWORD major, DWORD minor, WORD servicePack) {
  OSVERSIONINFOEXW wanted{};
  wanted.dwOSVersionInfoSize = sizeof(wanted);
  wanted.dwMajorVersion = major;
  wanted.dwMinorVersion = minor;
  wanted.wServicePackMajor = servicePack;
  ULONGLONG conditions = 0;
  for (const DWORD type : {VER_MAJORVERSION, VER_MINORVERSION, VER_SERVICEPACKMAJOR})
    conditions = VerSetConditionMask(conditions, type, VER_GREATER_EQUAL);
  return VerifyVersionInfoW(&wanted, VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR,
                            conditions);
}

// Left, top, right, bottom.
using Sides = std::vector<LONG>;
inline Sides SidesOf(const RECT& rect) { return {rect.left, rect.top, rect.right, rect.bottom}; }
inline Sides SidesOf(HWND window) {
  RECT rect{};
  EXPECT_TRUE(GetWindowRect(window, &rect));
  return SidesOf(rect);
}

// In the order of windows.
inline void Place(HWND window, HWND after) {
  EXPECT_TRUE(SetWindowPos(window, after, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOMOVE | SWP_NOACTIVATE));
}
inline bool IsTopmost(HWND window) {
  return (GetWindowLongPtrW(window, GWL_EXSTYLE) & WS_EX_TOPMOST) != 0;
}

// Pixels of 32 bits, rows from top to bottom when the height is negative.
inline BITMAPINFO DescribePixels(int width, int height) {
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biHeight = height;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  return info;
}

// A popup that paints its client area in one colour and notes its messages. It
// belongs to the thread that makes it.
class TestWindow {
 public:
  explicit TestWindow(const RECT& rect, COLORREF color = RGB(10, 20, 30), DWORD exStyle = 0,
                      HWND parent = nullptr, DWORD style = WS_POPUP, const wchar_t* title = L"")
      : m_color(color) {
    WNDCLASSEXW description{};
    description.cbSize = sizeof(description);
    description.lpfnWndProc = &TestWindow::procedure;
    description.lpszClassName = kClass;
    RegisterClassExW(&description);
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
  // Answers messages from WM_USER on.
  std::function<LRESULT(UINT message, WPARAM wParam, LPARAM lParam)> onMessage;
  int paints = 0;
  RECT lastPaint{};
  std::vector<UINT> noted;  // messages from WM_USER on, WM_DESTROY and WM_NCDESTROY

 private:
  static LRESULT CALLBACK procedure(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* self = reinterpret_cast<TestWindow*>(GetWindowLongPtrW(handle, GWLP_USERDATA));
    if (!self) return DefWindowProcW(handle, message, wParam, lParam);
    if (message == WM_PAINT) {
      self->paint();
      return 0;
    }
    const bool ours = message >= WM_USER && message < 0xC000;
    if (ours || message == WM_DESTROY || message == WM_NCDESTROY) self->noted.push_back(message);
    if (ours && self->onMessage) return self->onMessage(message, wParam, lParam);
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
  }

  COLORREF m_color;
  HWND m_handle = nullptr;
};

// A thread of the system, joined at the end.
class TestThread {
 public:
  explicit TestThread(std::function<void()> body) : m_body(std::move(body)) {
    m_handle = CreateThread(nullptr, 0, &run, this, 0, &m_id);
  }
  ~TestThread() {
    Join();
    CloseHandle(m_handle);
  }
  TestThread(const TestThread&) = delete;
  TestThread& operator=(const TestThread&) = delete;

  DWORD Join() { return WaitForSingleObject(m_handle, INFINITE); }
  DWORD id() const { return m_id; }
  HANDLE handle() const { return m_handle; }

 private:
  static DWORD WINAPI run(void* self) {
    static_cast<TestThread*>(self)->m_body();
    return 0;
  }

  std::function<void()> m_body;
  DWORD m_id = 0;
  HANDLE m_handle = nullptr;
};

struct TestEvent {
  TestEvent() : handle(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
  ~TestEvent() { CloseHandle(handle); }
  TestEvent(const TestEvent&) = delete;
  TestEvent& operator=(const TestEvent&) = delete;
  void Set() { SetEvent(handle); }
  void Wait() { WaitForSingleObject(handle, INFINITE); }
  const HANDLE handle;
};

// A window on a thread of its own that handles messages until the end of the scope.
// `prepare` is over when it is there, `busy` comes after that and before all messages.
class WindowThread {
 public:
  using Step = std::function<void(TestWindow&)>;
  explicit WindowThread(const Step& prepare = {}, const Step& busy = {})
      : m_thread([=, this] {
          TestWindow window({10, 10, 60, 60}, RGB(200, 30, 10), 0, nullptr, WS_POPUP, L"A title");
          m_window = &window;
          if (prepare) prepare(window);
          m_ready.Set();
          if (busy) busy(window);
          MSG message{};
          while (GetMessageW(&message, nullptr, 0, 0) > 0) {
            if (!message.hwnd && message.message == WM_APP) m_flushed.Set();
            DispatchMessageW(&message);
          }
        }) {
    m_ready.Wait();
  }
  ~WindowThread() { PostThreadMessageW(m_thread.id(), WM_QUIT, 0, 0); }

  HWND handle() const { return m_window->handle(); }
  // Waits, once, until it has handled all that came before.
  void Flush() {
    PostThreadMessageW(m_thread.id(), WM_APP, 0, 0);
    m_flushed.Wait();
  }

 private:
  TestWindow* m_window = nullptr;
  TestEvent m_ready;
  TestEvent m_flushed;
  TestThread m_thread;  // ends first
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
  bool CopyScreen(int x, int y) {
    const HDC screen = GetDC(nullptr);
    const BOOL copied = BitBlt(m_dc, 0, 0, m_width, m_height, screen, x, y, SRCCOPY);
    ReleaseDC(nullptr, screen);
    return copied != FALSE;
  }
  // Rows top to bottom, 0xXXRRGGBB.
  std::vector<std::uint32_t> Pixels() const { return Lines(0, m_height, true); }
  std::vector<std::uint32_t> Lines(int first, int count, bool topDown) const {
    BITMAPINFO info = DescribePixels(m_width, topDown ? -m_height : m_height);
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
