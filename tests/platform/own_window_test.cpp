// Windows of this process on a machine whose clock the test owns, and what is
// noted as misuse.
#include <chrono>

#include "platform/control/Clock.h"
#include "platform/control/Ledger.h"
#include "tests/platform/DesktopTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;
using namespace std::chrono_literals;

class OwnWindowTest : public DesktopTest {};

// Keeps a WindowThread busy for wParam milliseconds.
constexpr UINT kBusy = WM_USER + 1;

// A window on a thread of its own that handles messages until WM_QUIT.
class WindowThread {
 public:
  explicit WindowThread(UINT timer = 0)
      : m_thread([this, timer] {
          TestWindow window({10, 10, 60, 60}, kRed);
          m_window = &window;
          if (timer) SetTimer(window, 1, timer, nullptr);
          SetEvent(m_ready);
          MSG message{};
          while (GetMessageW(&message, nullptr, 0, 0) > 0) {
            timers += message.message == WM_TIMER;
            if (message.message == kBusy) Spend(std::chrono::milliseconds(message.wParam));
            DispatchMessageW(&message);
          }
        }) {
    WaitForSingleObject(m_ready, INFINITE);
  }
  ~WindowThread() {
    PostMessageW(window(), WM_QUIT, 0, 0);
    m_thread.Join();
    CloseHandle(m_ready);
  }
  HWND window() const { return m_window->handle(); }
  // Only while the thread waits.
  int paints() const { return m_window->paints; }
  void OnPaint(std::function<void()> call) { m_window->onPaint = std::move(call); }

  int timers = 0;

 private:
  TestWindow* m_window = nullptr;
  HANDLE m_ready = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  TestThread m_thread;
};

TEST_F(OwnWindowTest, TimersKeepToTheClock) {
  OwnClock();
  WindowThread thread(30);
  Advance(29ms);
  EXPECT_EQ(thread.timers, 0);
  Advance(1ms);
  EXPECT_EQ(thread.timers, 1);
  Advance(300ms);
  EXPECT_EQ(thread.timers, 11);
}

TEST_F(OwnWindowTest, ALateThreadGetsOneTimerMessage) {
  OwnClock();
  WindowThread thread(30);
  PostMessageW(thread.window(), kBusy, 100, 0);
  Advance(100ms);
  EXPECT_EQ(thread.timers, 1);
  Advance(29ms);
  EXPECT_EQ(thread.timers, 1);
  Advance(1ms);
  EXPECT_EQ(thread.timers, 2);
}

TEST_F(OwnWindowTest, TimersAreNeverFasterThanTenMilliseconds) {
  OwnClock();
  WindowThread thread(1);
  Advance(100ms);
  EXPECT_EQ(thread.timers, 10);
}

TEST_F(OwnWindowTest, ShownFromAnotherThreadItPaintsOnItsOwn) {
  OwnClock();
  WindowThread thread;
  ShowWindow(thread.window(), SW_SHOW);
  Settle();
  EXPECT_EQ(thread.paints(), 1);
  EXPECT_EQ(screenAt(20, 20), kRedPixel);
  InvalidateRect(thread.window(), nullptr, FALSE);
  RedrawWindow(thread.window(), nullptr, nullptr, RDW_INVALIDATE);
  Settle();
  EXPECT_GE(thread.paints(), 2);
  EXPECT_EQ(RedrawCount(thread.window()), 2u);
  // Sent, not posted: it is painted when the call returns. The thread is busy, so
  // that it doesn't paint before.
  const int before = thread.paints();
  PostMessageW(thread.window(), kBusy, 10, 0);
  Settle();
  RedrawWindow(thread.window(), nullptr, nullptr, RDW_INVALIDATE);
  UpdateWindow(thread.window());
  EXPECT_EQ(thread.paints(), before + 1);
}

TEST_F(OwnWindowTest, ThreadsThatWaitForEachOtherAnswer) {
  OwnClock();
  TestWindow ours({100, 10, 150, 60}, kGreen);
  ours.Show();
  InvalidateRect(ours, nullptr, FALSE);
  WindowThread thread;
  int seen = 0;
  thread.OnPaint([&] {
    UpdateWindow(ours);
    seen = ours.paints;
  });
  // Busy, so that it doesn't paint before we wait for it.
  PostMessageW(thread.window(), kBusy, 10, 0);
  Settle();
  ShowWindow(thread.window(), SW_SHOWNA);
  UpdateWindow(thread.window());
  EXPECT_EQ(seen, 2);
}

TEST_F(OwnWindowTest, GrowsWithWhatItPaints) {
  TestWindow window({10, 10, 20, 20}, kRed, WS_EX_TOPMOST);
  window.Show();
  SetWindowPos(window, HWND_TOPMOST, 30, 30, 50, 40, SWP_NOACTIVATE);
  EXPECT_EQ(screenAt(35, 35), kRedPixel) << "what was painted moves along";
  UpdateWindow(window);
  EXPECT_EQ(screenAt(79, 69), kRedPixel);
  EXPECT_EQ(screenAt(80, 69), kDesktopPixel);
}

TEST_F(OwnWindowTest, IsSeenByTheTestAsItIs) {
  open({.rect = {0, 0, 10, 10}});
  TestWindow window({10, 20, 60, 70}, kRed, WS_EX_LAYERED | WS_EX_TOOLWINDOW);
  SetLayeredWindowAttributes(window, RGB(255, 255, 255), 128, LWA_COLORKEY | LWA_ALPHA);
  SetWindowPos(window, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOMOVE);
  open({.rect = {0, 0, 10, 10}});
  const std::vector<WindowState> own = LibraryWindows(TestWindow::kClass);
  ASSERT_EQ(own.size(), 1u);
  EXPECT_EQ(own[0].handle, window.handle());
  EXPECT_EQ(own[0].rect.bottom, 70);
  EXPECT_FALSE(own[0].visible);
  EXPECT_EQ(own[0].zPosition, 0);
  EXPECT_EQ(own[0].colorKey, RGB(255, 255, 255));
  EXPECT_EQ(own[0].alpha, 128);
}

TEST_F(OwnWindowTest, MisuseIsNoted) {
  const auto noted = [](const std::string& call) {
    const std::vector<std::string> all = TakeMisuses();
    return all.size() == 1 && all[0].rfind(call, 0) == 0;
  };
  TestWindow window({0, 0, 10, 10});
  TestThread([&] { EXPECT_FALSE(DestroyWindow(window)); }).Join();
  EXPECT_TRUE(noted("DestroyWindow"));
  EXPECT_TRUE(IsWindow(window));

  const HDC dc = GetDC(window);
  ReleaseDC(nullptr, dc);
  EXPECT_TRUE(noted("ReleaseDC"));
  ReleaseDC(window, dc);
  EXPECT_TRUE(noted("ReleaseDC")) << "twice";

  const HDC screen = GetDC(nullptr);
  const HDC memory = CreateCompatibleDC(screen);
  const HBITMAP bitmap = CreateCompatibleBitmap(screen, 4, 4);
  const HGDIOBJ previous = SelectObject(memory, bitmap);
  EXPECT_FALSE(DeleteDC(screen));
  EXPECT_TRUE(noted("DeleteDC"));
  ReleaseDC(nullptr, screen);
  DeleteObject(bitmap);
  EXPECT_TRUE(noted("DeleteObject"));
  SelectObject(memory, previous);
  EXPECT_FALSE(SelectObject(memory, bitmap)) << "it went when it was deselected";
  DeleteDC(memory);
  DeleteObject(bitmap);
  EXPECT_TRUE(noted("DeleteObject")) << "twice";
}

TEST_F(OwnWindowTest, WhatIsHandedOutIsInTheLedger) {
  const LedgerSnapshot before = Snapshot();
  {
    TestWindow window({0, 0, 10, 10});
    SetTimer(window, 1, 10, nullptr);
    const std::string held = Difference(before);
    EXPECT_NE(held.find("window of CreateWindowExW"), std::string::npos) << held;
    EXPECT_NE(held.find("timer of SetTimer"), std::string::npos) << held;
    TestBitmap bitmap(3, 3);
    EXPECT_NE(Difference(before).find("bitmap of CreateCompatibleBitmap"), std::string::npos);
  }
  EXPECT_EQ(Difference(before), "");
}

}  // namespace
}  // namespace qx::test
