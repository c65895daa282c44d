// Windows and hosts that do not answer: what they cost, in the machine's time.
#include <cstdio>

#include "tests/share/WindowShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

class HungWindowsTest : public WindowShareTest {
 protected:
  // What one call of the host costs, in milliseconds of the machine's time.
  template <typename Call>
  std::int64_t cost(const char* name, Call call) {
    const auto begin = SystemTime();
    call();
    const auto passed =
        std::chrono::duration_cast<std::chrono::milliseconds>(SystemTime() - begin).count();
    std::printf("%s: %lld ms\n", name, static_cast<long long>(passed));
    return passed;
  }
};

TEST_F(HungWindowsTest, CostABoundedTimeInEveryCall) {
  capture.ShareStop();
  capture.EnablePromptWindow(true);
  const HWND target = openShared();
  const auto ignore = [](const IScreenCapture::WindowInfo*, const int&, void*) {};
  capture.GetWindowList(ignore, nullptr);
  HangAll();
  constexpr std::int64_t kPatience = 200;
  EXPECT_EQ(cost("GetWindowList", [&] { capture.GetWindowList(ignore, nullptr); }), 0);
  EXPECT_EQ(cost("GetWindowTitle", [&] { capture.GetWindowTitle(idOf(target)); }), 0);
  EXPECT_LE(cost("GetWindowIcon", [&] { capture.GetWindowIcon(idOf(target)); }), 400);
  EXPECT_LE(cost("ShareDesktop", [&] { EXPECT_TRUE(share(monitor())); }), kPatience);
  EXPECT_LE(cost("ShareStop", [&] { capture.ShareStop(); }), kPatience);
  EXPECT_LE(cost("ShareWindow", [&] { EXPECT_TRUE(shareWindow(target)); }), 2 * kPatience);
  Advance(1s);
  EXPECT_EQ(host.Count("pause 1"), 1) << log.Dump();
  EXPECT_LE(cost("ShareStop", [&] { capture.ShareStop(); }), 2 * kPatience);
  AnswerAll();
  Settle();
}

TEST_F(HungWindowsTest, SettersReturnAtOnceWhateverAListenerDoes) {
  capture.ShareStop();
  capture.EnablePromptWindow(true);
  host.Forget();
  SRWLOCK hostLock = SRWLOCK_INIT;
  host.onEvent = [&](const std::string& event) {
    if (event == "firstFrame") {
      Spend(3s);
    }
    AcquireSRWLockExclusive(&hostLock);
    ReleaseSRWLockExclusive(&hostLock);
  };
  ASSERT_TRUE(shareWindow(openShared()));
  Settle();
  const auto setAll = [&] {
    capture.SetCaptureFPS(30);
    capture.EnableCaptureCursor(true);
    capture.EnableActiveShareWindow(false);
    const IScreenCapture::PromptWindowInfo look = {1, 2, 3, 9};
    capture.SetPromptWindowInfo(&look);
    capture.EnablePromptWindow(true);
    capture.SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormatI420);
    capture.SetScreenCaptureConfig({.GetDirtyRectInfo = true});
    capture.SetDynamicCheck(false);
    capture.SharePause();
    capture.ShareResume();
  };
  EXPECT_EQ(cost("all setters", setAll), 0);
  Advance(3s);
  // The listener waits for a lock of the host, which holds it during its calls.
  AcquireSRWLockExclusive(&hostLock);
  Advance(1s);
  EXPECT_EQ(cost("all setters under the host's lock", setAll), 0);
  ReleaseSRWLockExclusive(&hostLock);
  Advance(1s);
  host.Forget();
  Advance(1s);
  EXPECT_GE(host.FrameCount(), 29) << "the rate that was set in the first frame";
  EXPECT_EQ(host.LastFrame().format, IScreenCapture::ScreenFrameFormatI420);
  capture.ShareStop();
}

}  // namespace
}  // namespace qx::test
