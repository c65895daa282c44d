// Windows of this process on a machine whose clock the test owns, and what is
// noted as misuse.
#include <chrono>
#include <memory>

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

// The thread has a timer when `timer` is not 0.
WindowThread::Step withTimer(UINT timer) {
  return [timer](TestWindow& window) {
    window.onMessage = [](UINT message, WPARAM milliseconds, LPARAM) -> LRESULT {
      if (message == kBusy) Spend(std::chrono::milliseconds(milliseconds));
      return 0;
    };
    if (timer) SetTimer(window, 1, timer, nullptr);
  };
}

TEST_F(OwnWindowTest, TimersKeepToTheClock) {
  OwnClock();
  WindowThread thread(withTimer(30));
  WindowThread fast(withTimer(1));
  Advance(29ms);
  EXPECT_EQ(thread->timers, 0);
  Advance(1ms);
  EXPECT_EQ(thread->timers, 1);
  EXPECT_EQ(fast->timers, 3) << "ten milliseconds are the least";
  Advance(300ms);
  EXPECT_EQ(thread->timers, 11);
  PostMessageW(thread.handle(), kBusy, 100, 0);
  Advance(129ms);
  EXPECT_EQ(thread->timers, 12) << "a late thread gets one message";
  Advance(1ms);
  EXPECT_EQ(thread->timers, 13);
}

TEST_F(OwnWindowTest, ShownFromAnotherThreadItPaintsOnItsOwnAndGrowsWithWhatItPaints) {
  OwnClock();
  WindowThread thread(withTimer(0));
  const HWND window = thread.handle();
  ShowWindow(window, SW_SHOW);
  Settle();
  EXPECT_EQ(thread->paints, 1);
  EXPECT_EQ(screenAt(20, 20), kRedPixel);
  InvalidateRect(window, nullptr, FALSE);
  RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE);
  Settle();
  EXPECT_GE(thread->paints, 2);
  EXPECT_EQ(RedrawCount(window), 2u);
  SetWindowPos(window, HWND_TOPMOST, 30, 30, 90, 40, SWP_NOACTIVATE);
  EXPECT_EQ(screenAt(79, 69), kRedPixel) << "what was painted moves along";
  Settle();
  EXPECT_EQ(screenAt(119, 69), kRedPixel);
  EXPECT_EQ(screenAt(120, 69), kDesktopPixel);
}

TEST_F(OwnWindowTest, GoesWithAnOwnerOfAnotherProgram) {
  OwnClock();
  const HWND owner = open({.rect = {100, 10, 150, 60}});
  const LedgerSnapshot before = Snapshot();
  WindowThread thread(withTimer(30));
  const HWND owned = thread.handle();
  SetWindowLongPtrW(owned, GWLP_HWNDPARENT, reinterpret_cast<LONG_PTR>(owner));
  EXPECT_EQ(LibraryWindows()[0].owner, owner);
  // The thread is busy, and gets to its messages only when the owner has gone.
  PostMessageW(owned, kBusy, 100, 0);
  Settle();
  PostMessageW(owned, WM_USER + 2, 0, 0);
  Close(owner);
  EXPECT_TRUE(IsWindow(owned)) << "its own thread destroys it";
  EXPECT_FALSE(GetWindow(owned, GW_OWNER));
  Advance(100ms);
  EXPECT_FALSE(IsWindow(owned));
  EXPECT_EQ(thread->noted, (std::vector<UINT>{kBusy, WM_DESTROY, WM_NCDESTROY}));
  EXPECT_EQ(Difference(before).find("timer"), std::string::npos);
}

TEST_F(OwnWindowTest, GoesWithItsThread) {
  OwnClock();
  const HWND owned = open({.rect = {100, 10, 150, 60}});
  const LedgerSnapshot before = Snapshot();
  std::unique_ptr<TestWindow> window;
  auto thread = std::make_unique<TestThread>([&] {
    window = std::make_unique<TestWindow>(RECT{10, 10, 60, 60});
    SetOwner(owned, *window);
    SetTimer(*window, 1, 10, nullptr);
    SetTimer(nullptr, 0, 10, nullptr);
    ShowWindow(*window, SW_SHOWNA);
    Spend(100ms);
  });
  Settle();
  // Whoever waits for an answer does not wait for ever.
  UpdateWindow(*window);
  thread.reset();
  EXPECT_FALSE(IsWindow(*window));
  EXPECT_FALSE(IsWindow(owned));
  EXPECT_TRUE(window->noted.empty()) << "there is nobody to tell";
  EXPECT_EQ(Difference(before), "");
}

// This and the next are Windows' ways: Wine lowers the owner alone, makes it alone
// topmost, and hides what it owns only for its own caption's button.
TEST_F(OwnWindowTest, MovesInTheOrderWithItsOwner) {
  const HWND bottom = open({.rect = {0, 0, 10, 10}});
  const HWND owner = open({.rect = {0, 0, 10, 10}});
  TestWindow owned({0, 0, 10, 10}, kRed, 0, owner);
  TestWindow second({0, 0, 10, 10}, kRed, 0, owner);
  const HWND other = open({.rect = {0, 0, 10, 10}});
  Place(owner, HWND_BOTTOM);
  EXPECT_EQ(WindowsInOrder(), (std::vector<HWND>{other, bottom, second, owned, owner}));
  Place(owner, HWND_TOPMOST);
  EXPECT_EQ(WindowsInOrder(), (std::vector<HWND>{second, owned, owner, other, bottom}));
  EXPECT_TRUE(IsTopmost(owned) && IsTopmost(second));
  Place(owned, HWND_NOTOPMOST);
  EXPECT_TRUE(IsTopmost(owned)) << "it would lie under its owner";
  Place(owner, bottom);
  EXPECT_EQ(WindowsInOrder(), (std::vector<HWND>{other, bottom, second, owned, owner}));
  EXPECT_FALSE(IsTopmost(owned) || IsTopmost(second) || IsTopmost(owner));
}

TEST_F(OwnWindowTest, IsHiddenWhileItsOwnerIsMinimised) {
  const HWND owner = open({.rect = {100, 10, 150, 60}});
  TestWindow shown({0, 0, 10, 10}, kRed, 0, owner);
  TestWindow hidden({0, 0, 10, 10}, kRed, 0, owner);
  shown.Show();
  Minimise(owner);
  EXPECT_FALSE(IsWindowVisible(shown));
  Restore(owner);
  EXPECT_TRUE(IsWindowVisible(shown));
  EXPECT_FALSE(IsWindowVisible(hidden));
  Minimise(owner);
  SetOwner(shown, nullptr);
  Maximise(owner);
  EXPECT_FALSE(IsWindowVisible(shown)) << "it has no owner to show it again";
}

TEST_F(OwnWindowTest, ForegroundIsTheUsersOrTheTopmostThatCanBeOrOfThoseWhoShareInput) {
  SetForeground(nullptr);
  const HWND editor = open({.rect = {0, 0, 50, 50}, .threadId = 7001});
  EXPECT_FALSE(GetForegroundWindow());
  SetForeground(editor);
  const HWND other = open({.rect = {0, 0, 50, 50}, .threadId = 7002});
  const HWND passive = open({.rect = {0, 0, 50, 50}, .exStyle = WS_EX_NOACTIVATE});
  EXPECT_EQ(GetForegroundWindow(), editor);
  Minimise(editor);
  EXPECT_EQ(GetForegroundWindow(), other);
  Restore(editor);
  SetForeground(other);
  EXPECT_TRUE(BringWindowToTop(editor));
  EXPECT_EQ(WindowsInOrder(), (std::vector<HWND>{editor, other, passive}));
  EXPECT_EQ(GetForegroundWindow(), other) << "that is for its user to decide";

  const DWORD self = GetCurrentThreadId();
  const LedgerSnapshot before = Snapshot();
  EXPECT_TRUE(AttachThreadInput(7002, self, TRUE));
  EXPECT_NE(Difference(before), "") << "never detached";
  EXPECT_TRUE(BringWindowToTop(editor));
  EXPECT_EQ(GetForegroundWindow(), editor);
  EXPECT_TRUE(AttachThreadInput(7002, self, FALSE));
  EXPECT_EQ(Difference(before), "");
  EXPECT_FALSE(AttachThreadInput(7002, self, FALSE)) << "twice";
  EXPECT_FALSE(AttachThreadInput(self, self, TRUE));
  EXPECT_FALSE(AttachThreadInput(0, self, TRUE));
  EXPECT_FALSE(AttachThreadInput(self, 7003, TRUE)) << "no such thread";
  Close(editor);
  EXPECT_EQ(GetForegroundWindow(), other);
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

}  // namespace
}  // namespace qx::test
