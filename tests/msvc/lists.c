#include <qx-screen-capture-c.h>

#include "cases.h"
#include "testing.h"

#define DATA_URL "data:image/png; base64,"

static const RECT kWindowRect = {100, 80, 420, 320};
/* Two bytes of UTF-8, and a pair of surrogates. */
static const wchar_t kTitle[] = L"Bl\u00E4tter \U0001F4C4";
static const char kTitleUtf8[] = "Bl\xC3\xA4tter \xF0\x9F\x93\x84";

typedef struct {
  int primaries;
  int32_t first;
  atomic_int calls;
} Monitors;

static void QX_CALL lookAtMonitors(const qx_desktop_info* desktops, int32_t count, void* user) {
  Monitors* monitors = user;
  CHECK(count > 0 && desktops != NULL);
  for (int32_t i = 0; i < count; ++i) {
    const qx_desktop_info* desktop = &desktops[i];
    MONITORINFO info = {.size = sizeof(info)};
    CHECK(GetMonitorInfoW((HANDLE)(intptr_t)desktop->id, &info));
    CHECK(desktop->handle == desktop->id);
    CHECK(desktop->is_primary == (int32_t)(info.flags & 1));
    CHECK(desktop->x == info.monitor.left && desktop->y == info.monitor.top);
    CHECK(desktop->width == info.monitor.right - info.monitor.left);
    CHECK(desktop->height == info.monitor.bottom - info.monitor.top);
    monitors->primaries += desktop->is_primary;
  }
  monitors->first = count > 0 ? desktops[0].id : 0;
  atomic_fetch_add(&monitors->calls, 1);
  Wake();
}

typedef struct {
  HWND wanted;
  bool found;
} Windows;

static void QX_CALL findWindow(const qx_window_info* windows, int32_t count, void* user) {
  Windows* search = user;
  search->found = false;
  for (int32_t i = 0; i < count; ++i) {
    const qx_window_info* window = &windows[i];
    CHECK(window->handle == window->id && window->process_name != NULL && window->title != NULL);
    if (window->id != IdOf(search->wanted)) {
      continue;
    }
    search->found = true;
    CHECK(window->process_id == GetCurrentProcessId());
    CHECK(Equal(window->process_name, "POWERPNT"));
    CHECK(Equal(window->title, kTitleUtf8));
    CHECK(window->x == kWindowRect.left && window->y == kWindowRect.top);
    CHECK(window->width == kWindowRect.right - kWindowRect.left);
    CHECK(window->height == kWindowRect.bottom - kWindowRect.top);
  }
}

static bool listed(qx_screen_capture* capture, HWND window) {
  Windows search = {.wanted = window};
  CHECK(qx_get_window_list(capture, findWindow, &search) == QX_OK);
  return search.found;
}

static void QX_CALL lookAtThumbnails(const int32_t* ids, const char* const* thumbnails,
                                     int32_t count, void* user) {
  Monitors* monitors = user;
  CHECK(count > 0);
  for (int32_t i = 0; i < count; ++i) {
    CHECK(i == 0 || ids[i - 1] < ids[i]);
    CHECK(BeginsWith(thumbnails[i], DATA_URL));
  }
  atomic_fetch_add(&monitors->calls, 1);
  Wake();
}

static void leavesOut(qx_screen_capture* capture, HWND window) {
  static qx_filter_window_info rule;
  rule = (qx_filter_window_info){.type = 0, .window = window, .reserved = 7};
  CHECK(qx_set_exclude_windows(capture, &rule, 1) == QX_OK);
  CHECK(!listed(capture, window));
  /* Another rule, by its last field, is not on the list. */
  rule.reserved = 8;
  CHECK(qx_remove_exclude_window(capture, &rule) == QX_OK);
  CHECK(!listed(capture, window));
  rule.reserved = 7;
  CHECK(qx_remove_exclude_window(capture, &rule) == QX_OK);
  CHECK(listed(capture, window));

  rule = (qx_filter_window_info){.type = 1, .title_rule = 1, .process_id = GetCurrentProcessId()};
  for (unsigned i = 0; i < sizeof(kTitleUtf8); ++i) {
    rule.title[i] = kTitleUtf8[i];
  }
  CHECK(qx_add_exclude_window(capture, &rule) == QX_OK);
  CHECK(!listed(capture, window));
  CHECK(qx_clear_exclude_windows(capture) == QX_OK);
  CHECK(listed(capture, window));
}

void ListsMonitorsAndWindows(void) {
  qx_screen_capture* capture = qx_create();
  CHECK(capture != NULL);
  Monitors monitors = {0};
  CHECK(qx_get_desktop_list(capture, lookAtMonitors, &monitors) == QX_OK);
  CHECK(atomic_load(&monitors.calls) == 1);
  CHECK(monitors.primaries == 1);
  CHECK(qx_get_desktop_list_async(capture, lookAtMonitors, &monitors) == QX_OK);
  CHECK(WaitFor(&monitors.calls, 2));

  const char* thumbnail = qx_get_desktop_thumbnail(capture, monitors.first, 64, 48);
  CHECK(thumbnail != NULL && BeginsWith(thumbnail, DATA_URL));
  CHECK(qx_get_desktop_thumbnail(capture, monitors.first, 0, 48) == NULL);
  CHECK(qx_get_desktop_thumbnail_all(capture, 64, 48, lookAtThumbnails, &monitors) == QX_OK);
  CHECK(atomic_load(&monitors.calls) == 3);
  CHECK(qx_get_desktop_thumbnail_all_async(capture, 64, 48, lookAtThumbnails, &monitors) == QX_OK);
  CHECK(WaitFor(&monitors.calls, 4));

  const HWND window = OpenWindow(L"Plain", kTitle, &kWindowRect);
  if (SystemTellsRectangle(window)) {
    CHECK(listed(capture, window));
    CHECK(Equal(qx_get_window_title(capture, IdOf(window)), kTitleUtf8));
    const char* icon = qx_get_window_icon(capture, IdOf(window));
    CHECK(icon != NULL && (icon[0] == '\0' || BeginsWith(icon, DATA_URL)));
    leavesOut(capture, window);
  } else {
    Say("  windows not here: this system does not tell where one is\n");
  }
  DestroyWindow(window);
  CHECK(!listed(capture, window));

  CHECK(qx_destroy(capture) == QX_OK);
  CHECK(qx_destroy(capture) == QX_ERROR_OBJECT);
  CHECK(qx_get_desktop_list(capture, lookAtMonitors, &monitors) == QX_ERROR_OBJECT);
  CHECK(qx_get_window_title(capture, 1) == NULL);
}
