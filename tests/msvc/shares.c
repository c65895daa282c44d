#include "cases.h"
#include "listener.h"

enum { kFewPixels = 320 * 200 };

static const RECT kSmall = {100, 80, 420, 320};
static const RECT kShowRect = {40, 20, 680, 500};

static qx_screen_capture* createWithDirtyInfo(void) {
  qx_screen_capture* capture = qx_create();
  qx_screen_capture_config config;
  CHECK(qx_screen_capture_config_init(&config) == QX_OK);
  config.get_dirty_rect_info = true;
  config.keep_alive_interval = 100;
  config.moved_window_stable_keep_min_duration = 100;
  CHECK(qx_set_screen_capture_config(capture, &config) == QX_OK);
  CHECK(qx_enable_capture_cursor(capture, false) == QX_OK);
  CHECK(qx_set_capture_fps(capture, 30) == QX_OK);
  return capture;
}

static bool promptHasItsColor(void* user) {
  const qx_prompt_window_info* prompt = user;
  const HANDLE screen = GetDC(NULL);
  const uint32_t wanted = (uint32_t)(prompt->b << 16 | prompt->g << 8 | prompt->r);
  const bool good = GetPixel(screen, 0, 40) == wanted &&
                    GetPixel(screen, prompt->width - 1, 40) == wanted &&
                    GetPixel(screen, prompt->width, 40) != wanted;
  ReleaseDC(NULL, screen);
  return good;
}

static bool framesAreSmall(void* user) {
  const Listener* listener = user;
  return atomic_load(&listener->pixels) <= kFewPixels;
}

/* The picture shows the window, whatever it is made into. */
static void showsTheWindow(qx_screen_capture* capture, Listener* listener, int32_t width) {
  CHECK(WaitFor(&listener->coloredFrames, 1));
  CHECK(atomic_load(&listener->width) == width);

  CHECK(qx_set_screen_frame_format_type(capture, QX_SCREEN_FRAME_FORMAT_I420) == QX_OK);
  /* While nothing changes, the last picture is repeated as it was. */
  const HWND news = OpenWindow(L"Plain", L"News", &(RECT){500, 400, 540, 440});
  CHECK(WaitFor(&listener->i420Frames, 1));
  CHECK(WaitFor(&listener->coloredFrames, atomic_load(&listener->coloredFrames) + 2));
  CHECK(qx_set_screen_frame_format_type(capture, QX_SCREEN_FRAME_FORMAT_ARGB) == QX_OK);

  const qx_screen_frame_resolution_limit limit = {
      .max_screen_width = 320, .max_screen_height = 200, .max_screen_pixels = kFewPixels};
  CHECK(qx_set_capture_frame_resolution_limit(capture, &limit) == QX_OK);
  DestroyWindow(news);
  CHECK(WaitUntil(framesAreSmall, listener));
}

void SharesAMonitor(void) {
  static Listener listener;
  qx_screen_capture* capture = createWithDirtyInfo();
  const qx_desktop_info monitor = PrimaryMonitor(capture);
  qx_prompt_window_info prompt = {.r = 10, .g = 200, .b = 90, .width = 6};
  CHECK(qx_set_prompt_window_info(capture, &prompt) == QX_OK);
  CHECK(qx_enable_prompt_window(capture, true) == QX_OK);

  const HWND window = OpenWindow(L"Plain", L"Report", &kSmall);
  listener.capture = capture;
  listener.rawWidth = monitor.width;
  listener.rawHeight = monitor.height;
  atomic_store(&listener.x, kSmall.left);
  atomic_store(&listener.y, kSmall.top);
  qx_share_error error = QX_SHARE_ERROR_START_FAILED;
  CHECK(qx_share_windows(capture, &listener, NULL, 0, &kListener, &error) == QX_ERROR_SHARE);
  CHECK(qx_share_desktop(capture, &listener, monitor.id, &kListener, &error) == QX_OK);
  CHECK(error == QX_SHARE_ERROR_NONE);
  CHECK(qx_share_desktop(capture, &listener, monitor.id, &kListener, &error) == QX_ERROR_SHARE);
  CHECK(error == QX_SHARE_ERROR_TASK_RUNNING);
  CHECK(WaitFor(&listener.firstFrames, 1));
  CHECK(WaitUntil(promptHasItsColor, &prompt));
  qx_capture_rect rect = {0};
  CHECK(qx_get_capture_rect(capture, &rect) == QX_OK);
  CHECK(rect.x == monitor.x && rect.y == monitor.y);
  CHECK(rect.width == monitor.width && rect.height == monitor.height);
  showsTheWindow(capture, &listener, monitor.width);

  CHECK(qx_share_pause(capture) == QX_OK);
  CHECK(WaitFor(&listener.pauses, 1));
  CHECK(atomic_load(&listener.reason) == QX_PAUSE_REASON_INVOKED);
  CHECK(qx_share_resume(capture) == QX_OK);
  CHECK(WaitFor(&listener.resumes, 1));
  CHECK(WaitFor(&listener.statistics, 1));
  CHECK(atomic_load(&listener.dirtyInfos) > 0);

  CHECK(qx_share_stop(capture) == QX_OK);
  const int told = ToldInAll(&listener);
  CHECK(qx_get_capture_rect(capture, &rect) == QX_OK);
  CHECK(rect.x == -1 && rect.y == -1 && rect.width == -1 && rect.height == -1);
  CHECK(qx_destroy(capture) == QX_OK);
  CHECK(ToldInAll(&listener) == told);
  CHECK(atomic_load(&listener.starts) == 1 && atomic_load(&listener.stops) == 0);
  DestroyWindow(window);
}

void SharesAWindow(void) {
  static Listener listener;
  qx_screen_capture* capture = createWithDirtyInfo();
  const HWND main = OpenWindow(L"PPTFrameClass", L"Quarterly - PowerPoint", &kSmall);
  listener.capture = capture;
  qx_share_error error = QX_SHARE_ERROR_NONE;
  if (qx_share_window(capture, &listener, IdOf(main), &kListener, &error) != QX_OK) {
    CHECK(error == QX_SHARE_ERROR_START_FAILED && !SystemTellsRectangle(main));
    Say("  not here: this system does not tell where a window is\n");
    CHECK(ToldInAll(&listener) == 0);
    DestroyWindow(main);
    CHECK(qx_destroy(capture) == QX_OK);
    return;
  }
  CHECK(WaitFor(&listener.coloredFrames, 1));
  CHECK(atomic_load(&listener.width) == kSmall.right - kSmall.left);

  SetWindowPos(main, NULL, 200, 150, 0, 0, kNoSizeNoZOrderNoActivate);
  CHECK(WaitFor(&listener.rectChanges, 1));
  CHECK(WaitFor(&listener.resumes, 1));
  CHECK(atomic_load(&listener.left) == 200 && atomic_load(&listener.top) == 150);
  CHECK(atomic_load(&listener.reason) == QX_PAUSE_REASON_WINDOW_MOVED);
  ShowWindow(main, kMinimise);
  CHECK(WaitFor(&listener.pauses, 2));
  CHECK(atomic_load(&listener.reason) == QX_PAUSE_REASON_WINDOW_HIDDEN);
  ShowWindow(main, kRestore);
  CHECK(WaitFor(&listener.resumes, 2));

  /* This program has the name of one whose slide shows a share moves over to. */
  const HWND show = OpenWindow(L"screenClass", L"PowerPoint Slide Show - Quarterly", &kShowRect);
  CHECK(WaitFor(&listener.windowChanges, 1));
  CHECK(atomic_load(&listener.window) == IdOf(show));
  CHECK(WaitFor(&listener.resumes, 3));
  CHECK(atomic_load(&listener.left) == kShowRect.left);
  DestroyWindow(show);
  CHECK(WaitFor(&listener.windowChanges, 2));
  CHECK(atomic_load(&listener.window) == IdOf(main));
  CHECK(WaitFor(&listener.resumes, 4));

  DestroyWindow(main);
  CHECK(WaitFor(&listener.stops, 1));
  CHECK(qx_share_stop(capture) == QX_OK);
  CHECK(qx_destroy(capture) == QX_OK);
}
