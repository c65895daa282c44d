// The records and codes of the C interface are those of the C++ one under other names, and
// pass through it as they are: only windows carry text, which is converted.
#include <qx-screen-capture-c.h>
#include <qx-screen-capture.h>

#include <cstddef>
#include <type_traits>

namespace {

#define QX_RECORD(c, cpp)                                              \
  static_assert(sizeof(c) == sizeof(IScreenCapture::cpp) &&            \
                    alignof(c) == alignof(IScreenCapture::cpp) &&      \
                    std::is_trivially_copyable_v<IScreenCapture::cpp>, \
                #c)
#define QX_FIELD(c, cField, cpp, cppField)                                        \
  static_assert(offsetof(c, cField) == offsetof(IScreenCapture::cpp, cppField) && \
                    sizeof(c::cField) == sizeof(IScreenCapture::cpp::cppField),   \
                #c "::" #cField)
#define QX_CODE(c, cpp) static_assert(int{c} == int{IScreenCapture::cpp}, #c)

QX_RECORD(qx_desktop_info, DesktopInfo);
QX_FIELD(qx_desktop_info, id, DesktopInfo, id);
QX_FIELD(qx_desktop_info, handle, DesktopInfo, handle);
QX_FIELD(qx_desktop_info, is_primary, DesktopInfo, isPrimary);
QX_FIELD(qx_desktop_info, x, DesktopInfo, x);
QX_FIELD(qx_desktop_info, y, DesktopInfo, y);
QX_FIELD(qx_desktop_info, width, DesktopInfo, width);
QX_FIELD(qx_desktop_info, height, DesktopInfo, height);

QX_RECORD(qx_window_info, WindowInfo);
QX_FIELD(qx_window_info, id, WindowInfo, id);
QX_FIELD(qx_window_info, handle, WindowInfo, handle);
QX_FIELD(qx_window_info, process_id, WindowInfo, processId);
QX_FIELD(qx_window_info, process_name, WindowInfo, processName);
QX_FIELD(qx_window_info, title, WindowInfo, title);
QX_FIELD(qx_window_info, x, WindowInfo, x);
QX_FIELD(qx_window_info, y, WindowInfo, y);
QX_FIELD(qx_window_info, width, WindowInfo, width);
QX_FIELD(qx_window_info, height, WindowInfo, height);

QX_RECORD(qx_capture_rect, CaptureRect);
QX_FIELD(qx_capture_rect, x, CaptureRect, x);
QX_FIELD(qx_capture_rect, y, CaptureRect, y);
QX_FIELD(qx_capture_rect, width, CaptureRect, width);
QX_FIELD(qx_capture_rect, height, CaptureRect, height);

QX_RECORD(qx_prompt_window_info, PromptWindowInfo);
QX_FIELD(qx_prompt_window_info, r, PromptWindowInfo, r);
QX_FIELD(qx_prompt_window_info, g, PromptWindowInfo, g);
QX_FIELD(qx_prompt_window_info, b, PromptWindowInfo, b);
QX_FIELD(qx_prompt_window_info, width, PromptWindowInfo, width);

QX_RECORD(qx_screen_frame_resolution_limit, ScreenFrameResolutionLimit);
QX_FIELD(qx_screen_frame_resolution_limit, aspect_ratio_mode, ScreenFrameResolutionLimit,
         aspectRatioMode);
QX_FIELD(qx_screen_frame_resolution_limit, max_screen_width, ScreenFrameResolutionLimit,
         maxScreenWidth);
QX_FIELD(qx_screen_frame_resolution_limit, max_screen_height, ScreenFrameResolutionLimit,
         maxScreenHeight);
QX_FIELD(qx_screen_frame_resolution_limit, max_screen_pixels, ScreenFrameResolutionLimit,
         maxScreenPixels);

QX_RECORD(qx_filter_window_info, FilterWindowInfo);
QX_FIELD(qx_filter_window_info, type, FilterWindowInfo, type);
QX_FIELD(qx_filter_window_info, title_rule, FilterWindowInfo, titleRule);
QX_FIELD(qx_filter_window_info, window, FilterWindowInfo, window);
QX_FIELD(qx_filter_window_info, process_id, FilterWindowInfo, processId);
QX_FIELD(qx_filter_window_info, title, FilterWindowInfo, title);
QX_FIELD(qx_filter_window_info, reserved, FilterWindowInfo, reserved);

QX_RECORD(qx_screen_capture_config, ScreenCaptureConfig);
QX_FIELD(qx_screen_capture_config, keep_alive_interval, ScreenCaptureConfig, KeepAliveInterval);
QX_FIELD(qx_screen_capture_config, moved_window_stable_keep_min_duration, ScreenCaptureConfig,
         MovedWindowStableKeepMinDuration);
QX_FIELD(qx_screen_capture_config, dynamic_frame_callback, ScreenCaptureConfig,
         DynamicFrameCallback);
QX_FIELD(qx_screen_capture_config, reserved_int1, ScreenCaptureConfig, reservedInt1);
QX_FIELD(qx_screen_capture_config, get_dirty_rect_info, ScreenCaptureConfig, GetDirtyRectInfo);
QX_FIELD(qx_screen_capture_config, reserved_flag1, ScreenCaptureConfig, reservedFlag1);
QX_FIELD(qx_screen_capture_config, sc_dynamic_check, ScreenCaptureConfig, scDynamicCheck);
QX_FIELD(qx_screen_capture_config, reserved_flag2, ScreenCaptureConfig, reservedFlag2);
QX_FIELD(qx_screen_capture_config, reserved_flag3, ScreenCaptureConfig, reservedFlag3);
QX_FIELD(qx_screen_capture_config, reserved_flag4, ScreenCaptureConfig, reservedFlag4);
QX_FIELD(qx_screen_capture_config, reserved_flag5, ScreenCaptureConfig, reservedFlag5);
QX_FIELD(qx_screen_capture_config, reserved_flag6, ScreenCaptureConfig, reservedFlag6);
QX_FIELD(qx_screen_capture_config, reserved_flag7, ScreenCaptureConfig, reservedFlag7);
QX_FIELD(qx_screen_capture_config, reserved_int2, ScreenCaptureConfig, reservedInt2);
QX_FIELD(qx_screen_capture_config, reserved_flag8, ScreenCaptureConfig, reservedFlag8);
QX_FIELD(qx_screen_capture_config, reserved_int3, ScreenCaptureConfig, reservedInt3);
QX_FIELD(qx_screen_capture_config, reserved_int4, ScreenCaptureConfig, reservedInt4);
QX_FIELD(qx_screen_capture_config, reserved_flag9, ScreenCaptureConfig, reservedFlag9);
QX_FIELD(qx_screen_capture_config, reserved_flag10, ScreenCaptureConfig, reservedFlag10);
QX_FIELD(qx_screen_capture_config, sc_new_mouse_capture_way, ScreenCaptureConfig,
         scNewMouseCaptureWay);

QX_RECORD(qx_living_screen_capture_config, LivingScreenCaptureConfig);
QX_FIELD(qx_living_screen_capture_config, keep_alive_interval, LivingScreenCaptureConfig,
         KeepAliveInterval);
QX_FIELD(qx_living_screen_capture_config, moved_window_stable_keep_min_duration,
         LivingScreenCaptureConfig, MovedWindowStableKeepMinDuration);
QX_FIELD(qx_living_screen_capture_config, dynamic_frame_callback, LivingScreenCaptureConfig,
         DynamicFrameCallback);
QX_FIELD(qx_living_screen_capture_config, reserved_int1, LivingScreenCaptureConfig, reservedInt1);
QX_FIELD(qx_living_screen_capture_config, get_dirty_rect_info, LivingScreenCaptureConfig,
         GetDirtyRectInfo);
QX_FIELD(qx_living_screen_capture_config, reserved_flag1, LivingScreenCaptureConfig, reservedFlag1);
QX_FIELD(qx_living_screen_capture_config, sc_dynamic_check, LivingScreenCaptureConfig,
         scDynamicCheck);
QX_FIELD(qx_living_screen_capture_config, reserved_flag2, LivingScreenCaptureConfig, reservedFlag2);
QX_FIELD(qx_living_screen_capture_config, reserved_flag3, LivingScreenCaptureConfig, reservedFlag3);
QX_FIELD(qx_living_screen_capture_config, reserved_flag4, LivingScreenCaptureConfig, reservedFlag4);
QX_FIELD(qx_living_screen_capture_config, reserved_flag5, LivingScreenCaptureConfig, reservedFlag5);
QX_FIELD(qx_living_screen_capture_config, reserved_flag6, LivingScreenCaptureConfig, reservedFlag6);
QX_FIELD(qx_living_screen_capture_config, reserved_flag7, LivingScreenCaptureConfig, reservedFlag7);
QX_FIELD(qx_living_screen_capture_config, reserved_int2, LivingScreenCaptureConfig, reservedInt2);
QX_FIELD(qx_living_screen_capture_config, reserved_flag8, LivingScreenCaptureConfig, reservedFlag8);
QX_FIELD(qx_living_screen_capture_config, reserved_int3, LivingScreenCaptureConfig, reservedInt3);
QX_FIELD(qx_living_screen_capture_config, reserved_int4, LivingScreenCaptureConfig, reservedInt4);

QX_RECORD(qx_screen_frame_data, ScreenFrameData);
QX_FIELD(qx_screen_frame_data, format, ScreenFrameData, format);
QX_FIELD(qx_screen_frame_data, timestamp, ScreenFrameData, timestamp);
QX_FIELD(qx_screen_frame_data, reserved, ScreenFrameData, reserved);
QX_FIELD(qx_screen_frame_data, width, ScreenFrameData, width);
QX_FIELD(qx_screen_frame_data, height, ScreenFrameData, height);
QX_FIELD(qx_screen_frame_data, raw_width, ScreenFrameData, raw_width);
QX_FIELD(qx_screen_frame_data, raw_height, ScreenFrameData, raw_height);
QX_FIELD(qx_screen_frame_data, stride, ScreenFrameData, stride);
QX_FIELD(qx_screen_frame_data, data, ScreenFrameData, data);
QX_FIELD(qx_screen_frame_data, stride_y, ScreenFrameData, strideY);
QX_FIELD(qx_screen_frame_data, stride_u, ScreenFrameData, strideU);
QX_FIELD(qx_screen_frame_data, stride_v, ScreenFrameData, strideV);
QX_FIELD(qx_screen_frame_data, data_y, ScreenFrameData, dataY);
QX_FIELD(qx_screen_frame_data, data_u, ScreenFrameData, dataU);
QX_FIELD(qx_screen_frame_data, data_v, ScreenFrameData, dataV);

QX_RECORD(qx_screen_frame_statistics, ScreenFrameStatistics);
QX_FIELD(qx_screen_frame_statistics, has_fps, ScreenFrameStatistics, hasFps);
QX_FIELD(qx_screen_frame_statistics, fps, ScreenFrameStatistics, fps);
QX_FIELD(qx_screen_frame_statistics, reserved_flag, ScreenFrameStatistics, reservedFlag);
QX_FIELD(qx_screen_frame_statistics, reserved_a, ScreenFrameStatistics, reservedA);
QX_FIELD(qx_screen_frame_statistics, reserved_b, ScreenFrameStatistics, reservedB);

QX_CODE(QX_SHARE_ERROR_NONE, ShareErrorNone);
QX_CODE(QX_SHARE_ERROR_TASK_RUNNING, ShareErrorTaskRunning);
QX_CODE(QX_SHARE_ERROR_NULL_LISTENER, ShareErrorNullListener);
QX_CODE(QX_SHARE_ERROR_TARGET_MISSING, ShareErrorTargetMissing);
QX_CODE(QX_SHARE_ERROR_START_FAILED, ShareErrorStartFailed);
QX_CODE(QX_PAUSE_REASON_CAPTURE_FAILED, PauseReasonCaptureFailed);
QX_CODE(QX_PAUSE_REASON_INVOKED, PauseReasonInvoked);
QX_CODE(QX_PAUSE_REASON_WINDOW_HIDDEN, PauseReasonWindowHidden);
QX_CODE(QX_PAUSE_REASON_WINDOW_MOVED, PauseReasonWindowMoved);
QX_CODE(QX_PAUSE_REASON_OTHER_VIRTUAL_DESKTOP, PauseReasonOtherVirtualDesktop);
QX_CODE(QX_PAUSE_REASON_FILTER_FAILED, PauseReasonFilterFailed);
QX_CODE(QX_CAPTURE_ENGINE_NONE, CaptureEngineNone);
QX_CODE(QX_CAPTURE_ENGINE_MAG, CaptureEngineMag);
QX_CODE(QX_CAPTURE_ENGINE_DXGI, CaptureEngineDXGI);
QX_CODE(QX_CAPTURE_ENGINE_WGC, CaptureEngineWGC);
QX_CODE(QX_CAPTURE_ENGINE_GDI_BIT_BLT, CaptureEngineGDIBitBlt);
QX_CODE(QX_CAPTURE_ENGINE_GDI_PRINT_WINDOW, CaptureEngineGDIPrintWindow);
QX_CODE(QX_SCREEN_FRAME_FORMAT_ARGB, ScreenFrameFormatARGB);
QX_CODE(QX_SCREEN_FRAME_FORMAT_I420, ScreenFrameFormatI420);

#undef QX_RECORD
#undef QX_FIELD
#undef QX_CODE

}  // namespace
