// The scene on virtual Windows: windows of other programs, drawn by us.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <iterator>
#include <mutex>
#include <numbers>
#include <string>
#include <thread>
#include <utility>

#include "act.h"
#include "platform/control/Clock.h"
#include "platform/control/Desktop.h"
#include "platform/control/Faults.h"
#include "platform/control/Graphics.h"
#include "platform/control/Machine.h"
#include "scene.h"
#include "scene_cursors.h"

namespace {

using vwin::control::Canvas;

constexpr std::chrono::milliseconds kStep(15);
constexpr int kTitleHeight = 28;
constexpr std::uint32_t kFirstProcessId = 7000;
constexpr std::uint32_t kPageProcessId = 7900;

// A title bar with three buttons above an area in one colour.
void PaintFrame(Canvas& canvas, COLORREF bar, COLORREF area) {
  const int width = canvas.width();
  canvas.Fill({0, 0, width, canvas.height()}, bar);
  canvas.Fill({2, kTitleHeight, width - 2, canvas.height() - 2}, area);
  const COLORREF buttons[] = {RGB(226, 74, 62), RGB(238, 180, 34), RGB(70, 180, 80)};
  for (int i = 0; i < 3; ++i) {
    const int left = width - 26 - i * 24;
    canvas.Fill({left, 7, left + 14, 21}, buttons[i]);
  }
}

// Lines of words, as a page of text looks from afar.
void PaintNotes(Canvas& canvas) {
  PaintFrame(canvas, RGB(52, 88, 150), RGB(250, 248, 240));
  unsigned word = 7;
  for (int y = kTitleHeight + 16; y + 10 < canvas.height() - 12; y += 20) {
    for (int x = 18; x < canvas.width() - 60;) {
      word = word * 1103515245u + 12345u;
      const int length = 14 + static_cast<int>((word >> 16) % 46);
      canvas.Fill({x, y, x + length, y + 8}, RGB(60, 60, 72));
      x += length + 9;
    }
  }
}

// Every hue from left to right, dark below.
void PaintPalette(Canvas& canvas) {
  PaintFrame(canvas, RGB(40, 44, 52), RGB(20, 22, 26));
  const int width = canvas.width() - 24;
  const int height = canvas.height() - kTitleHeight - 24;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const double hue = 2 * std::numbers::pi * x / width;
      const double light = 255.0 * (height - y) / height;
      const auto channel = [&](double shift) {
        return static_cast<int>(light * (0.5 + 0.5 * std::cos(hue - shift)));
      };
      const int left = x + 12;
      const int top = y + kTitleHeight + 12;
      canvas.Fill({left, top, left + 1, top + 1}, RGB(channel(0), channel(2.1), channel(4.2)));
    }
  }
}

// Bars that rise and fall with `time` in seconds.
void PaintChart(Canvas& canvas, double time) {
  PaintFrame(canvas, RGB(110, 60, 140), RGB(246, 242, 250));
  const int bottom = canvas.height() - 20;
  const int reach = bottom - kTitleHeight - 20;
  for (int bar = 0, x = 22; x + 26 < canvas.width() - 12; ++bar, x += 36) {
    const double level = 0.55 + 0.4 * std::sin(time * 2.2 + bar * 0.7);
    const COLORREF color = RGB(90 + bar * 16 % 160, 70, 200 - bar * 14 % 160);
    canvas.Fill({x, bottom - static_cast<int>(reach * level), x + 26, bottom}, color);
  }
}

void PaintMover(Canvas& canvas) {
  PaintFrame(canvas, RGB(24, 120, 90), RGB(222, 244, 234));
  for (int i = 0; i < 6; ++i) {
    const int left = 14 + i * 32;
    canvas.Fill({left, kTitleHeight + 16, left + 18, canvas.height() - 18},
                RGB(20, 90 + i * 24, 70 + i * 10));
  }
}

// A heading and columns of figures.
void PaintReport(Canvas& canvas) {
  PaintFrame(canvas, RGB(150, 70, 40), RGB(252, 250, 246));
  const int width = canvas.width();
  canvas.Fill({24, kTitleHeight + 18, width / 2, kTitleHeight + 38}, RGB(150, 70, 40));
  for (int row = 0, y = kTitleHeight + 58; y + 12 < canvas.height() - 12; ++row, y += 24) {
    canvas.Fill({24, y, width - 24, y + 1}, RGB(214, 206, 196));
    for (int column = 0, x = 28; x + 70 < width - 24; ++column, x += 84) {
      canvas.Fill({x, y + 7, x + 26 + (row * 7 + column * 13) % 36, y + 15}, RGB(70, 66, 62));
    }
  }
}

// A point that runs to and fro between 0 and `range`.
int Bounce(double distance, int range) {
  const double turn = std::fmod(distance, 2.0 * range);
  return static_cast<int>(turn < range ? turn : 2.0 * range - turn);
}

// Gives a small part of the window another colour with each call.
void Blink(HWND window) {
  static bool lit = false;
  lit = !lit;
  vwin::control::Fill(window, {0, 0, 64, 64}, lit ? RGB(250, 200, 20) : RGB(20, 60, 200));
}

class VirtualScene : public Scene {
 public:
  VirtualScene(int width, int height, bool lively, SceneKind kind)
      : m_kind(kind), m_width(width), m_height(height) {
    using namespace vwin::control;
    if (kind == SceneKind::Windows11) {
      SetVersion(kWindows11);
    }
    // Makers put what they like into a name.
    SetAdapter({0x8086, 0x3E92, L"Scene\u00AE \"Virtual\" Graphics"});
    SetMonitorRect(PrimaryMonitor(), {0, 0, width, height});
    if (kind == SceneKind::Turned) {
      TurnMonitor(PrimaryMonitor(), DXGI_MODE_ROTATION_ROTATE90);
    }
    SetDesktopColor(RGB(28, 74, 92));
    m_notes =
        open(L"Notes", {width / 20, height / 12, width * 11 / 20, height * 3 / 4}, PaintNotes);
    open(L"Palette", {width / 2, height / 4, width * 19 / 20, height * 4 / 5}, PaintPalette);
    m_chart = open(L"Chart", {width / 5, height * 9 / 20, width * 3 / 5, height * 19 / 20},
                   [](Canvas& canvas) { PaintChart(canvas, 0); });
    m_actor = open(std::wstring(std::begin(kActorTitle), std::end(kActorTitle) - 1),
                   {m_actorLeft, m_actorTop, m_actorLeft + kActorWidth, m_actorTop + kActorHeight},
                   PaintReport);
    m_mover = open(L"Mover", {0, 0, kMoverWidth, kMoverHeight}, PaintMover);
    SetCursorShape(CursorKind::kArrow);
    UseCursorOf(kind);
    step(0);
    if (lively && kind != SceneKind::Still) {
      m_thread = std::thread([this] { run(); });
    }
  }

  VirtualScene(const VirtualScene&) = delete;
  VirtualScene& operator=(const VirtualScene&) = delete;

  ~VirtualScene() override {
    {
      const std::scoped_lock lock(m_mutex);
      m_ending = true;
      m_ended.notify_all();
    }
    if (m_thread.joinable()) {
      m_thread.join();
    }
  }

 private:
  static constexpr int kMoverWidth = 220;
  static constexpr int kMoverHeight = 150;
  static constexpr int kActorWidth = 420;
  static constexpr int kActorHeight = 300;

  // Of a program that is called as its window is.
  HWND open(const std::wstring& title, const RECT& rect,
            const vwin::control::PaintCallback& paint) {
    const std::uint32_t processId = m_nextProcessId++;
    vwin::control::AddProcess(processId, L"C:\\Program Files\\" + title + L".exe");
    return vwin::control::OpenWindow(
        {.title = title, .rect = rect, .paint = paint, .processId = processId});
  }

  void run() {
    const auto start = std::chrono::steady_clock::now();
    std::unique_lock lock(m_mutex);
    while (!m_ended.wait_for(lock, kStep, [this] { return m_ending; })) {
      step(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
  }

  // To one of another shape, as an old projector has.
  void changeMode() {
    m_width = m_width * 4 / 5;
    m_height = m_height * 16 / 15;
    vwin::control::SetMonitorRect(vwin::control::PrimaryMonitor(), {0, 0, m_width, m_height});
    m_modeChanged = true;
  }

  void step(double time) {
    if (m_kind == SceneKind::ModeChange && !m_modeChanged && time >= kModeChangeSeconds) {
      changeMode();
    }
    vwin::control::MoveTo(m_mover, Bounce(time * 310, m_width - kMoverWidth),
                          Bounce(40 + time * 190, m_height - kMoverHeight));
    stepActor(ActorAt(time));
    // Shows in the pictures of a share what it missed.
    const int done = static_cast<int>(std::fmod(time, kActorRound) / kActorRound * 160);
    vwin::control::Fill(m_actor, {236, 46, 396, 66}, RGB(236, 228, 218));
    vwin::control::Fill(m_actor, {236, 46, 236 + done, 66}, RGB(40, 110, 150));
    vwin::control::Paint(m_chart, [time](Canvas& canvas) { PaintChart(canvas, time); });
    vwin::control::SetCursorPosition(
        static_cast<int>(m_width * (0.5 + 0.3 * std::cos(time * 1.3))),
        static_cast<int>(m_height * (0.5 + 0.3 * std::sin(time * 1.9))));
  }

  // Its other place is below the notes when those are on top.
  void stepActor(const ActorState& state) {
    using namespace vwin::control;
    if (state.minimised != m_state.minimised) {
      state.minimised ? Minimise(m_actor) : Restore(m_actor);
    }
    if (state.covered != m_state.covered) {
      ToTop(state.covered ? m_notes : m_actor);
    }
    if (state.travel != m_state.travel) {
      MoveTo(m_actor, m_actorLeft - static_cast<int>(state.travel * m_width * 0.35),
             m_actorTop + static_cast<int>(state.travel * m_height * 0.25));
    }
    m_state = state;
  }

  const SceneKind m_kind;
  int m_width;  // of the monitor
  int m_height;
  const int m_actorLeft = std::min(m_width * 5 / 8, m_width - kActorWidth);
  const int m_actorTop = m_height / 12;
  bool m_modeChanged = false;
  std::uint32_t m_nextProcessId = kFirstProcessId;
  HWND m_notes = nullptr;
  HWND m_actor = nullptr;
  ActorState m_state;
  HWND m_chart = nullptr;
  HWND m_mover = nullptr;
  std::mutex m_mutex;
  std::condition_variable m_ended;
  bool m_ending = false;
  std::thread m_thread;
};

}  // namespace

std::unique_ptr<Scene> OpenScene(int width, int height, bool lively, SceneKind kind) {
  if (kind == SceneKind::Turned) {
    std::swap(width, height);
  }
  return std::make_unique<VirtualScene>(width, height, lively, kind);
}

bool TakeScreen(std::vector<std::uint8_t>& bytes, int& width, int& height) {
  MONITORINFO info = {};
  info.cbSize = sizeof(info);
  GetMonitorInfoW(vwin::control::PrimaryMonitor(), &info);
  const vwin::control::Picture screen = vwin::control::Screenshot(info.rcMonitor);
  const auto* const first = reinterpret_cast<const std::uint8_t*>(screen.pixels.data());
  bytes.assign(first, first + screen.pixels.size() * 4);
  width = screen.width;
  height = screen.height;
  return true;
}

bool OpenManyWindows(int count) {
  constexpr int kPrograms = 20;
  for (int i = 0; i < count; ++i) {
    const auto processId = static_cast<std::uint32_t>(8000 + i % kPrograms);
    vwin::control::AddProcess(
        processId, L"C:\\Program Files\\Tool " + std::to_wstring(processId) + L"\\tool.exe");
    vwin::control::OpenWindow({.title = L"Document " + std::to_wstring(i) + L" - Tool",
                               .rect = {i, i, i + 200, i + 100},
                               .processId = processId});
  }
  return true;
}

bool ChangeScreen() {
  static const HWND window = vwin::control::OpenWindow({.rect = {8, 8, 72, 72}});
  Blink(window);
  return true;
}

void* OpenPage(int margin) {
  const RECT rect = {margin, margin, GetSystemMetrics(SM_CXSCREEN) - margin,
                     GetSystemMetrics(SM_CYSCREEN) - margin};
  vwin::control::AddProcess(kPageProcessId, L"C:\\Program Files\\Page.exe");
  return vwin::control::OpenWindow(
      {.title = L"Page", .rect = rect, .paint = PaintNotes, .processId = kPageProcessId});
}

void ChangePage(void* page) { Blink(static_cast<HWND>(page)); }

bool SkipWaits() {
  vwin::control::OwnClock();
  return true;
}

std::uint64_t CountCalls(const std::string& function) { return vwin::control::Count(function); }

std::uint64_t PictureBytes() { return vwin::control::PictureBytes(); }
