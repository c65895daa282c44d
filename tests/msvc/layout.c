/* Where MSVC puts the fields of the records. */
#include <qx-screen-capture-c.h>

#define SIZE(record, size) _Static_assert(sizeof(record) == (size), #record)
#define AT(record, field, offset) \
  _Static_assert(offsetof(record, field) == (offset), #record "." #field)

SIZE(bool, 1);
SIZE(qx_result, 4);

SIZE(qx_desktop_info, 28);
AT(qx_desktop_info, handle, 4);
AT(qx_desktop_info, is_primary, 8);
AT(qx_desktop_info, x, 12);
AT(qx_desktop_info, y, 16);
AT(qx_desktop_info, width, 20);
AT(qx_desktop_info, height, 24);

SIZE(qx_window_info, 48);
AT(qx_window_info, handle, 4);
AT(qx_window_info, process_id, 8);
AT(qx_window_info, process_name, 16);
AT(qx_window_info, title, 24);
AT(qx_window_info, x, 32);
AT(qx_window_info, y, 36);
AT(qx_window_info, width, 40);
AT(qx_window_info, height, 44);

SIZE(qx_capture_rect, 16);
AT(qx_capture_rect, y, 4);
AT(qx_capture_rect, width, 8);
AT(qx_capture_rect, height, 12);

SIZE(qx_prompt_window_info, 16);
AT(qx_prompt_window_info, g, 4);
AT(qx_prompt_window_info, b, 8);
AT(qx_prompt_window_info, width, 12);

SIZE(qx_screen_frame_resolution_limit, 32);
AT(qx_screen_frame_resolution_limit, max_screen_width, 8);
AT(qx_screen_frame_resolution_limit, max_screen_height, 16);
AT(qx_screen_frame_resolution_limit, max_screen_pixels, 24);

SIZE(qx_filter_window_info, 2072);
AT(qx_filter_window_info, title_rule, 4);
AT(qx_filter_window_info, window, 8);
AT(qx_filter_window_info, process_id, 16);
AT(qx_filter_window_info, title, 20);
AT(qx_filter_window_info, reserved, 2068);

SIZE(qx_screen_capture_config, 56);
AT(qx_screen_capture_config, moved_window_stable_keep_min_duration, 8);
AT(qx_screen_capture_config, dynamic_frame_callback, 16);
AT(qx_screen_capture_config, reserved_int1, 20);
AT(qx_screen_capture_config, get_dirty_rect_info, 24);
AT(qx_screen_capture_config, reserved_flag1, 25);
AT(qx_screen_capture_config, sc_dynamic_check, 26);
AT(qx_screen_capture_config, reserved_flag2, 27);
AT(qx_screen_capture_config, reserved_flag7, 32);
AT(qx_screen_capture_config, reserved_int2, 36);
AT(qx_screen_capture_config, reserved_flag8, 40);
AT(qx_screen_capture_config, reserved_int3, 44);
AT(qx_screen_capture_config, reserved_int4, 48);
AT(qx_screen_capture_config, reserved_flag9, 52);
AT(qx_screen_capture_config, reserved_flag10, 53);
AT(qx_screen_capture_config, sc_new_mouse_capture_way, 54);

SIZE(qx_living_screen_capture_config, 56);
AT(qx_living_screen_capture_config, reserved_int4, 48);

SIZE(qx_screen_frame_data, 88);
AT(qx_screen_frame_data, timestamp, 8);
AT(qx_screen_frame_data, reserved, 16);
AT(qx_screen_frame_data, width, 20);
AT(qx_screen_frame_data, height, 24);
AT(qx_screen_frame_data, raw_width, 28);
AT(qx_screen_frame_data, raw_height, 32);
AT(qx_screen_frame_data, stride, 36);
AT(qx_screen_frame_data, data, 40);
AT(qx_screen_frame_data, stride_y, 48);
AT(qx_screen_frame_data, stride_u, 52);
AT(qx_screen_frame_data, stride_v, 56);
AT(qx_screen_frame_data, data_y, 64);
AT(qx_screen_frame_data, data_u, 72);
AT(qx_screen_frame_data, data_v, 80);

SIZE(qx_screen_frame_statistics, 20);
AT(qx_screen_frame_statistics, fps, 4);
AT(qx_screen_frame_statistics, reserved_flag, 8);
AT(qx_screen_frame_statistics, reserved_a, 12);
AT(qx_screen_frame_statistics, reserved_b, 16);

SIZE(qx_share_listener, 104);
AT(qx_share_listener, on_start, 8);
AT(qx_share_listener, on_pause, 16);
AT(qx_share_listener, on_resume, 24);
AT(qx_share_listener, on_stop, 32);
AT(qx_share_listener, on_first_frame, 40);
AT(qx_share_listener, on_frame, 48);
AT(qx_share_listener, on_frame_dirty_info, 56);
AT(qx_share_listener, on_share_window_changed, 64);
AT(qx_share_listener, on_share_desktop_changed, 72);
AT(qx_share_listener, on_capture_engine_name, 80);
AT(qx_share_listener, on_frame_statistics, 88);
AT(qx_share_listener, on_share_rect_changed, 96);

SIZE(qx_event, 48);
AT(qx_event, type, 4);
AT(qx_event, frame, 8);
AT(qx_event, reason, 16);
AT(qx_event, id, 20);
AT(qx_event, engine, 24);
AT(qx_event, fps, 28);
AT(qx_event, rect, 32);

SIZE(qx_frame_info, 40);
AT(qx_frame_info, dirty_valid, 4);
AT(qx_frame_info, number, 8);
AT(qx_frame_info, lost, 16);
AT(qx_frame_info, dirty_rect_count, 24);
AT(qx_frame_info, dirty_ratio, 32);
