// The thread of the magnifier windows: what it does for those who stopped waiting.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>

#include "platform/control/Clock.h"
#include "platform/control/Desktop.h"
#include "platform/control/Faults.h"
#include "platform/control/Magnification.h"
#include "tests/support/ShareRecorder.h"
#include "win/engine/mag/MagThread.h"
#include "win/engine/mag/MagnificationLibrary.h"
#include "win/util/Thread.h"

namespace qx {
namespace {

using namespace vwin::control;
using namespace std::chrono_literals;

constexpr RECT kRect = {0, 0, 10, 10};

class MagThreadTest : public testing::Test {
 protected:
  MagThreadTest() { OwnClock(); }
  ~MagThreadTest() override { thread.UnInitialize(); }

  HWND create(std::shared_ptr<MagPicture> picture) {
    return thread.CreateMagWindowOnThread({kRect, std::move(picture)});
  }

  test::LogRecorder log;
  MagThread& thread = MagThread::Instance();
  const std::shared_ptr<MagPicture> first = std::make_shared<MagPicture>(false);
  const std::shared_ptr<MagPicture> second = std::make_shared<MagPicture>(false);
};

TEST_F(MagThreadTest, LateWindowsAreDestroyedAndPicturesLiveAsLongAsTheirWindows) {
  EXPECT_FALSE(create(first)) << "it doesn't run";
  ASSERT_TRUE(thread.Initialize()) << log.Dump();
  const HWND window = create(first);
  ASSERT_TRUE(window);
  EXPECT_EQ(thread.FindPicture(window), first);
  SetRenderTime(std::nullopt);  // the driver hangs
  Thread caller;
  ASSERT_TRUE(caller.Start([&] { EXPECT_TRUE(Magnification::MagSetWindowSource(window, kRect)); }));
  Settle();
  EXPECT_FALSE(create(second));
  EXPECT_EQ(second.use_count(), 1);
  EXPECT_FALSE(thread.DestroyMagWindowOnThread(window));
  EXPECT_FALSE(thread.FindPicture(window)) << "nobody wants it any more";
  EXPECT_FALSE(thread.HasMagWindow());
  EXPECT_GT(first.use_count(), 1) << "the thread may be drawing with it";
  SetRenderTime(0ms);
  caller.Join();
  Settle();
  EXPECT_TRUE(LibraryWindows(L"Magnifier").empty());
  EXPECT_EQ(first.use_count(), 1);
  EXPECT_TRUE(create(second)) << "and serves the next one";
  thread.UnInitialize(MagThread::Ending::IfUnused);
  EXPECT_TRUE(thread.HasMagWindow()) << "whoever asked before there was one";
}

}  // namespace
}  // namespace qx
