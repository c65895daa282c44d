/* What a C++ host by these conventions throws into the library ends there. */
#include <qx-screen-capture-c.h>

#include "cases.h"
#include "testing.h"

enum { kException = (int)0xE06D7363, kCannotGoOn = 1, kMark = 0x19930520 };

static atomic_int g_frames, g_lists, g_messages;

/* As `throw` does, as far as the system can see. */
static void throwIt(void) {
  const uintptr_t what[4] = {kMark};
  RaiseException((uint32_t)kException, kCannotGoOn, 4, what);
}

static void QX_CALL onStart(void* context) {
  (void)context;
  throwIt();
}

static void QX_CALL onFrame(void* context, const qx_screen_frame_data* frame) {
  (void)context;
  (void)frame;
  atomic_fetch_add(&g_frames, 1);
  Wake();
  throwIt();
}

static void QX_CALL onDesktops(const qx_desktop_info* desktops, int32_t count, void* user) {
  (void)desktops;
  (void)count;
  (void)user;
  atomic_fetch_add(&g_lists, 1);
  throwIt();
}

static void QX_CALL onMessage(int32_t level, const char* file, int32_t line, const char* message) {
  (void)level;
  (void)file;
  (void)line;
  (void)message;
  atomic_fetch_add(&g_messages, 1);
  throwIt();
}

void OutlivesExceptions(void) {
  qx_screen_capture* capture = qx_create();
  const int32_t monitor = PrimaryMonitor(capture).id;
  CHECK(qx_get_desktop_list(capture, onDesktops, NULL) != QX_ERROR_OBJECT);
  CHECK(atomic_load(&g_lists) == 1);
  CHECK(qx_register_log_callback(onMessage) == QX_OK);
  const qx_share_listener listener = {
      .size = sizeof(listener), .on_start = onStart, .on_frame = onFrame};
  for (int share = 1; share <= 2; ++share) {
    CHECK(qx_share_desktop(capture, NULL, monitor, &listener, NULL) == QX_OK);
    CHECK(WaitFor(&g_frames, atomic_load(&g_frames) + 2));
    /* This thread is in no listener any more, whatever left it. */
    CHECK(qx_share_stop(capture) == QX_OK);
  }
  CHECK(atomic_load(&g_messages) > 0);
  CHECK(qx_unregister_log_callback() == QX_OK);
  CHECK(qx_destroy(capture) == QX_OK);
}
