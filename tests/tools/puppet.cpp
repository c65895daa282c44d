// puppet: another program with windows, which does what it is told on standard
// input, one command a line:
//
//   open NAME CLASS X Y WIDTH HEIGHT TITLE   a window without a frame, on top
//   move NAME X Y WIDTH HEIGHT
//   minimise NAME | restore NAME | hide NAME | close NAME
//
// Answers each with "ok ID", the window's 32-bit id, when it is done and painted,
// or with "error". Ends with its input.
#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <thread>

namespace {

constexpr wchar_t kControlClass[] = L"Puppet";
constexpr UINT kCommand = WM_APP;

std::map<std::string, HWND> g_windows;

std::wstring Widen(const std::string& ascii) { return {ascii.begin(), ascii.end()}; }

// Stripes that no other place of the picture repeats.
void Paint(HWND window) {
  PAINTSTRUCT paint;
  const HDC dc = BeginPaint(window, &paint);
  RECT client;
  GetClientRect(window, &client);
  for (int x = 0; x < client.right; x += 20) {
    for (int y = 0; y < client.bottom; y += 20) {
      const RECT cell = {x, y, x + 20, y + 20};
      const HBRUSH brush = CreateSolidBrush(RGB(x * 7 % 256, y * 5 % 256, (x + y) * 3 % 256));
      FillRect(dc, &cell, brush);
      DeleteObject(brush);
    }
  }
  EndPaint(window, &paint);
}

LRESULT CALLBACK PaintedProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_PAINT) {
    Paint(window);
    return 0;
  }
  return DefWindowProcW(window, message, wParam, lParam);
}

void Register(const wchar_t* name, WNDPROC procedure) {
  WNDCLASSW windowClass = {};
  windowClass.lpfnWndProc = procedure;
  windowClass.hInstance = GetModuleHandleW(nullptr);
  windowClass.lpszClassName = name;
  RegisterClassW(&windowClass);
}

// The title comes last: who looks for it finds a window that is complete.
HWND Open(std::istream& words) {
  std::string className;
  std::string title;
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  words >> className >> x >> y >> width >> height >> std::ws;
  std::getline(words, title);
  Register(Widen(className).c_str(), PaintedProcedure);
  const HWND window =
      CreateWindowExW(0, Widen(className).c_str(), L"", WS_POPUP | WS_VISIBLE, x, y, width, height,
                      nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
  UpdateWindow(window);
  SetWindowTextW(window, Widen(title).c_str());
  return window;
}

bool Act(const std::string& verb, HWND window, std::istream& words) {
  if (verb == "move") {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    words >> x >> y >> width >> height;
    return SetWindowPos(window, nullptr, x, y, width, height, SWP_NOZORDER | SWP_NOACTIVATE) &&
           InvalidateRect(window, nullptr, FALSE) && UpdateWindow(window);
  }
  if (verb == "minimise" || verb == "restore") {
    ShowWindow(window, verb == "minimise" ? SW_MINIMIZE : SW_RESTORE);
    return UpdateWindow(window);
  }
  if (verb == "hide") {
    return ShowWindow(window, SW_HIDE);
  }
  return verb == "close" && DestroyWindow(window);
}

// Returns the window, or null when the command can't be carried out.
HWND Obey(const std::string& line) {
  std::istringstream words(line);
  std::string verb;
  std::string name;
  words >> verb >> name;
  if (verb == "open") {
    g_windows[name] = Open(words);
    GdiFlush();
    return g_windows[name];
  }
  const HWND window = g_windows[name];
  const bool done = Act(verb, window, words);
  GdiFlush();
  return done ? window : nullptr;
}

LRESULT CALLBACK ControlProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == kCommand) {
    return reinterpret_cast<LRESULT>(Obey(*reinterpret_cast<const std::string*>(lParam)));
  }
  return DefWindowProcW(window, message, wParam, lParam);
}

// Hands each line to the thread that has the windows.
void ReadCommands(HWND control, DWORD windowThread) {
  std::string line;
  while (std::getline(std::cin, line)) {
    const LRESULT window = SendMessageW(control, kCommand, 0, reinterpret_cast<LPARAM>(&line));
    if (window == 0) {
      std::puts("error");
    } else {
      std::printf("ok %d\n", static_cast<std::int32_t>(window));
    }
    std::fflush(stdout);
  }
  PostThreadMessageW(windowThread, WM_QUIT, 0, 0);
}

}  // namespace

int main() {
  Register(kControlClass, ControlProcedure);
  const HWND control = CreateWindowExW(0, kControlClass, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                       GetModuleHandleW(nullptr), nullptr);
  std::thread reader(ReadCommands, control, GetCurrentThreadId());
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    DispatchMessageW(&message);
  }
  reader.join();
  return 0;
}
