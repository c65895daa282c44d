#include <qx-screen-capture-c.h>

#include "cases.h"
#include "testing.h"

static void hasDefaults(const qx_screen_capture_config* config) {
  CHECK(config->keep_alive_interval == 1000);
  CHECK(config->moved_window_stable_keep_min_duration == 200);
  CHECK(!config->dynamic_frame_callback);
  CHECK(config->reserved_int1 == 0);
  CHECK(!config->get_dirty_rect_info);
  CHECK(config->reserved_flag1);
  CHECK(config->sc_dynamic_check);
  CHECK(!config->reserved_flag2 && !config->reserved_flag3 && !config->reserved_flag4);
  CHECK(!config->reserved_flag5 && !config->reserved_flag6 && !config->reserved_flag7);
  CHECK(config->reserved_int2 == 100);
  CHECK(!config->reserved_flag8);
  CHECK(config->reserved_int3 == 10);
  CHECK(config->reserved_int4 == 3);
  CHECK(!config->reserved_flag9 && !config->reserved_flag10);
  CHECK(!config->sc_new_mouse_capture_way);
}

void TakesSettings(void) {
  qx_screen_capture* capture = qx_create();
  qx_screen_capture_config config;
  memset(&config, 0xFF, sizeof(config));
  CHECK(qx_screen_capture_config_init(&config) == QX_OK);
  hasDefaults(&config);
  CHECK(qx_set_screen_capture_config(capture, &config) == QX_OK);

  union {
    qx_living_screen_capture_config living;
    qx_screen_capture_config whole;
  } both;
  memset(&both, 0, sizeof(both));
  CHECK(qx_living_screen_capture_config_init(&both.living) == QX_OK);
  hasDefaults(&both.whole);
  CHECK(qx_set_living_screen_capture_config(capture, &both.living) == QX_OK);

  CHECK(qx_enable_filter_window_when_share_desktop(capture, true) == QX_OK);
  CHECK(qx_set_can_use_mag_capture(capture, true) == QX_OK);
  CHECK(qx_enable_active_share_window(capture, true) == QX_OK);
  CHECK(qx_set_dynamic_check(capture, true) == QX_OK);
  const qx_capture_engine_type engines[] = {QX_CAPTURE_ENGINE_GDI_BIT_BLT};
  CHECK(qx_set_capture_engine_config(capture, engines, 1, false) == QX_OK);
  CHECK(qx_set_capture_engine_config(capture, NULL, 0, false) == QX_OK);
  CHECK(qx_set_capture_fps(NULL, 30) == QX_ERROR_OBJECT);
  CHECK(qx_destroy(capture) == QX_OK);
}
