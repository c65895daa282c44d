// Every call that a share makes fails once, one after the other, and each kind of call for
// good, and at every one of them all windows of other programs stop answering. Whatever it
// is: no crash, no hang, nothing left behind, and the next share is as good as new. What an
// engine leaves out is in no frame of its.
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <tuple>

#include "platform/control/Graphics.h"
#include "platform/control/GraphicsCapture.h"
#include "platform/control/Ledger.h"
#include "platform/control/Magnification.h"
#include "platform/control/Modules.h"
#include "tests/share/ShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

enum class Kind { kMonitor, kStill, kFailover, kMagFailover, kWindow, kWgcFailover };
struct Scenario {
  const char* name;
  Kind kind;
  vwin::Version version;
  bool composition;
  bool magnifier = false;
};

// The calls are dealt out to so many tests, which run side by side.
constexpr int kShares = 6;

// Sanitizers slow the sweeps down so much that they look at every fifth call of each.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kStep = 5 * kShares;
#else
constexpr int kStep = kShares;
#endif

class CallSweep : public testing::TestWithParam<std::tuple<Scenario, int>> {
 protected:
  static constexpr std::uint32_t kWindowColor = 0x0A141E;
  static constexpr std::uint32_t kSecretColor = 0xFA0000;
  static constexpr std::uint32_t kCoverColor = 0x00FA00;

  CallSweep() {
    OwnClock();
    SetVersion(scenario().version);
    SetComposition(scenario().composition);
    if (!scenario().magnifier) {
      RemoveModule("Magnification.dll");
    }
    SetDesktopColor(RGB(0x20, 0x30, 0x40));
    AddProcess(7000, L"C:\\Apps\\powerpnt.exe");
    secret = OpenWindow(
        {.title = L"Secret", .rect = {5, 5, 15, 15}, .color = RGB(250, 0, 0), .processId = 7000});
    glass = OpenWindow({.title = L"Secret", .rect = {0, 40, 4, 44}, .processId = 7000});
    SetLayered(glass, std::nullopt, std::uint8_t{0});
    shared = OpenWindow({.title = L"Report - Slides",
                         .className = L"PPTFrameClass",
                         .rect = {20, 10, 40, 30},
                         .color = RGB(0x0A, 0x14, 0x1E)});
  }

  static constexpr IScreenCapture::FilterWindowInfo kSecretRule = {
      .type = 1, .titleRule = 1, .processId = 7000, .title = "Secret"};

  static const Scenario& scenario() { return std::get<0>(GetParam()); }

  // Copies of the screen hide nothing with composition. While a share is paused its last
  // picture is repeated.
  void lookForLeaks(ShareRecorder& host) {
    host.onEvent = [this, &host, paused = false](const std::string& event) mutable {
      if (event == "resume" || event.starts_with("pause")) {
        paused = event != "resume";
      } else if (event == "frame" && !paused) {
        const int engine = host.Engines().back();
        if (engine != kDxgi && (engine != kBitBlt || !scenario().composition)) {
          const Frame frame = host.LastFrame();
          const std::uint32_t redder = engine == kMag ? kRedder : 0;
          leaks += frame.Count(kSecretColor + redder) + frame.Count(kCoverColor + redder);
        }
      }
    };
  }

  void wholeShare(ShareRecorder& host) {
    SetMonitorRect(PrimaryMonitor(), {0, 0, 64, 48});
    leaks = 0;
    lookForLeaks(host);
    ScreenCapture capture;
    switch (scenario().kind) {
      case Kind::kMagFailover:
        return magFailoverShare(capture, host);
      case Kind::kMonitor:
        return monitorShare(capture, host);
      case Kind::kStill:
        return stillShare(capture, host);
      case Kind::kFailover:
        return failoverShare(capture, host);
      case Kind::kWindow:
        return windowShare(capture, host);
      case Kind::kWgcFailover:
        return wgcFailoverShare(capture, host);
    }
  }

  bool start(ScreenCapture& capture, ShareRecorder& host) const {
    IScreenCapture::ShareError error = IScreenCapture::ShareErrorNone;
    const bool window = scenario().kind == Kind::kWindow || scenario().kind == Kind::kWgcFailover;
    const bool answer = window
                            ? capture.ShareWindow(nullptr, idOf(shared), &host, error)
                            : capture.ShareDesktop(nullptr, idOf(PrimaryMonitor()), &host, error);
    if (answer) {
      Settle();
    } else {
      EXPECT_TRUE(error == IScreenCapture::ShareErrorTargetMissing ||
                  error == IScreenCapture::ShareErrorStartFailed)
          << error << " after " << InjectedInto().value_or("no fault");
    }
    EXPECT_EQ(host.Count("start"), answer ? 1 : 0);
    return answer;
  }

  // A share in which everything happens that can: start, a cursor, exclusion, a
  // bigger limit, a monitor that moves and gets a new handle, a rebuilt engine,
  // a pause with keep-live frames, a new prompt look, stop.
  void monitorShare(ScreenCapture& capture, ShareRecorder& host) {
    capture.AddExcludeWindow(kSecretRule);
    capture.GetDesktopList([](const IScreenCapture::DesktopInfo*, const int&, void*) {}, nullptr);
    if (!start(capture, host)) {
      return;
    }
    SetMonitorRect(PrimaryMonitor(), {0, 0, 72, 40});
    Advance(140ms);
    RenewMonitorHandle(PrimaryMonitor());
    Advance(140ms);
    capture.SetScreenCaptureConfig({.GetDirtyRectInfo = true});
    const IScreenCapture::PromptWindowInfo look = {9, 8, 7, 2};
    capture.SetPromptWindowInfo(&look);
    Advance(140ms);
    capture.SharePause();
    Advance(1100ms);
    capture.ShareResume();
    Advance(2500ms);  // longer than the wait for a secure desktop
    capture.ShareStop();
  }

  // On a monitor where nothing moves the cursor comes and goes, and the picture gets larger.
  // A frame may be as it was before, but is never anything else.
  void stillShare(ScreenCapture& capture, ShareRecorder& host) {
    constexpr std::uint32_t kCursor = 0xFA0B0C;
    SetCursorShape(CursorPicture{4, 4, 0, 0, std::vector<std::uint32_t>(16, 0xFF000000 | kCursor)});
    SetCursorPosition(50, 30);
    host.onEvent = [&](const std::string& event) {
      if (event == "frame") {
        const Frame frame = host.LastFrame();
        const int size = frame.width / 32;
        const int cursor = frame.Count(kCursor);
        leaks += (size != 1 && size != 2) || frame.At(15 * size, 10 * size) != kWindowColor ||
                 (cursor != 0 && cursor != 4 * size * size);
      }
    };
    capture.EnablePromptWindow(false);
    capture.EnableFilterWindowWhenShareDesktop(false);
    capture.SetCaptureFrameResolutionLimit(
        {.maxScreenWidth = 32, .maxScreenHeight = 24, .maxScreenPixels = 32 * 24});
    if (!start(capture, host)) {
      return;
    }
    Advance(140ms);
    capture.EnableCaptureCursor(false);
    Advance(140ms);
    capture.EnableCaptureCursor(true);
    Advance(140ms);
    capture.SetCaptureFrameResolutionLimit({});
    Advance(140ms);
    capture.EnableCaptureCursor(false);
    Advance(2500ms);  // longer than the wait for a secure desktop
    if (host.Count("stop") == 0) {
      EXPECT_TRUE(Shows(host.LastFrame(), 0x203040,
                        {{5, 5, 15, 15, kSecretColor}, {20, 10, 40, 30, kWindowColor}}))
          << "after " << InjectedInto().value_or("no fault");
    }
    capture.ShareStop();
  }

  // A monitor's duplication is lost with its size and comes back with another setting. The
  // cursor is composed with what is below it.
  void failoverShare(ScreenCapture& capture, ShareRecorder& host) {
    SetPointerShape(vwin::PointerShape{
        DXGI_OUTDUPL_POINTER_SHAPE_TYPE_MASKED_COLOR, 1, 1, 4, {0, 0}, {0, 0, 0xFF, 0xFF}});
    capture.EnablePromptWindow(false);
    capture.EnableFilterWindowWhenShareDesktop(false);
    capture.SetScreenCaptureConfig({.GetDirtyRectInfo = true});
    if (!start(capture, host)) {
      return;
    }
    SetCursorPosition(30, 20);
    Advance(140ms);
    SetDuplicateResult(DXGI_ERROR_UNSUPPORTED);
    SetMonitorRect(PrimaryMonitor(), {0, 0, 72, 40});
    Advance(140ms);
    SetDuplicateResult(S_OK);
    capture.SetScreenCaptureConfig({});
    SetCursorPosition(40, 20);
    Advance(2500ms);  // longer than the wait for a secure desktop
    capture.ShareStop();
  }

  // The magnifier draws nothing any more, then there is no duplication either, and both
  // come back.
  void magFailoverShare(ScreenCapture& capture, ShareRecorder& host) {
    capture.AddExcludeWindow(kSecretRule);
    if (!start(capture, host)) {
      return;
    }
    Advance(140ms);
    SetStretchRectCalls(0);
    SetCursorPosition(30, 20);
    Advance(900ms);
    SetDuplicateResult(DXGI_ERROR_UNSUPPORTED);
    SetMonitorRect(PrimaryMonitor(), {0, 0, 72, 40});
    Advance(140ms);
    SetStretchRectCalls(1);
    SetDuplicateResult(S_OK);
    capture.SetScreenCaptureConfig({.GetDirtyRectInfo = true});
    Advance(2500ms);  // longer than the wait for a secure desktop
    capture.ShareStop();
  }

  static HWND openCover() {
    return OpenWindow({.rect = {30, 20, 50, 40}, .color = RGB(0, 0xFA, 0)});
  }

  // The window moves, is covered, minimised and restored, makes way for a slide show
  // and comes back.
  void windowShare(ScreenCapture& capture, ShareRecorder& host) {
    capture.SetCaptureFPS(5);
    const auto ignore = [](const IScreenCapture::WindowInfo*, const int&, void*) {};
    capture.GetWindowList(ignore, nullptr);
    capture.GetWindowTitle(idOf(shared));
    capture.GetWindowIcon(idOf(shared));
    if (!start(capture, host)) {
      return;
    }
    MoveTo(shared, 22, 12);
    Advance(600ms);
    const HWND cover = openCover();
    Minimise(shared);
    Advance(200ms);
    Restore(shared);
    ToTop(cover);
    Advance(600ms);
    const HWND show = OpenWindow({.title = L"Show - Report",
                                  .className = L"screenClass",
                                  .rect = {0, 0, 64, 48},
                                  .processId = 7000});
    Advance(1500ms);
    const IScreenCapture::PromptWindowInfo look = {9, 8, 7, 2};
    capture.SetPromptWindowInfo(&look);
    Close(show);
    Advance(900ms);
    capture.ShareResume();
    Advance(2500ms);
    capture.ShareStop();
    AnswerAll();
    Settle();
    EXPECT_FALSE(GetWindowLongPtrW(cover, GWL_EXSTYLE) & WS_EX_LAYERED);
    Close(cover);
    SetRect(shared, {20, 10, 40, 30});
  }

  // The window is maximised and restored, its item closes, and then sessions are started no
  // more, until there is another engine's turn and the first one's again.
  void wgcFailoverShare(ScreenCapture& capture, ShareRecorder& host) {
    SetCaptureClassResult(S_OK);
    capture.SetCaptureFPS(5);
    if (!start(capture, host)) {
      return;
    }
    capture.EnableCaptureCursor(false);
    const HWND cover = openCover();
    Advance(200ms);
    Maximise(shared);
    Advance(600ms);
    Restore(shared);
    Advance(600ms);
    CloseCaptureItems(shared);
    Advance(200ms);
    SetCaptureClassResult(REGDB_E_CLASSNOTREG);
    CloseCaptureItems(shared);
    Advance(600ms);
    SetCaptureClassResult(S_OK);
    capture.SetScreenCaptureConfig({.GetDirtyRectInfo = true});
    Advance(2500ms);
    capture.ShareStop();
    Settle();
    Close(cover);
    SetRect(shared, {20, 10, 40, 30});
  }

  // A plain share, which must succeed and show what is there.
  void goodShare(const std::string& after) {
    SetMonitorRect(PrimaryMonitor(), {0, 0, 64, 48});
    PlainCapture capture;
    ShareRecorder host;
    IScreenCapture::ShareError error = {};
    ASSERT_TRUE(capture.ShareDesktop(nullptr, idOf(PrimaryMonitor()), &host, error)) << after;
    Settle();
    Advance(70ms);
    const std::uint32_t redder = scenario().magnifier ? kRedder : 0;
    EXPECT_TRUE(
        Shows(host.LastFrame(), 0x203040 + redder,
              {{5, 5, 15, 15, kSecretColor + redder}, {20, 10, 40, 30, kWindowColor + redder}}))
        << after;
    capture.ShareStop();
    ASSERT_TRUE(capture.ShareWindow(nullptr, idOf(shared), &host, error)) << after;
    Settle();
    EXPECT_TRUE(Shows(host.LastFrame(), kWindowColor + redder, {})) << after;
    capture.ShareStop();
  }

  // All that a share could change about other programs' windows, topmost first.
  static std::string foreignWindows() {
    std::ostringstream text;
    for (const HWND window : WindowsInOrder()) {
      DWORD process = 0;
      GetWindowThreadProcessId(window, &process);
      if (process == GetCurrentProcessId()) {
        continue;
      }
      COLORREF key = 0;
      BYTE alpha = 0;
      DWORD flags = 0;
      GetLayeredWindowAttributes(window, &key, &alpha, &flags);
      text << window << std::hex << " style " << GetWindowLongPtrW(window, GWL_STYLE) << " ex "
           << GetWindowLongPtrW(window, GWL_EXSTYLE) << " layered " << key << ' ' << +alpha << ' '
           << flags << std::dec << " owner " << GetWindow(window, GW_OWNER) << '\n';
    }
    return text.str();
  }

  // Lets something happen at one call after the other: `arm` readies it for the n-th one.
  // `judge` runs when the share is over, and answers after what it was; nothing when it did
  // not come to that, which ends the sweep.
  template <typename Arm, typename Judge>
  void sweep(Arm arm, Judge judge) {
    int call = std::get<1>(GetParam());
    for (; !HasFailure(); call += kStep) {
      ASSERT_LT(call, 20000);
      const LedgerSnapshot ledger = Snapshot();
      const std::string windows = foreignWindows();
      ShareRecorder host;
      arm(static_cast<std::uint64_t>(call));
      wholeShare(host);
      const std::string what = judge(host, " at call " + std::to_string(call));
      if (what.empty()) {
        break;
      }
      EXPECT_EQ(leaks, 0) << what;
      EXPECT_EQ(foreignWindows(), windows) << what;
      EXPECT_EQ(Difference(ledger), "") << what;
      EXPECT_TRUE(Misuses().empty()) << what << ": " << Misuses().front();
      goodShare(what);
    }
    EXPECT_GT(call, 200) << "the sweep went through the whole share";
  }

  int leaks = 0;
  HWND secret;
  HWND glass;  // layered by itself, and too clear to be seen
  HWND shared;
};

class LastingFaults : public CallSweep {};

TEST_P(CallSweep, EveryCallFailsOnceAndTheShareSurvivesOrReports) {
  ShareRecorder undisturbed;
  wholeShare(undisturbed);
  ASSERT_EQ(undisturbed.Count("stop"), 0);
  ASSERT_GT(undisturbed.FrameCount(), 15) << "without faults the scenario is whole";
  const std::map<Kind, Engines> engines = {{Kind::kStill, {kDxgi}},
                                           {Kind::kFailover, {kDxgi, kBitBlt, kDxgi}},
                                           {Kind::kMagFailover, {kMag, kDxgi, kBitBlt, kMag}},
                                           {Kind::kWgcFailover, {kWgc, kPrint, kWgc}}};
  if (engines.contains(scenario().kind)) {
    ASSERT_EQ(undisturbed.Engines(), engines.at(scenario().kind));
  }
  ASSERT_EQ(leaks, 0);
  goodShare("before the sweep");
  const auto judge = [](ShareRecorder& host, const std::string& call) {
    const auto injected = InjectedInto();
    ClearFaults();
    if (!injected) {
      return std::string();
    }
    std::string after = "after " + *injected + call;
    EXPECT_LE(host.Count("firstFrame"), 1) << after;
    if (host.Count("start") == 1 && host.Count("stop") == 0) {
      EXPECT_GT(host.FrameCount(), 5) << "neither frames nor OnStop " << after;
    }
    return after;
  };
  sweep([](std::uint64_t call) { FailNthOfAll(call); }, judge);
}

// Calls fail from their first one on, or from the middle of the share on.
TEST_P(LastingFaults, EveryFunctionFailsForGoodAndNothingShowsThatIsLeftOut) {
  std::map<std::string, std::uint64_t> calls;
  LogCalls(true);
  {
    ShareRecorder host;
    wholeShare(host);
    for (const LoggedCall& call : LoggedCalls()) {
      ++calls[call.function];
    }
  }
  LogCalls(false);
  EXPECT_GT(calls.size(), 100u);
  // What is not given back stays, and whoever is not woken sleeps.
  for (const char* needed : {"MagUninitialize", "SetEvent", "PostThreadMessageW"}) {
    calls.erase(needed);
  }
  int turn = 0;
  for (const auto& [function, count] : calls) {
    if (turn++ % kShares + 1 != std::get<1>(GetParam())) {
      continue;
    }
    for (const std::uint64_t first : {std::uint64_t{1}, count / 2 + 1}) {
      SCOPED_TRACE(function + " from call " + std::to_string(first));
      try {
        FailNth(function, first, kOutOfMemory, vwin::Repeat::kOnward);
      } catch (const std::invalid_argument&) {
        break;  // it can't fail
      }
      ShareRecorder host;
      wholeShare(host);
      ClearFaults();
      AnswerAll();
      Settle();
      EXPECT_EQ(leaks, 0);
      goodShare(function);
    }
  }
}

TEST_P(CallSweep, WindowsHangAtEveryCallAndTheShareCostsABoundedTime) {
  auto begin = Now();
  ShareRecorder undisturbed;
  wholeShare(undisturbed);
  const auto usual = Now() - begin;
  const auto arm = [&](std::uint64_t call) {
    OnNthCall(call, &HangAll);
    begin = Now();
  };
  const auto judge = [&](ShareRecorder&, const std::string& call) {
    // An icon of the window and of its program, a start, a running second, and a stop.
    constexpr auto kPatience = 5 * std::chrono::milliseconds(200);
    const auto took = Now() - begin;
    const bool hung = ActionRan();
    ClearFaults();
    if (!hung) {
      return std::string();
    }
    AnswerAll();
    Settle();
    std::string after = "after a hang" + call;
    EXPECT_LE(took, usual + kPatience) << after;
    return after;
  };
  sweep(arm, judge);
}

constexpr Scenario kHidingEngines[] = {
    {"MagnifiedMonitor", Kind::kMonitor, kWindows10, true, true},
    {"MagnifiedFailover", Kind::kMagFailover, kWindows10, true, true},
    {"MagnifiedWindow", Kind::kWindow, kWindows10, true, true},
    {"GraphicsCapture", Kind::kWgcFailover, kWindows11, true}};

std::string NameOf(const testing::TestParamInfo<std::tuple<Scenario, int>>& test) {
  return std::string(std::get<0>(test.param).name) + "From" +
         std::to_string(std::get<1>(test.param));
}

template <typename Scenarios>
auto InTurns(Scenarios scenarios) {
  return testing::Combine(scenarios, testing::Range(1, kShares + 1));
}

INSTANTIATE_TEST_SUITE_P(
    Machines, CallSweep,
    InTurns(testing::Values(Scenario{"Windows7ClassicMonitor", Kind::kMonitor, kWindows7, false},
                            Scenario{"Windows7ClassicWindow", Kind::kWindow, kWindows7, false},
                            Scenario{"Windows10Monitor", Kind::kMonitor, kWindows10, true},
                            Scenario{"Windows10Still", Kind::kStill, kWindows10, true},
                            Scenario{"Windows10Failover", Kind::kFailover, kWindows10, true},
                            Scenario{"Windows10Window", Kind::kWindow, kWindows10, true})),
    NameOf);
INSTANTIATE_TEST_SUITE_P(Engines, CallSweep, InTurns(testing::ValuesIn(kHidingEngines)), NameOf);
INSTANTIATE_TEST_SUITE_P(Engines, LastingFaults, InTurns(testing::ValuesIn(kHidingEngines)),
                         NameOf);

}  // namespace
}  // namespace qx::test
