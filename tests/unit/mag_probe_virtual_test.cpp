// The probe of the magnification engine, alone and beside shares that use it. It settles
// once per process, so each test here needs its own.
#include <algorithm>
#include <deque>
#include <memory>
#include <vector>

#include "tests/share/MagShareTest.h"
#include "win/engine/MagProbe.h"
#include "win/util/SystemProbes.h"
#include "win/util/Thread.h"

namespace qx::test {
namespace {

using namespace vwin::control;

enum class Answer { Fails, Black, EmptyPicture };

class MagProbe : public testing::Test {
 protected:
  class Engine : public ScreenCaptureEngine {
   public:
    explicit Engine(MagProbe& test) : m_test(test) {}
    bool Initialize() override { return m_test.starts; }
    void UnInitialize() override { ++m_test.ended; }
    CaptureEngineType GetEngineType() const override { return IScreenCapture::CaptureEngineMag; }
    bool IsDesktopBased() const override { return true; }
    bool Capture(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height,
                 ScreenCaptureFrame& frame, CaptureResult& result) override {
      m_test.captured = {x, y, width, height};
      ++m_test.captures;
      const Answer answer = m_test.answers.empty() ? Answer::Fails : m_test.answers.front();
      if (!m_test.answers.empty()) m_test.answers.pop_front();
      result = answer == Answer::Black ? CaptureResult::BlackFrame : CaptureResult::Failed;
      if (answer == Answer::Fails || answer == Answer::Black) return false;
      EXPECT_TRUE(frame.Resize(16, 16));
      std::fill_n(frame.Buffer().get(), 16 * 16 * 4, std::uint8_t{0});
      return true;
    }

   private:
    MagProbe& m_test;
  };

  bool Ask() {
    EngineFactories factories = EngineFactories::Default();
    factories.mag = [this](HMONITOR, FilterWindowProvider, bool, bool, bool) {
      ++built;
      return std::make_unique<Engine>(*this);
    };
    return WindowsUtil::IsMagCaptureBlack(factories);
  }

  bool starts = true;
  std::deque<Answer> answers;
  int built = 0;
  int ended = 0;
  int captures = 0;
  std::vector<int> captured;  // the rectangle last asked for
};

TEST_F(MagProbe, ProbesAgainUntilACaptureCameBack) {
  starts = false;
  EXPECT_FALSE(Ask());
  EXPECT_EQ(captures, 0);
  starts = true;
  answers = {Answer::Fails, Answer::Fails, Answer::Fails};
  EXPECT_FALSE(Ask());
  EXPECT_EQ(captures, 3);
  EXPECT_EQ(ended, 1);
  answers = {Answer::Fails, Answer::Black, Answer::EmptyPicture};
  EXPECT_TRUE(Ask());
  EXPECT_EQ(captures, 5) << "black settles it";
  EXPECT_TRUE(Ask());
  EXPECT_EQ(built, 3) << "settled for good";
}

// The first monitor that the system lists need not be the one at 0,0.
TEST_F(MagProbe, EmptyPictureOfTheFirstMonitorIsBlackWhereverThatLies) {
  SetMonitorRect(PrimaryMonitor(), {-300, 40, -100, 190});
  AddMonitor({0, 0, 1920, 1080}, {.primary = true});
  answers = {Answer::EmptyPicture};
  EXPECT_TRUE(Ask());
  EXPECT_EQ(captured, (std::vector<int>{-298, 42, 198, 148}));
  EXPECT_TRUE(Ask());
  EXPECT_EQ(captures, 1);
}

TEST_F(MagShareTest, AProbeLeavesSharesTheirPicturesAlsoAfterTheSessionWasLocked) {
  const HWND one = OpenWindow({.rect = {10, 10, 90, 90}, .color = 0x030201});
  const HWND other = OpenWindow({.rect = {110, 10, 190, 90}, .color = 0x060504});
  ShareRecorder host2(&context);
  PlainCapture capture2;
  capture2.SetScreenCaptureConfig({.scDynamicCheck = false});
  withoutDynamicCheck();
  capture.Exclude({one});
  capture2.Exclude({other});
  for (const bool failing : {true, false}) {
    for (const char* call : {"MagSetWindowSource", "MagSetWindowFilterList", "IsWindow"}) {
      startMag();
      ASSERT_TRUE(capture2.ShareDesktop(&context, idOf(monitor()), &host2, error)) << log.Dump();
      tick(2);
      // Some other thread asks while the first share is at its picture.
      Thread prober;
      if (failing) {
        FailNth("IDirect3DDevice9::GetRenderTargetData", 1, kOutOfMemory, vwin::Repeat::kOnward);
      }
      AtNth(call, 1, [&] {
        EXPECT_TRUE(prober.Start([] { EXPECT_FALSE(WindowsUtil::IsMagCaptureBlack()); }));
      });
      tick(2);
      prober.Join();
      ClearFaults();
      tick(3);
      EXPECT_TRUE(magShows({{110, 10, 190, 90, 0x040506}})) << call;
      EXPECT_TRUE(ShowsRedder(host2.LastFrame(), {{10, 10, 90, 90, 0x010203}})) << call;
      EXPECT_EQ(magnifierWindows(), 2u) << "the probe's is gone";

      LockSession(true);
      tick(3);
      EXPECT_FALSE(WindowsUtil::IsMagCaptureBlack());
      EXPECT_EQ(host.Count("stop") + host2.Count("stop"), 2);
      capture.ShareStop();
      capture2.ShareStop();
      host2.Forget();
      EXPECT_EQ(magnifierWindows(), 0u);
      LockSession(false);
    }
  }
}

}  // namespace
}  // namespace qx::test
