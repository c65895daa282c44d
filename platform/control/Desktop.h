// The test side of the desktop: monitors, other programs' windows, the cursor.
//
//   using namespace vwin::control;
//   HMONITOR left = AddMonitor({-1280, 0, 0, 1024}, {.device = L"\\\\.\\DISPLAY2"});
//   HWND editor = OpenWindow({.title = L"Notes", .rect = {100, 100, 500, 400},
//                             .color = RGB(200, 40, 10)});
//   Minimise(editor);
//
// A new machine has one primary monitor, 0,0 to 1920x1080, "\\.\DISPLAY1", an
// empty desktop in one colour, and an arrow cursor in the middle. Rectangles are
// in virtual-screen pixels unless said otherwise. Every function may be called on
// any thread, without the machine's lock; each takes effect before it returns.
// Handles that name nothing are an error of the test: std::invalid_argument.
#pragma once

#include <windows.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vwin::control {

// ------------------------------------------------------------------- pictures

// 32-bit pixels, B G R X in memory, rows top to bottom without gaps. X is 0.
struct Picture {
  int width = 0;
  int height = 0;
  std::vector<std::uint32_t> pixels;

  COLORREF At(int x, int y) const;  // within the picture
};

// What a paint callback draws on: the pixels of one window, (0, 0) its top left.
class Canvas {
 public:
  Canvas(std::uint32_t* pixels, int width, int height)
      : m_pixels(pixels), m_width(width), m_height(height) {}

  int width() const { return m_width; }
  int height() const { return m_height; }
  std::uint32_t* Row(int y) { return m_pixels + static_cast<std::ptrdiff_t>(y) * m_width; }
  // Clipped to the canvas.
  void Fill(const RECT& rect, COLORREF color);

 private:
  std::uint32_t* m_pixels;
  int m_width;
  int m_height;
};

using PaintCallback = std::function<void(Canvas&)>;

// What is on the screen, without the cursor; black outside of all monitors. For
// demonstrations: tests expect their own rectangles and colours instead.
Picture Screenshot(const RECT& rect);

// ------------------------------------------------------------------- monitors

struct MonitorSpec {
  bool primary = false;                         // takes the place of the earlier primary monitor
  std::optional<RECT> workArea = std::nullopt;  // default: the whole monitor
  std::wstring device = {};                     // default: the first free "\\.\DISPLAYn"
};

// Monitors are enumerated in the order in which they were added, the first one
// of the machine being DISPLAY1. Every second handle is negative as a 32-bit number.
HMONITOR AddMonitor(const RECT& rect, const MonitorSpec& wanted = {});
// Unplugs: the handle is stale from now on. Windows stay where they are.
void RemoveMonitor(HMONITOR monitor);
// A mode change or a move; also to an empty rectangle. The work area follows.
void SetMonitorRect(HMONITOR monitor, const RECT& rect);
// The same device under a new handle, as after a driver restart.
HMONITOR RenewMonitorHandle(HMONITOR monitor);
std::vector<HMONITOR> Monitors();
HMONITOR PrimaryMonitor();
void SetDesktopColor(COLORREF color);

// ------------------------------------------------------ other programs' windows

struct WindowSpec {
  std::wstring title = {};
  std::wstring className = L"OtherWindow";
  RECT rect = {100, 100, 740, 580};     // the whole window, also of a child
  COLORREF color = RGB(240, 240, 240);  // also of what it grows by later
  PaintCallback paint = {};             // instead of the colour; called again when the size changes
  DWORD style = WS_POPUP;
  DWORD exStyle = 0;
  HWND owner = nullptr;
  HWND parent = nullptr;  // makes it a child; clipped to its parent
  DWORD processId = 7000;
  DWORD threadId = 7001;
  bool visible = true;
  bool cloaked = false;
  // How much of the rectangle is invisible frame: left, top, right, bottom insets
  // of DWMWA_EXTENDED_FRAME_BOUNDS.
  RECT invisibleFrame = {0, 0, 0, 0};
};

// Opens on top of the windows of its kind (topmost or not).
HWND OpenWindow(const WindowSpec& wanted);
// Closes any window but the library's own, with its children and owned windows. Those
// of the library are destroyed by their own threads, when these next look at their
// messages.
void Close(HWND window);

void MoveTo(HWND window, int x, int y);
void Resize(HWND window, int width, int height);
void SetRect(HWND window, const RECT& rect);
void Minimise(HWND window);
void Maximise(HWND window);  // to the work area of its monitor, plus a sizing frame
void Restore(HWND window);
void Show(HWND window);
void Hide(HWND window);
void ToTop(HWND window);     // within its kind
void ToBottom(HWND window);  // within its kind
void SetTopmost(HWND window, bool topmost);
void SetOwner(HWND window, HWND owner);  // null: none; its place in the order stays
// Puts the window on top and gives it to the user; null: no window has the foreground.
// Until then, and when that window can't be seen any more, it is the topmost one that
// a user could work with.
void SetForeground(HWND window);
void SetTitle(HWND window, const std::wstring& title);
// The bits for visible, minimised, maximised and child stay as they are.
void SetStyle(HWND window, DWORD style);
void SetExStyle(HWND window, DWORD exStyle);
// Windows 7 cloaks nothing.
void SetCloaked(HWND window, bool cloaked);
// As SetLayeredWindowAttributes; adds WS_EX_LAYERED.
void SetLayered(HWND window, std::optional<COLORREF> key, std::optional<std::uint8_t> alpha);

// How another program's window answers messages and calls that have its thread do
// something: at once unless set. A change concerns those who wait as well: their time
// counts from then on.
void AnswerAfter(HWND window, std::chrono::milliseconds delay);
void Hang(HWND window);  // until AnswerAfter; what it is asked without waiting comes then
// All windows of other programs that there are, children too.
void HangAll();
void AnswerAll();  // at once

// Draw on a window; `rect` and the canvas count from the window's top left.
void Fill(HWND window, const RECT& rect, COLORREF color);
void Paint(HWND window, const PaintCallback& paint);

// --------------------------------------------------------------------- cursor

enum class CursorKind { kArrow, kBeam, kCross };

// A picture with straight alpha in the top byte of each pixel.
struct CursorPicture {
  int width = 0;
  int height = 0;
  int hotspotX = 0;
  int hotspotY = 0;
  std::vector<std::uint32_t> pixels;
};

void SetCursorPosition(int x, int y);
void SetCursorShape(CursorKind kind);
void SetCursorShape(const CursorPicture& picture);
void HideCursor();
void ShowCursor();

// -------------------------------------------------------------------- queries

// A window of the own process, as the library's are.
struct WindowState {
  HWND handle;
  std::wstring className;
  std::wstring title;
  RECT rect;
  bool visible;
  DWORD style;
  DWORD exStyle;
  int zPosition;                     // 0 is the topmost of all top-level windows
  std::optional<COLORREF> colorKey;  // of SetLayeredWindowAttributes
  std::optional<std::uint8_t> alpha;
  std::uint64_t paintCount;  // BeginPaint calls so far
  HWND owner;
};

// The own process's top-level windows, topmost first; optionally of one class.
std::vector<WindowState> LibraryWindows(const std::wstring& className = {});
// How often RedrawWindow or InvalidateRect asked a window to draw itself anew.
std::uint64_t RedrawCount(HWND window);
// Top-level windows, topmost first.
std::vector<HWND> WindowsInOrder();

}  // namespace vwin::control
