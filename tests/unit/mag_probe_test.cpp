// The probe settles once per process, so each test here needs its own.
#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <memory>
#include <vector>

#include "win/engine/MagProbe.h"
#include "win/util/SystemProbes.h"

namespace qx {
namespace {

enum class Answer { Fails, Black, EmptyPicture, Picture };

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
      result = CaptureResult::Failed;
      if (m_test.answers.empty()) {
        return false;
      }
      const Answer answer = m_test.answers.front();
      m_test.answers.pop_front();
      if (answer == Answer::Black) {
        result = CaptureResult::BlackFrame;
      }
      if (answer == Answer::Fails || answer == Answer::Black) {
        return false;
      }
      EXPECT_TRUE(frame.Resize(16, 16));
      std::fill_n(frame.Buffer().get(), 16 * 16 * 4,
                  static_cast<std::uint8_t>(answer == Answer::Picture ? 0x40 : 0));
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

TEST_F(MagProbe, HostThatForbidsTheEngineIsAnsweredWithoutAProbe) {
  WindowsUtil::SetCanUseMagCapture(false);
  EXPECT_TRUE(Ask());
  EXPECT_EQ(built, 0);
  WindowsUtil::SetCanUseMagCapture(true);
  answers = {Answer::Picture};
  EXPECT_FALSE(Ask());
  EXPECT_EQ(built, 1);
}

TEST_F(MagProbe, ProbesAgainUntilACaptureCameBack) {
  starts = false;
  EXPECT_FALSE(Ask());
  EXPECT_EQ(captures, 0);
  starts = true;
  answers = {Answer::Fails, Answer::Fails, Answer::Fails};
  EXPECT_FALSE(Ask());
  EXPECT_EQ(captures, 3);
  EXPECT_EQ(ended, 1);
  answers = {Answer::Fails, Answer::Black, Answer::Picture};
  EXPECT_TRUE(Ask());
  EXPECT_EQ(captures, 5) << "black settles it";
  EXPECT_TRUE(Ask());
  EXPECT_EQ(built, 3) << "settled for good";
}

TEST_F(MagProbe, EmptyPictureOfTheFirstMonitorIsBlack) {
  answers = {Answer::EmptyPicture};
  EXPECT_TRUE(Ask());
  RECT monitor = {};
  ASSERT_TRUE(GetWindowRect(GetDesktopWindow(), &monitor));
  EXPECT_EQ(captured, (std::vector<int>{2, 2, monitor.right - 2, monitor.bottom - 2}));
  EXPECT_TRUE(Ask());
  EXPECT_EQ(captures, 1);
}

}  // namespace
}  // namespace qx
