// Shares that are delivered into a queue.
#include <algorithm>
#include <cstddef>
#include <map>
#include <string>
#include <utility>

#include "tests/c/CShareTest.h"
#include "tests/share/AllocationHook.h"

namespace qx::test {
namespace {

using namespace vwin::control;

class QueueTest : public CShareTest {
 protected:
  QueueTest() { Close(window); }

  // All events that lie in it, in the words of a ShareRecorder, each with the number of
  // the frame before it.
  Events events() {
    static const std::map<qx_event_type, std::string> words = {
        {QX_EVENT_START, "start"},
        {QX_EVENT_PAUSE, "pause "},
        {QX_EVENT_RESUME, "resume"},
        {QX_EVENT_STOP, "stop"},
        {QX_EVENT_FIRST_FRAME, "firstFrame"},
        {QX_EVENT_SHARE_WINDOW_CHANGED, "windowChanged "},
        {QX_EVENT_SHARE_DESKTOP_CHANGED, "desktopChanged "},
        {QX_EVENT_CAPTURE_ENGINE_NAME, "engine "},
        {QX_EVENT_FRAME_STATISTICS, "statistics "},
        {QX_EVENT_SHARE_RECT_CHANGED, "rect "}};
    Events all;
    qx_event event = {};
    event.size = sizeof(event);
    while (qx_queue_next_event(queue, &event) == QX_OK) {
      std::string text = std::to_string(event.frame) + ": " + words.at(event.type);
      if (event.type == QX_EVENT_SHARE_RECT_CHANGED) {
        text += std::to_string(event.rect.width) + "x" + std::to_string(event.rect.height);
      } else if (text.ends_with(' ')) {
        // The fields that belong to other types are 0.
        text += std::to_string(event.reason + event.id + event.engine + event.fps);
      }
      all.push_back(std::move(text));
    }
    return all;
  }

  // The newest frame, which the test releases; null without one.
  qx_frame* take() {
    qx_frame* frame = nullptr;
    const qx_result result = qx_queue_take_frame(queue, &frame);
    EXPECT_EQ(result, frame ? QX_OK : QX_ERROR_EMPTY);
    return frame;
  }

  static qx_frame_info infoOf(const qx_frame* frame) {
    qx_frame_info info = {};
    info.size = sizeof(info);
    EXPECT_EQ(qx_frame_get_info(frame, &info), QX_OK);
    return info;
  }

  // By way of a listener, which copies it.
  Frame contentsOf(const qx_frame* frame) {
    qx_screen_frame_data data = {};
    EXPECT_EQ(qx_frame_get_data(frame, &data), QX_OK);
    Recording().on_frame(&cHost, &data);
    return cHost.LastFrame();
  }
};

TEST_F(QueueTest, KeepsAllEventsInOrderAndTheNewestFrame) {
  EXPECT_EQ(qx_queue_wait(queue, 100), QX_ERROR_TIMEOUT);
  EXPECT_EQ(take(), nullptr);
  configure(true);
  startQueue(monitor());
  EXPECT_EQ(qx_queue_wait(queue, 1000), QX_OK);
  EXPECT_EQ(events(), (Events{"0: engine 4", "0: start", "0: firstFrame", "0: statistics 0"}));

  OpenWindow({.rect = {0, 0, 100, 100}, .color = RGB(90, 80, 70)});
  tick(3);
  qx_frame* const fourth = take();
  EXPECT_EQ(take(), nullptr) << "a frame is taken once";
  EXPECT_EQ(infoOf(fourth).number, 4u);
  EXPECT_EQ(infoOf(fourth).lost, 3u);
  EXPECT_FALSE(infoOf(fourth).dirty_valid);
  EXPECT_TRUE(Shows(contentsOf(fourth), kBackground, {{0, 0, 100, 100, 0x5A5046}}));

  qx_share_pause(c);
  SetMonitorRect(monitor(), {0, 0, 300, 180});
  qx_set_screen_frame_format_type(c, QX_SCREEN_FRAME_FORMAT_I420);
  tick(2);
  qx_share_resume(c);
  tick(2);
  EXPECT_EQ(events(), (Events{"4: rect 300x180", "4: pause 2", "5: resume"}));
  qx_frame* const seventh = take();
  EXPECT_EQ(infoOf(seventh).number, 7u) << "a repeated one among them";
  EXPECT_EQ(infoOf(seventh).lost, 5u);
  start();  // the same picture by C++
  capture.SetScreenFrameFormatType(IScreenCapture::ScreenFrameFormatI420);
  tick();
  const Frame planar = contentsOf(seventh);
  EXPECT_EQ(planar.width, 300);
  EXPECT_EQ(planar.y, host.LastFrame().y);
  EXPECT_EQ(planar.u, host.LastFrame().u);
  EXPECT_EQ(planar.v, host.LastFrame().v);

  // What was taken stays, after all that it came from.
  EXPECT_EQ(qx_destroy(c), QX_OK);
  EXPECT_EQ(qx_queue_destroy(queue), QX_OK);
  EXPECT_EQ(contentsOf(seventh).y, planar.y);
  EXPECT_TRUE(Shows(contentsOf(fourth), kBackground, {{0, 0, 100, 100, 0x5A5046}}));
  for (qx_frame* const frame : {fourth, seventh}) {
    EXPECT_EQ(qx_frame_release(frame), QX_OK);
    EXPECT_EQ(qx_frame_release(frame), QX_ERROR_OBJECT);
  }
}

TEST_F(QueueTest, AnotherShareShowsNothingOfTheOneBefore) {
  startQueue(monitor());
  EXPECT_EQ(qx_share_stop(c), QX_OK);
  events();
  // The first picture of the next one is late.
  FailNth("BitBlt", 1, {ERROR_GEN_FAILURE, E_FAIL});
  ASSERT_EQ(qx_share_desktop_to_queue(c, idOf(monitor()), queue, &why), QX_OK);
  EXPECT_EQ(take(), nullptr);
  SetDesktopColor(RGB(1, 2, 3));
  tick(2);
  qx_frame* const frame = take();
  EXPECT_TRUE(Shows(contentsOf(frame), 0x010203, {}));
  EXPECT_EQ(infoOf(frame).lost, infoOf(frame).number - 1);
  qx_frame_release(frame);
}

TEST_F(QueueTest, DirtyFiguresComeWithTheirFrame) {
  const qx_capture_engine_type dxgi = QX_CAPTURE_ENGINE_DXGI;
  qx_set_capture_engine_config(c, &dxgi, 1, false);
  qx_enable_filter_window_when_share_desktop(c, false);
  configure(true, true);
  const HWND mark = OpenWindow({.rect = {0, 0, 20, 10}});
  startQueue(monitor());
  MoveTo(mark, 50, 50);
  tick(2);
  qx_frame_release(take());
  MoveTo(mark, 100, 50);
  tick();
  qx_frame* const frame = take();
  const qx_frame_info info = infoOf(frame);
  EXPECT_TRUE(info.dirty_valid);
  EXPECT_EQ(info.dirty_rect_count, 2u);
  EXPECT_EQ(info.dirty_ratio, 0.00625);
  qx_frame_release(frame);
}

TEST_F(QueueTest, LosesNoEventThoughNobodyTakesThem) {
  startQueue(monitor());
  for (int i = 0; i < 30; ++i) {
    SetMonitorRect(monitor(), {0, 0, 320 + i, 200});
    qx_share_pause(c);
    tick(15);
    qx_share_resume(c);
    tick(15);
  }
  const Events all = events();
  const auto count = [&](const char* words) {
    return std::ranges::count_if(
        all, [&](const auto& event) { return event.find(words) != event.npos; });
  };
  EXPECT_EQ(count(": pause 2"), 30);
  EXPECT_EQ(count(": rect 3"), 29);
  EXPECT_GE(count(": statistics"), 6);
  qx_frame* const frame = take();
  EXPECT_EQ(contentsOf(frame).width, 349);
  EXPECT_EQ(infoOf(frame).lost, infoOf(frame).number - 1);
  qx_frame_release(frame);
}

TEST_F(QueueTest, APictureLessRepeatIsNoFrame) {
  FailNth("BitBlt", 1, {ERROR_GEN_FAILURE, E_FAIL}, Repeat::kOnward);
  startQueue(monitor());
  qx_share_pause(c);
  Advance(3s);
  EXPECT_EQ(take(), nullptr);
}

TEST_F(QueueTest, MayGoWhileItIsSharedInto) {
  startQueue(monitor());
  qx_frame* const first = take();
  // From the middle of a share: who waits is told.
  qx_result waited = QX_OK;
  events();
  const auto before = Now();
  AtNth("BitBlt", 2, [&] { qx_queue_destroy(queue); });
  while (waited == QX_OK) {
    waited = qx_queue_wait(queue, 5000);
    events();
    if (qx_frame* const frame = waited == QX_OK ? take() : nullptr) {
      qx_frame_release(frame);
    }
  }
  EXPECT_EQ(waited, QX_ERROR_OBJECT);
  EXPECT_LT(Now() - before, 1s);
  tick(3);
  qx_event event = {};
  event.size = sizeof(event);
  EXPECT_EQ(qx_queue_next_event(queue, &event), QX_ERROR_OBJECT);
  EXPECT_TRUE(Shows(contentsOf(first), kBackground, {}));
  EXPECT_EQ(qx_frame_release(first), QX_OK);

  // The share goes on, and gives way to one into another queue.
  queue = qx_queue_create();
  EXPECT_EQ(qx_share_desktop_to_queue(c, idOf(monitor()), queue, &why), QX_ERROR_SHARE);
  EXPECT_EQ(why, QX_SHARE_ERROR_TASK_RUNNING);
  EXPECT_EQ(qx_share_stop(c), QX_OK);
  startQueue(monitor());
  qx_frame* const next = take();
  EXPECT_EQ(infoOf(next).number, 1u);
  qx_frame_release(next);
}

TEST_F(QueueTest, OlderRecordsAreFilledAsFarAsTheyGo) {
  startQueue(monitor());
  struct Old {
    std::uint32_t size;
    std::int32_t type;
    std::uint64_t behind;
  } event = {.size = offsetof(qx_event, frame), .type = 0, .behind = 77};
  ASSERT_EQ(qx_queue_next_event(queue, reinterpret_cast<qx_event*>(&event)), QX_OK);
  EXPECT_EQ(event.type, QX_EVENT_CAPTURE_ENGINE_NAME);
  EXPECT_EQ(event.behind, 77u);
  event.size = 4;
  EXPECT_EQ(qx_queue_next_event(queue, reinterpret_cast<qx_event*>(&event)), QX_ERROR_ARGUMENT);
  struct {
    qx_event known = {};
    std::uint64_t behind = 77;
  } newer;
  newer.known.size = sizeof(newer);
  ASSERT_EQ(qx_queue_next_event(queue, &newer.known), QX_OK);
  EXPECT_EQ(newer.known.type, QX_EVENT_START) << "a refused call takes nothing";
  EXPECT_EQ(newer.known.size, sizeof(newer));
  EXPECT_EQ(newer.behind, 77u);
  qx_frame* const frame = take();
  qx_frame_info info = {};
  info.size = offsetof(qx_frame_info, lost);
  info.lost = 77;
  EXPECT_EQ(qx_frame_get_info(frame, &info), QX_OK);
  EXPECT_EQ(info.number, 1u);
  EXPECT_EQ(info.lost, 77u);
  info.size = 0;
  EXPECT_EQ(qx_frame_get_info(frame, &info), QX_ERROR_ARGUMENT);
  qx_frame_release(frame);
}

TEST_F(QueueTest, SteadyFramesTakeNoMemory) {
  ScreenCapture::UnregisterLogCallBack();
  startQueue(monitor());
  const auto run = [&](int ticks, bool holding) {
    qx_frame* held = nullptr;
    for (int i = 0; i < ticks; ++i) {
      tick();
      if (holding && i % 2 == 0) {
        qx_frame_release(std::exchange(held, take()));
      }
    }
    qx_frame_release(held);
  };
  run(90, true);
  events();
  {
    const LibraryAllocations allocations;
    run(30, false);
    EXPECT_EQ(allocations.count(), 0) << allocations.where();
  }
  // A frame in the host's hands costs its object, never its pixels.
  const FailLargeAllocations large(4096);
  run(30, true);
  EXPECT_EQ(large.failed(), 0);
}

}  // namespace
}  // namespace qx::test
