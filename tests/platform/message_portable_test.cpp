// Messages: order, threads, timers, painting; what waits for windows of other threads.
#include <utility>

#include "tests/platform/TestWindow.h"

namespace qx::test {
namespace {

UINT next() {
  MSG message{};
  GetMessageW(&message, nullptr, 0, 0);
  DispatchMessageW(&message);
  return message.message;
}

// Handles messages until one with this number was handled.
void handleUntil(UINT wanted) {
  while (next() != wanted) continue;
}

void drain(HWND window) {
  PostMessageW(window, WM_APP, 0, 0);
  handleUntil(WM_APP);
}

TEST(Messages, PostedComeFirstThenPaintingThenTimers) {
  TestWindow window({50, 50, 150, 150});
  window.Show();
  drain(window);
  ASSERT_TRUE(SetTimer(window, 7, 10, nullptr));
  TestEvent never;
  // The timer is due afterwards.
  WaitForSingleObject(never.handle, 40);
  InvalidateRect(window, nullptr, FALSE);
  PostMessageW(window, WM_USER, 0, 0);
  EXPECT_EQ(next(), static_cast<UINT>(WM_USER));
  EXPECT_EQ(next(), static_cast<UINT>(WM_PAINT));
  MSG message{};
  ASSERT_TRUE(GetMessageW(&message, nullptr, 0, 0));
  EXPECT_EQ(message.message, static_cast<UINT>(WM_TIMER));
  EXPECT_EQ(message.wParam, 7u);
  handleUntil(WM_TIMER);  // again and again
  static int called;
  called = 0;
  // The same id again changes the timer.
  SetTimer(window, 7, 10, [](HWND, UINT, UINT_PTR, DWORD) { ++called; });
  handleUntil(WM_TIMER);
  handleUntil(WM_TIMER);
  EXPECT_EQ(called, 2);
  EXPECT_TRUE(KillTimer(window, 7));
  EXPECT_FALSE(KillTimer(window, 7));
}

TEST(Messages, GoToThreadsAsWellAndDieWithTheirWindow) {
  TestWindow window({0, 0, 50, 50});
  {
    TestWindow gone({0, 0, 50, 50});
    PostMessageW(gone, WM_USER + 1, 0, 0);
    SetTimer(gone, 1, 10, nullptr);
  }
  ASSERT_TRUE(PostThreadMessageW(GetCurrentThreadId(), WM_USER + 3, 5, 6));
  PostQuitMessage(7);
  PostMessageW(window, WM_USER + 4, 0, 0);
  MSG message{};
  ASSERT_TRUE(GetMessageW(&message, nullptr, WM_USER, 0xBFFF));
  EXPECT_FALSE(message.hwnd);
  EXPECT_EQ(message.message, WM_USER + 3u);
  EXPECT_EQ(message.wParam, 5u);
  EXPECT_EQ(message.lParam, 6);
  EXPECT_EQ(next(), WM_USER + 4u) << "quitting comes after what is posted";
  EXPECT_FALSE(GetMessageW(&message, nullptr, 0, 0));
  EXPECT_EQ(message.wParam, 7u);

  DWORD ended = 0;
  TestThread([&] { ended = GetCurrentThreadId(); }).Join();
  EXPECT_FALSE(PostThreadMessageW(ended, WM_USER, 0, 0));
}

TEST(Painting, RequestsOfAShownWindowBecomeOnePaint) {
  TestWindow window({50, 50, 250, 250});
  InvalidateRect(window, nullptr, FALSE);
  UpdateWindow(window);
  drain(window);
  EXPECT_EQ(window.paints, 0) << "hidden";
  ShowWindow(window, SW_SHOWNA);
  handleUntil(WM_PAINT);
  EXPECT_EQ(window.paints, 1);
  drain(window);
  const int before = window.paints;
  const RECT one = {10, 10, 20, 20};
  const RECT two = {100, 120, 130, 140};
  InvalidateRect(window, &one, FALSE);
  InvalidateRect(window, &two, FALSE);
  handleUntil(WM_PAINT);
  EXPECT_EQ(window.paints, before + 1);
  EXPECT_EQ(SidesOf(window.lastPaint), (Sides{10, 10, 130, 140}));
  drain(window);
  UpdateWindow(window);
  EXPECT_EQ(window.paints, before + 1) << "nothing is left to paint";
  InvalidateRect(window, nullptr, FALSE);
  UpdateWindow(window);
  EXPECT_EQ(window.paints, before + 2) << "it paints before it returns";
}

DWORD waitFor(DWORD kinds, DWORD flags, DWORD milliseconds = 0, HANDLE handle = nullptr) {
  return MsgWaitForMultipleObjectsEx(handle ? 1 : 0, &handle, milliseconds, kinds, flags);
}

UINT peeked(UINT flags) {
  MSG message{};
  return PeekMessageW(&message, nullptr, 0, 0, flags) ? message.message : WM_NULL;
}

TEST(WaitingForMessages, SeesNewsOrAllThatThereIs) {
  TestWindow window({50, 50, 150, 150});
  while (peeked(PM_REMOVE) != WM_NULL) continue;
  TestEvent event;
  const auto both = [&](DWORD kinds, DWORD flags) {
    return waitFor(kinds, flags, 0, event.handle);
  };
  PostMessageW(window, WM_USER, 0, 0);
  EXPECT_EQ(both(QS_SENDMESSAGE, MWMO_INPUTAVAILABLE), DWORD{WAIT_TIMEOUT});
  EXPECT_EQ(both(QS_ALLINPUT, 0), WAIT_OBJECT_0 + 1);
  EXPECT_EQ(peeked(PM_NOREMOVE), UINT{WM_USER});
  EXPECT_EQ(both(QS_POSTMESSAGE, 0), DWORD{WAIT_TIMEOUT}) << "seen, if not taken";
  EXPECT_EQ(both(QS_POSTMESSAGE, MWMO_INPUTAVAILABLE), WAIT_OBJECT_0 + 1);
  event.Set();
  EXPECT_EQ(both(QS_POSTMESSAGE, MWMO_INPUTAVAILABLE), WAIT_OBJECT_0);

  window.Show();
  InvalidateRect(window, nullptr, FALSE);
  EXPECT_EQ(waitFor(QS_PAINT, MWMO_INPUTAVAILABLE), WAIT_OBJECT_0);
  EXPECT_EQ(peeked(PM_REMOVE | PM_QS_PAINT), UINT{WM_PAINT}) << "not the one that was first";
  UpdateWindow(window);
  EXPECT_EQ(peeked(PM_REMOVE | PM_QS_PAINT), UINT{WM_NULL});
  EXPECT_EQ(peeked(PM_REMOVE | PM_QS_POSTMESSAGE), UINT{WM_USER});
  SetTimer(window, 1, 10, nullptr);
  EXPECT_EQ(waitFor(QS_TIMER, MWMO_INPUTAVAILABLE, INFINITE), WAIT_OBJECT_0);
  EXPECT_EQ(peeked(PM_NOREMOVE), UINT{WM_TIMER});
  EXPECT_EQ(peeked(PM_REMOVE), UINT{WM_TIMER});
}

TEST(WaitingForMessages, LooksAtSentOnesAloneAndGivesAThreadAQueue) {
  TestWindow window({0, 0, 50, 50});
  PostMessageW(window, WM_USER + 1, 0, 0);
  TestThread sender([&] { SendMessageW(window, WM_USER + 2, 0, 0); });
  EXPECT_EQ(waitFor(QS_SENDMESSAGE, MWMO_INPUTAVAILABLE, INFINITE), WAIT_OBJECT_0);
  EXPECT_TRUE(window.noted.empty()) << "the wait itself answers nothing";
  EXPECT_EQ(peeked(PM_NOREMOVE | PM_QS_SENDMESSAGE), UINT{WM_NULL});
  EXPECT_EQ(window.noted, std::vector<UINT>{WM_USER + 2});
  EXPECT_EQ(peeked(PM_REMOVE), WM_USER + 1u);
  EXPECT_EQ(waitFor(QS_ALLINPUT, 0, INFINITE, sender.handle()), WAIT_OBJECT_0);

  TestEvent ready;
  UINT came = WM_NULL;
  TestThread thread([&] {
    waitFor(QS_SENDMESSAGE, 0);
    ready.Set();
    waitFor(QS_POSTMESSAGE, MWMO_INPUTAVAILABLE, INFINITE);
    came = peeked(PM_REMOVE);
  });
  ready.Wait();
  ASSERT_TRUE(PostThreadMessageW(thread.id(), WM_USER, 0, 0));
  thread.Join();
  EXPECT_EQ(came, UINT{WM_USER});
}

TEST(SentMessages, WaitForAThreadThatHangsNoLongerThanTheySay) {
  TestEvent go;
  int calls = 0;
  WindowThread other(
      [&](TestWindow& window) {
        window.onMessage = [&](UINT, WPARAM number, LPARAM) {
          ++calls;
          return static_cast<LRESULT>(number * 2);
        };
      },
      [&](TestWindow&) { go.Wait(); });
  const auto send = [&](WPARAM number, UINT milliseconds, DWORD_PTR* result) {
    return SendMessageTimeoutW(other.handle(), WM_USER, number, 0, SMTO_BLOCK, milliseconds,
                               result);
  };
  DWORD_PTR result = 0;
  EXPECT_TRUE(FailsWith(ERROR_TIMEOUT, [&] { return send(1, 30, &result); }));
  EXPECT_EQ(result, 0u);
  EXPECT_FALSE(send(1, 1, nullptr));
  go.Set();
  EXPECT_TRUE(send(21, 20000, &result));
  EXPECT_EQ(result, 42u);
  EXPECT_EQ(calls, 1) << "what nobody waits for any more does not arrive";
  EXPECT_EQ(SendMessageW(other.handle(), WM_USER, 4, 0), 8);
}

TEST(SentMessages, RunAtOnceOnTheOwnThreadAndReachASenderUnlessItIsBlocked) {
  TestWindow own({0, 0, 50, 50});
  DWORD_PTR result = 7;
  EXPECT_TRUE(SendMessageTimeoutW(own, WM_USER + 5, 0, 0, SMTO_BLOCK, 0, &result));
  EXPECT_EQ(result, 0u);
  EXPECT_EQ(own.noted, std::vector<UINT>{WM_USER + 5});
  // Answers whether it got an answer itself, in time.
  WindowThread other([&](TestWindow& window) {
    window.onMessage = [&](UINT, WPARAM, LPARAM) {
      DWORD_PTR answer = 0;
      return SendMessageTimeoutW(own, WM_USER, 0, 0, SMTO_NORMAL, 50, &answer);
    };
  });
  for (const UINT flags : {SMTO_NORMAL, SMTO_BLOCK}) {
    EXPECT_TRUE(SendMessageTimeoutW(other.handle(), WM_USER, 0, 0, flags, 20000, &result));
    EXPECT_EQ(result, flags == SMTO_NORMAL ? 1u : 0u);
  }
  const HWND gone = own;
  DestroyWindow(gone);
  EXPECT_TRUE(FailsWith(ERROR_INVALID_WINDOW_HANDLE, [&] {
    return SendMessageTimeoutW(gone, WM_USER, 0, 0, SMTO_BLOCK, 20000, &result);
  }));
}

constexpr UINT kStay = SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE;

void setLong(HWND window, int index, LONG_PTR more) {
  SetWindowLongPtrW(window, index, GetWindowLongPtrW(window, index) | more);
}

// The owner sends to a window of the caller before it handles messages, and answers none
// itself: only a caller that waits, and answers meanwhile, lets it go on.
TEST(OtherThreads, AreWaitedForByCallsThatTellTheWindow) {
  const TestBitmap picture(10, 10);
  wchar_t text[16] = {};
  using Call = std::function<void(HWND)>;
  const std::vector<std::pair<const char*, Call>> calls = {
      {"ShowWindow", [](HWND w) { EXPECT_TRUE(ShowWindow(w, SW_HIDE)); }},
      {"SetWindowPos", [](HWND w) { EXPECT_TRUE(SetWindowPos(w, nullptr, 5, 5, 0, 0, kStay)); }},
      {"MoveWindow", [](HWND w) { EXPECT_TRUE(MoveWindow(w, 5, 5, 9, 9, FALSE)); }},
      {"BringWindowToTop", [](HWND w) { EXPECT_TRUE(BringWindowToTop(w)); }},
      {"CloseWindow", [](HWND w) { EXPECT_TRUE(CloseWindow(w)); }},
      {"GWL_STYLE", [](HWND w) { setLong(w, GWL_STYLE, WS_MAXIMIZE); }},
      {"GWL_EXSTYLE", [](HWND w) { setLong(w, GWL_EXSTYLE, WS_EX_NOACTIVATE); }},
      {"UpdateWindow", [](HWND w) { UpdateWindow(w); }},
      {"RedrawWindow",
       [](HWND w) { RedrawWindow(w, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW); }},
      {"PrintWindow", [&](HWND w) { EXPECT_TRUE(PrintWindow(w, picture.dc(), 0)); }},
      {"GetWindowTextW", [&](HWND w) { EXPECT_EQ(GetWindowTextW(w, text, 16), 7); }},
      {"SendMessageW", [](HWND w) { SendMessageW(w, WM_USER, 0, 0); }}};
  for (const auto& [name, call] : calls) {
    TestWindow ours({0, 0, 50, 50});
    TestEvent go;
    bool answered = false;
    WindowThread other(
        [](TestWindow& window) {
          window.Show();
          InvalidateRect(window, nullptr, FALSE);
        },
        [&](TestWindow&) {
          go.Wait();
          DWORD_PTR result = 0;
          answered = SendMessageTimeoutW(ours, WM_USER, 0, 0, SMTO_BLOCK, 5000, &result) != 0;
        });
    go.Set();
    call(other.handle());
    EXPECT_EQ(ours.noted, std::vector<UINT>{WM_USER}) << name;
    other.Flush();
    EXPECT_TRUE(answered) << name;
  }
}

TEST(OtherThreads, AreNotWaitedForByTheOthers) {
  TestWindow owner({0, 0, 50, 50});
  TestEvent go;
  WindowThread other({}, [&](TestWindow&) { go.Wait(); });
  const HWND window = other.handle();
  wchar_t text[16] = {};
  EXPECT_EQ(InternalGetWindowText(window, text, 16), 7);
  EXPECT_STREQ(text, L"A title");
  EXPECT_TRUE(InvalidateRect(window, nullptr, TRUE));
  SetWindowLongPtrW(window, GWLP_HWNDPARENT, reinterpret_cast<LONG_PTR>(owner.handle()));
  EXPECT_EQ(GetWindow(window, GW_OWNER), owner.handle());
  SetWindowLongPtrW(window, GWLP_HWNDPARENT, 0);
  EXPECT_TRUE(PostMessageW(window, WM_USER, 0, 0));
  EXPECT_FALSE(IsHungAppWindow(window)) << "not yet";
  go.Set();
}

}  // namespace
}  // namespace qx::test
