// What a host may get wrong, and what it asks for once.
#include <cstring>
#include <functional>

#include "tests/c/CShareTest.h"
#include "tests/share/AllocationHook.h"

namespace qx::test {
namespace {

using namespace vwin::control;

// Each function of an object, with arguments that are right.
using Call = std::function<qx_result(qx_screen_capture*)>;

const qx_filter_window_info kRule = {};
void NoDesktops(const qx_desktop_info*, std::int32_t, void*) {}
void NoWindows(const qx_window_info*, std::int32_t, void*) {}
void NoThumbnails(const std::int32_t*, const char* const*, std::int32_t, void*) {}

std::vector<Call> callsOfAnObject() {
  static qx_screen_capture_config config;
  static qx_living_screen_capture_config living;
  static qx_capture_rect rect;
  static const qx_prompt_window_info prompt = {1, 2, 3, 4};
  static const qx_screen_frame_resolution_limit limit = {0, 320, 200, 64000};
  static const qx_share_listener listener = Recording();
  qx_screen_capture_config_init(&config);
  qx_living_screen_capture_config_init(&living);
  using Capture = qx_screen_capture*;
  return {
      [](Capture c) { return qx_enable_filter_window_when_share_desktop(c, true); },
      [](Capture c) { return qx_set_exclude_windows(c, &kRule, 1); },
      [](Capture c) { return qx_add_exclude_window(c, &kRule); },
      [](Capture c) { return qx_remove_exclude_window(c, &kRule); },
      [](Capture c) { return qx_clear_exclude_windows(c); },
      [](Capture c) { return qx_set_include_windows(c, &kRule, 1); },
      [](Capture c) { return qx_add_include_window(c, &kRule); },
      [](Capture c) { return qx_remove_include_window(c, &kRule); },
      [](Capture c) { return qx_clear_include_windows(c); },
      [](Capture c) { return qx_get_desktop_list(c, NoDesktops, nullptr); },
      [](Capture c) { return qx_get_desktop_list_async(c, NoDesktops, nullptr); },
      [](Capture c) { return qx_get_window_list(c, NoWindows, nullptr); },
      [](Capture c) { return qx_get_window_list_async(c, NoWindows, nullptr); },
      [](Capture c) { return qx_get_desktop_thumbnail_all(c, 8, 8, NoThumbnails, nullptr); },
      [](Capture c) { return qx_get_desktop_thumbnail_all_async(c, 8, 8, NoThumbnails, nullptr); },
      [](Capture c) { return qx_get_window_thumbnail_all(c, 8, 8, NoThumbnails, nullptr); },
      [](Capture c) { return qx_get_window_thumbnail_all_async(c, 8, 8, NoThumbnails, nullptr); },
      [](Capture c) { return qx_get_desktop_thumbnail(c, 0, 8, 8) ? QX_OK : QX_ERROR_OBJECT; },
      [](Capture c) { return qx_get_window_icon(c, 0) ? QX_OK : QX_ERROR_OBJECT; },
      [](Capture c) { return qx_get_window_title(c, 0) ? QX_OK : QX_ERROR_OBJECT; },
      [](Capture c) { return qx_set_can_use_mag_capture(c, true); },
      [](Capture c) { return qx_enable_capture_cursor(c, false); },
      [](Capture c) { return qx_enable_active_share_window(c, false); },
      [](Capture c) { return qx_enable_prompt_window(c, false); },
      [](Capture c) { return qx_set_dynamic_check(c, false); },
      [](Capture c) { return qx_set_capture_engine_config(c, nullptr, 0, false); },
      [](Capture c) { return qx_set_prompt_window_info(c, &prompt); },
      [](Capture c) { return qx_set_capture_frame_resolution_limit(c, &limit); },
      [](Capture c) { return qx_set_screen_frame_format_type(c, QX_SCREEN_FRAME_FORMAT_ARGB); },
      [](Capture c) { return qx_set_screen_capture_config(c, &config); },
      [](Capture c) { return qx_set_living_screen_capture_config(c, &living); },
      [](Capture c) { return qx_set_capture_fps(c, 15); },
      [](Capture c) { return qx_set_windows(c, nullptr, 0); },
      [](Capture c) { return qx_share_window(c, nullptr, 0, &listener, nullptr); },
      [](Capture c) { return qx_share_pause(c); },
      [](Capture c) { return qx_share_resume(c); },
      [](Capture c) { return qx_share_stop(c); },
      [](Capture c) { return qx_get_capture_rect(c, &rect); },
      [](Capture c) { return qx_destroy(c); },
  };
}

TEST_F(CShareTest, ObjectsThatAreNoneAreAnswered) {
  qx_screen_capture* const gone = qx_create();
  qx_destroy(gone);
  qx_frame* const frame = [&] {
    startQueue(monitor());
    qx_frame* taken = nullptr;
    qx_queue_take_frame(queue, &taken);
    return taken;
  }();
  const auto asCapture = [](void* other) { return static_cast<qx_screen_capture*>(other); };
  const std::vector<qx_screen_capture*> wrong = {nullptr, gone, asCapture(queue), asCapture(frame),
                                                 asCapture(this)};
  const std::vector<Call> calls = callsOfAnObject();
  for (std::size_t i = 0; i < calls.size(); ++i) {
    for (qx_screen_capture* const none : wrong) {
      EXPECT_EQ(calls[i](none), QX_ERROR_OBJECT) << i << ' ' << none;
    }
  }
  qx_event event = {};
  event.size = sizeof(event);
  qx_frame* out = nullptr;
  for (void* const none :
       {static_cast<void*>(nullptr), static_cast<void*>(c), static_cast<void*>(frame)}) {
    auto* const noQueue = static_cast<qx_queue*>(none);
    EXPECT_EQ(qx_share_desktop_to_queue(c, 0, noQueue, &why), QX_ERROR_OBJECT);
    EXPECT_EQ(why, QX_SHARE_ERROR_NULL_LISTENER);
    EXPECT_EQ(qx_queue_wait(noQueue, 0), QX_ERROR_OBJECT);
    EXPECT_EQ(qx_queue_next_event(noQueue, &event), QX_ERROR_OBJECT);
    EXPECT_EQ(qx_queue_take_frame(noQueue, &out), QX_ERROR_OBJECT);
    EXPECT_EQ(qx_queue_destroy(noQueue), QX_ERROR_OBJECT);
  }
  EXPECT_EQ(qx_frame_release(reinterpret_cast<qx_frame*>(queue)), QX_ERROR_OBJECT);
  EXPECT_EQ(qx_frame_get_data(reinterpret_cast<qx_frame*>(c), nullptr), QX_ERROR_OBJECT);
  EXPECT_EQ(qx_frame_get_data(frame, nullptr), QX_ERROR_ARGUMENT);
  EXPECT_EQ(qx_queue_take_frame(queue, nullptr), QX_ERROR_ARGUMENT);
  EXPECT_EQ(qx_frame_release(frame), QX_OK);
}

TEST_F(CShareTest, ArgumentsThatCannotBeChangeNothing) {
  qx_filter_window_info endless = {};
  std::memset(endless.title, 'a', sizeof(endless.title));
  qx_filter_window_info overlong = {};
  std::strcpy(overlong.title, "\xC0\xAF");
  qx_filter_window_info surrogate = {};
  std::strcpy(surrogate.title, "\xED\xA0\x80");
  for (const qx_filter_window_info* const rule :
       {static_cast<const qx_filter_window_info*>(nullptr), &std::as_const(endless),
        &std::as_const(overlong), &std::as_const(surrogate)}) {
    EXPECT_EQ(qx_add_exclude_window(c, rule), QX_ERROR_ARGUMENT);
    EXPECT_EQ(qx_remove_include_window(c, rule), QX_ERROR_ARGUMENT);
    EXPECT_EQ(qx_set_exclude_windows(c, rule, 1), QX_ERROR_ARGUMENT);
    EXPECT_EQ(qx_set_include_windows(c, rule, 1), QX_ERROR_ARGUMENT);
  }
  EXPECT_EQ(qx_set_exclude_windows(c, &kRule, -1), QX_ERROR_ARGUMENT);
  EXPECT_EQ(qx_get_desktop_list(c, nullptr, nullptr), QX_ERROR_ARGUMENT);
  EXPECT_EQ(qx_get_window_list_async(c, nullptr, nullptr), QX_ERROR_ARGUMENT);
  EXPECT_EQ(qx_get_window_thumbnail_all(c, 8, 8, nullptr, nullptr), QX_ERROR_ARGUMENT);
  for (const std::int32_t type : {-1, 6}) {
    EXPECT_EQ(qx_set_capture_engine_config(c, &type, 1, false), QX_ERROR_ARGUMENT);
  }
  EXPECT_EQ(qx_set_capture_engine_config(c, nullptr, 1, false), QX_ERROR_ARGUMENT);
  const qx_prompt_window_info wrongColor = {256, 0, 0, 4};
  EXPECT_EQ(qx_set_prompt_window_info(c, &wrongColor), QX_ERROR_ARGUMENT);
  const qx_screen_frame_resolution_limit wrongProduct = {0, 100, 100, 9999};
  EXPECT_EQ(qx_set_capture_frame_resolution_limit(c, &wrongProduct), QX_ERROR_ARGUMENT);
  EXPECT_EQ(qx_set_screen_frame_format_type(c, 2), QX_ERROR_ARGUMENT);
  EXPECT_EQ(qx_screen_capture_config_init(nullptr), QX_ERROR_ARGUMENT);
  EXPECT_EQ(qx_set_screen_capture_config(c, nullptr), QX_ERROR_ARGUMENT);
  for (const std::int32_t fps : {0, 31, -1}) {
    EXPECT_EQ(qx_set_capture_fps(c, fps), QX_ERROR_ARGUMENT);
  }
  EXPECT_EQ(qx_get_capture_rect(c, nullptr), QX_ERROR_ARGUMENT);
  EXPECT_EQ(qx_register_log_callback(nullptr), QX_ERROR_ARGUMENT);
  EXPECT_EQ(qx_set_audio_capture_debug_path("\xFF"), QX_ERROR_ARGUMENT);
  EXPECT_EQ(qx_set_audio_capture_debug_path("C:\\\xC3\xA4"), QX_OK);

  qx_share_listener functions = Recording();
  EXPECT_EQ(qx_share_desktop(c, &cHost, idOf(monitor()), nullptr, &why), QX_ERROR_ARGUMENT);
  EXPECT_EQ(why, QX_SHARE_ERROR_NULL_LISTENER);
  functions.size = 0;
  EXPECT_EQ(qx_share_desktop(c, &cHost, idOf(monitor()), &functions, &why), QX_ERROR_ARGUMENT);
  functions.size = sizeof(functions);
  EXPECT_EQ(qx_share_desktop(c, &cHost, 4711, &functions, &why), QX_ERROR_SHARE);
  EXPECT_EQ(why, QX_SHARE_ERROR_TARGET_MISSING);
  EXPECT_EQ(qx_share_windows(c, &cHost, nullptr, 0, &functions, &why), QX_ERROR_SHARE);
  startC(monitor());
  EXPECT_EQ(qx_share_desktop(c, &cHost, idOf(monitor()), &functions, &why), QX_ERROR_SHARE);
  EXPECT_EQ(why, QX_SHARE_ERROR_TASK_RUNNING);
  tick();
  EXPECT_TRUE(Shows(cHost.LastFrame(), kBackground,
                    {{40, 30, 140, 110, kWindowColor}, {40, 30, 50, 40, kMarkColor}}));
}

// A host must not believe that a window is left out.
TEST_F(CShareTest, WhatFailsWithoutMemoryIsToldAndChangesNothing) {
  startC(monitor());
  const qx_capture_engine_type mag = QX_CAPTURE_ENGINE_MAG;
  {
    const FailLargeAllocations none(1);
    EXPECT_EQ(qx_add_exclude_window(c, &kRule), QX_ERROR_FAILED);
    EXPECT_EQ(qx_set_capture_engine_config(c, &mag, 1, false), QX_ERROR_FAILED);
    EXPECT_EQ(qx_set_capture_fps(c, 15), QX_OK) << "needs none";
  }
  EXPECT_EQ(qx_add_exclude_window(c, &kRule), QX_OK);
  qx_share_stop(c);
  startC(monitor());
  EXPECT_EQ(cHost.Count("engine 4"), 2) << "the engines are those of before";
}

// What a list tells, by both interfaces.
TEST_F(CShareTest, TextsAreUtf8) {
  const std::wstring broken = {L'a', static_cast<wchar_t>(0xD83D), L'b'};
  SetTitle(window, L"\U0001F600 \u00e9" + broken);
  const std::string expected =
      "\xF0\x9F\x98\x80 \xC3\xA9"
      "a\xEF\xBF\xBD"
      "b";
  struct List {
    int count = 0;
    std::string name;
    std::string title;
    RECT rect = {};
  } list;
  AddProcess(7000, L"C:\\Apps\\\u00fcber.exe");
  const auto onWindows = [](const qx_window_info* windows, std::int32_t count, void* user) {
    List& out = *static_cast<List*>(user);
    out.count = count;
    if (count > 0) {
      out.name = windows[0].process_name;
      out.title = windows[0].title;
      out.rect = {windows[0].x, windows[0].y, windows[0].x + windows[0].width,
                  windows[0].y + windows[0].height};
    }
  };
  for (const auto ask : {qx_get_window_list, qx_get_window_list_async}) {
    list = {};
    EXPECT_EQ(ask(c, onWindows, &list), QX_OK);
    Settle();
    EXPECT_EQ(list.count, 1);
    EXPECT_EQ(list.name,
              "\xC3\xBC"
              "ber");
    EXPECT_EQ(list.title, expected);
    EXPECT_TRUE(EqualRect(&list.rect, &kWindowRect));
  }
  EXPECT_EQ(qx_get_window_title(c, idOf(window)), expected);
  const char* const thumbnail = qx_get_window_thumbnail(c, idOf(window), 50, 40);
  EXPECT_STREQ(thumbnail, capture.GetWindowThumbnail(idOf(window), 50, 40));
  EXPECT_EQ(qx_get_window_thumbnail(c, idOf(window), 0, 40), nullptr);
  EXPECT_STREQ(qx_get_window_icon(c, 4711), "");
}

}  // namespace
}  // namespace qx::test
