// demo-windows [--still|--acting]: opens a few plain windows, so that there is
// something to share. One moves and repaints itself every 15 ms; with --acting one
// does what act.h says instead; with --still none does anything. Says "ready" when
// they are drawn and runs until it is ended or a window is closed.
#include <windows.h>

#include <cmath>
#include <cstdio>
#include <cstring>

#include "act.h"

namespace {

constexpr UINT_PTR kStepTimer = 1;
constexpr UINT kStepMillis = 15;
constexpr UINT_PTR kReadyTimer = 2;
constexpr UINT kReadyMillis = 100;

enum class Role { Still, Lively, Actor };

struct DemoWindow {
  const char* title;
  COLORREF color;
  RECT rect;  // in thousandths of the screen
  Role role;
  HWND handle;
  DWORD start;
};

DemoWindow g_notes = {"Notes", RGB(250, 244, 220), {40, 60, 520, 640}, Role::Still, nullptr, 0};
DemoWindow g_palette = {"Palette", RGB(60, 70, 190), {480, 240, 960, 820}, Role::Still, nullptr, 0};
DemoWindow g_mover = {"Mover", RGB(24, 150, 90), {80, 500, 360, 860}, Role::Lively, nullptr, 0};
DemoWindow g_actor = {
    kActorTitle, RGB(250, 236, 224), {620, 80, 940, 500}, Role::Actor, nullptr, 0};
ActorState g_actorState;

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
  const double time = demo.role == Role::Lively ? (GetTickCount() - demo.start) / 1000.0 : 0;
  for (int i = 0; i < 8; ++i) {
    const double level = 0.55 + 0.4 * std::sin(time * 3 + i * 0.8);
    const LONG left = (2 * i + 1) * client.right / 17;
    const RECT bar = {left, client.bottom - static_cast<LONG>(client.bottom * level),
                      left + client.right / 17, client.bottom};
    Bar(dc, bar, RGB(200 - 20 * i, 40 + 25 * i, 90 + 10 * i));
  }
  SetBkMode(dc, TRANSPARENT);
  TextOutA(dc, 12, 10, demo.title, static_cast<int>(std::strlen(demo.title)));
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

// Its other place is below the notes when those are on top.
void StepActor(HWND window, const DemoWindow& demo) {
  const ActorState state = ActorAt((GetTickCount() - demo.start) / 1000.0);
  if (state.minimised != g_actorState.minimised) {
    ShowWindow(window, state.minimised ? SW_MINIMIZE : SW_RESTORE);
  }
  if (state.covered != g_actorState.covered) {
    BringWindowToTop(state.covered ? g_notes.handle : window);
  }
  if (state.travel != g_actorState.travel) {
    const double left = demo.rect.left / 1000.0 - state.travel * 0.45;
    const double top = demo.rect.top / 1000.0 + state.travel * 0.1;
    SetWindowPos(window, nullptr, static_cast<int>(GetSystemMetrics(SM_CXSCREEN) * left),
                 static_cast<int>(GetSystemMetrics(SM_CYSCREEN) * top), 0, 0,
                 SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
  }
  g_actorState = state;
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
      } else if (demo != nullptr && demo->role == Role::Lively) {
        Step(window, *demo);
      } else if (demo != nullptr) {
        StepActor(window, *demo);
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

bool Open(DemoWindow& demo, bool titleBar) {
  const int width = GetSystemMetrics(SM_CXSCREEN);
  const int height = GetSystemMetrics(SM_CYSCREEN);
  const HWND window = CreateWindowExA(0, "DemoWindow", demo.title,
                                      (titleBar ? WS_OVERLAPPEDWINDOW : WS_POPUP) | WS_VISIBLE,
                                      demo.rect.left * width / 1000, demo.rect.top * height / 1000,
                                      (demo.rect.right - demo.rect.left) * width / 1000,
                                      (demo.rect.bottom - demo.rect.top) * height / 1000, nullptr,
                                      nullptr, GetModuleHandleW(nullptr), nullptr);
  if (window == nullptr) {
    return false;
  }
  demo.handle = window;
  demo.start = GetTickCount();
  SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&demo));
  InvalidateRect(window, nullptr, FALSE);
  UpdateWindow(window);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const bool still = argc > 1 && std::strcmp(argv[1], "--still") == 0;
  const bool acting = argc > 1 && std::strcmp(argv[1], "--acting") == 0;
  if (argc > 2 || (argc == 2 && !still && !acting)) {
    std::fputs("usage: demo-windows [--still|--acting]\n", stderr);
    return 2;
  }
  WNDCLASSW windowClass = {};
  windowClass.lpfnWndProc = WindowProcedure;
  windowClass.hInstance = GetModuleHandleW(nullptr);
  windowClass.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
  windowClass.lpszClassName = L"DemoWindow";
  RegisterClassW(&windowClass);
  if (still) {
    g_mover.role = Role::Still;
  }
  DemoWindow& last = acting ? g_actor : g_mover;
  DemoWindow* const windows[] = {&g_notes, &g_palette, &last};
  for (DemoWindow* demo : windows) {
    // A title bar is drawn anew when another window gets the focus.
    if (!Open(*demo, !still)) {
      std::fputs("demo-windows: can't open a window\n", stderr);
      return 1;
    }
    if (demo->role != Role::Still) {
      SetTimer(demo->handle, kStepTimer, kStepMillis, nullptr);
    }
  }
  SetTimer(last.handle, kReadyTimer, kReadyMillis, nullptr);
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    DispatchMessageW(&message);
  }
  return 0;
}
