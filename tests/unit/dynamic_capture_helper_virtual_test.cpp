// Whether anything has changed in a rectangle of the screen.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "platform/control/Clock.h"
#include "platform/control/Desktop.h"
#include "platform/control/Faults.h"
#include "platform/control/Graphics.h"
#include "tests/support/ShareRecorder.h"
#include "win/engine/dxgi/DynamicCaptureHelper.h"

namespace qx {
namespace {

using namespace std::chrono_literals;
using namespace vwin::control;

constexpr RECT kMonitor = {0, 0, 320, 200};
constexpr RECT kWindow = {100, 50, 200, 150};  // what a window's share watches

class DynamicCaptureHelperTest : public testing::Test {
 protected:
  DynamicCaptureHelperTest() {
    OwnClock();
    SetMonitorRect(PrimaryMonitor(), kMonitor);
    SetCursorPosition(5, 5);
    canvas = OpenWindow({.rect = {-500, -500, 1000, 1000}, .color = RGB(1, 1, 1)});
  }

  // Lets the full capture that a second begins with pass, and takes what there is to
  // tell. The mouse's time of a frame that has none differs from the one before.
  void settle(const RECT& rect) {
    Advance(1001ms);
    helper->check(rect);
    catchUp(rect);
  }
  void catchUp(const RECT& rect) {
    helper->check(rect);
    change({0, 0, 1, 1});
    helper->check(rect);
  }
  // Changes this part of the screen.
  void change(const RECT& rect) {
    RECT inside = rect;
    OffsetRect(&inside, 500, 500);
    Fill(canvas, inside, RGB(++shade, 9, 9));
  }
  // What a check says.
  struct Answer {
    bool frame;
    bool mouse;
    std::uint64_t rects;
    double ratio;
    bool valid;
    bool operator==(const Answer&) const = default;
    friend void PrintTo(const Answer& a, std::ostream* out) {
      *out << a.frame << ' ' << a.mouse << ' ' << a.rects << ' ' << a.ratio << ' ' << a.valid;
    }
  };
  Answer check(const RECT& rect) {
    helper->check(rect);
    const DirtyInfo dirty = helper->GetDirtyInfo();
    return {helper->IsFrameChanged(), helper->IsMouseChanged(), dirty.rectCount, dirty.ratio,
            dirty.valid};
  }

  static constexpr Answer kNothing = {false, false, 0, 0.0, true};
  static constexpr Answer kUnknown = {true, true, 0, 0.0, false};

  test::LogRecorder log;
  HWND canvas = nullptr;
  int shade = 1;
  std::unique_ptr<DynamicCaptureHelper> helper = std::make_unique<DynamicCaptureHelper>(true);
};

TEST_F(DynamicCaptureHelperTest, WholeMonitorIsCountedAndMeasuredWithoutTheMouse) {
  settle(kMonitor);
  change({0, 10, 10, 30});
  change({100, 10, 110, 30});
  EXPECT_EQ(check(kMonitor), (Answer{true, false, 2, 400.0 / 64000, true})) << "also at an edge";
  SetCursorPosition(7, 7);
  change({10, 10, 20, 30});
  EXPECT_EQ(check(kMonitor), (Answer{true, true, 1, 200.0 / 64000, true}));
  catchUp(kMonitor);
  EXPECT_EQ(check(kMonitor), kNothing);
  FailNth("IDXGIOutputDuplication::GetFrameDirtyRects", 1);
  change({10, 10, 20, 30});
  EXPECT_EQ(check(kMonitor), (Answer{true, false, 0, 0.0, true}));

  helper = std::make_unique<DynamicCaptureHelper>(false);
  settle(kMonitor);
  change({10, 10, 20, 30});
  EXPECT_EQ(check(kMonitor), (Answer{true, false, 0, 0.0, true}));
}

TEST_F(DynamicCaptureHelperTest, FirstNewsOfThePointerAloneIsNoChangedPicture) {
  SetPointerBeforePicture(true);
  helper->check(kMonitor);
  EXPECT_EQ(check(kMonitor), (Answer{false, true, 0, 0.0, true}));
  EXPECT_EQ(check(kMonitor), (Answer{true, true, 1, 1.0, true})) << "its picture follows";
}

TEST_F(DynamicCaptureHelperTest, OfAPartOnlyWhatLiesInsideCounts) {
  settle(kWindow);
  const auto after = [this](const RECT& rect) {
    change(rect);
    return check(kWindow);
  };
  const auto changed = [](double pixels) { return Answer{true, false, 1, pixels / 10000, true}; };
  EXPECT_EQ(after({10, 10, 90, 40}), kNothing);
  EXPECT_EQ(after({90, 60, 120, 80}), changed(20 * 20)) << "the part inside";
  // Strips along the edges, as the frame around the window makes them.
  for (const RECT& strip : {RECT{100, 60, 110, 140}, RECT{190, 60, 200, 140},
                            RECT{110, 50, 190, 60}, RECT{110, 140, 190, 150}}) {
    EXPECT_EQ(after(strip), kNothing) << strip.left;
  }
  for (const RECT& wider : {RECT{100, 60, 111, 140}, RECT{189, 60, 200, 140},
                            RECT{110, 50, 190, 61}, RECT{110, 139, 190, 150}}) {
    EXPECT_EQ(after(wider), changed(11 * 80)) << wider.left;
  }
  EXPECT_EQ(after({100, 60, 109, 140}), changed(9 * 80));
  EXPECT_EQ(after({120, 60, 130, 140}), changed(10 * 80)) << "not along an edge";
  EXPECT_EQ(after({120, 60, 180, 70}), changed(60 * 10));

  SetCursorPosition(30, 30);
  EXPECT_EQ(check(kWindow), kNothing) << "the mouse elsewhere";
  SetCursorPosition(150, 100);
  EXPECT_EQ(check(kWindow), (Answer{false, true, 0, 0.0, true}));
  for (const char* rects : {"Move", "Dirty"}) {
    FailNth(std::string("IDXGIOutputDuplication::GetFrame") + rects + "Rects", 1);
    EXPECT_TRUE(after({10, 10, 90, 40}).frame) << "who can't tell captures";
  }

  helper = std::make_unique<DynamicCaptureHelper>(false);
  settle(kWindow);
  EXPECT_EQ(after({120, 60, 130, 140}), (Answer{true, false, 0, 0.0, true}));
  EXPECT_EQ(after({10, 10, 90, 40}), kNothing);
}

TEST_F(DynamicCaptureHelperTest, OfATurnedMonitorThePictureIsMeantAsTheUserSeesIt) {
  for (const DXGI_MODE_ROTATION rotation :
       {DXGI_MODE_ROTATION_ROTATE90, DXGI_MODE_ROTATION_ROTATE180, DXGI_MODE_ROTATION_ROTATE270}) {
    SCOPED_TRACE(rotation);
    TurnMonitor(PrimaryMonitor(), rotation);
    helper = std::make_unique<DynamicCaptureHelper>(true);
    constexpr RECT kCorner = {10, 20, 60, 40};
    settle(kCorner);
    change({15, 25, 35, 30});
    EXPECT_EQ(check(kCorner), (Answer{true, false, 1, 0.1, true}));
    for (const RECT& elsewhere :
         {RECT{260, 20, 310, 40}, RECT{10, 160, 60, 180}, RECT{260, 160, 310, 180}}) {
      change(elsewhere);
      EXPECT_EQ(check(kCorner), kNothing);
    }
  }
}

TEST_F(DynamicCaptureHelperTest, FollowsItsRectangleFromMonitorToMonitor) {
  const HMONITOR second = AddMonitor({320, 0, 480, 100});
  settle(kWindow);
  EXPECT_EQ(check(kWindow), kNothing);
  EXPECT_EQ(log.Count("monitor updated"), 1);
  constexpr RECT kMoved = {330, 10, 430, 60};
  EXPECT_TRUE(check(kMoved).frame);
  EXPECT_EQ(log.Count("monitor updated"), 2);
  SetCursorPosition(340, 20);
  change({340, 20, 350, 40});
  EXPECT_EQ(check(kMoved), (Answer{true, true, 1, 200.0 / 5000, true}));
  EXPECT_EQ(log.Count("ReleaseDXGIDuplication succeed"), 1) << "the first one is free again";

  constexpr RECT kAcross = {300, 10, 400, 60};
  helper->check(kAcross);
  helper->check(kAcross);
  change({350, 20, 360, 40});
  EXPECT_EQ(check(kAcross), kNothing) << "the first monitor is watched";
  change({305, 20, 315, 40});
  EXPECT_TRUE(check(kAcross).frame);

  constexpr RECT kNowhere = {900, 900, 950, 950};
  EXPECT_EQ(check(kNowhere), kUnknown);
  EXPECT_TRUE(log.Has(5, "can't get monitor")) << log.Dump();
  EXPECT_TRUE(check(kWindow).frame);
  EXPECT_EQ(check(kWindow), kNothing);
  RemoveMonitor(second);
}

TEST_F(DynamicCaptureHelperTest, LostAccessIsACaptureAndTheMonitorIsLookedUpAnew) {
  settle(kMonitor);
  RenewMonitorHandle(PrimaryMonitor());
  EXPECT_EQ(check(kMonitor), kUnknown);
  catchUp(kMonitor);
  EXPECT_EQ(check(kMonitor), kNothing) << log.Dump();
  // What was the whole monitor is a part of it now.
  SetMonitorRect(PrimaryMonitor(), {0, 0, 640, 400});
  EXPECT_EQ(check(kMonitor), kUnknown);
  catchUp(kMonitor);
  change({500, 300, 550, 350});
  EXPECT_EQ(check(kMonitor), kNothing);
}

}  // namespace
}  // namespace qx
