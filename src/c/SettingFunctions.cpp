// The settings of an object.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <iterator>

#include "c/Closed.h"
#include "common/Utf8.h"

namespace qx::c {

namespace {

using Library = IScreenCapture;

constexpr int kMaxFps = 30;
constexpr int kMaxColor = 255;

bool IsRule(const qx_filter_window_info* rule) {
  if (!rule) {
    return false;
  }
  const auto* const end = std::find(std::begin(rule->title), std::end(rule->title), '\0');
  return end != std::end(rule->title) && IsUtf8({rule->title, end});
}

bool AreRules(const qx_filter_window_info* rules, std::int32_t count) {
  return IsArray(rules, count) &&
         std::all_of(rules, rules + count, [](const auto& rule) { return IsRule(&rule); });
}

bool IsEngineType(qx_capture_engine_type type) {
  return type >= QX_CAPTURE_ENGINE_NONE && type <= QX_CAPTURE_ENGINE_GDI_PRINT_WINDOW;
}

bool AreEngineTypes(const qx_capture_engine_type* types, std::int32_t count) {
  return IsArray(types, count) && std::all_of(types, types + count, IsEngineType);
}

bool IsPromptInfo(const qx_prompt_window_info* info) {
  const auto isColor = [](std::int32_t value) { return value >= 0 && value <= kMaxColor; };
  return info && isColor(info->r) && isColor(info->g) && isColor(info->b) && info->width >= 0;
}

// With another one no frames would come.
bool IsLimit(const qx_screen_frame_resolution_limit* limit) {
  if (!limit || limit->aspect_ratio_mode != 0) {
    return false;
  }
  const std::uint64_t box = limit->max_screen_width * limit->max_screen_height;
  return box == 0 || box == limit->max_screen_pixels;
}

// The records have one layout: RecordLayout.cpp.
const Library::FilterWindowInfo* AsLibrary(const qx_filter_window_info* rules) {
  return reinterpret_cast<const Library::FilterWindowInfo*>(rules);
}

using AddRule = void (Library::*)(const Library::FilterWindowInfo&);
qx_result WithRule(qx_screen_capture* capture, const qx_filter_window_info* rule,
                   AddRule operation) noexcept {
  return WithLibrary(capture, IsRule(rule),
                     [&](Library& library) { (library.*operation)(*AsLibrary(rule)); });
}

template <typename Record, typename LibraryRecord>
qx_result FillDefaults(Record* record) noexcept {
  if (!record) {
    return QX_ERROR_ARGUMENT;
  }
  *record = std::bit_cast<Record>(LibraryRecord());
  return QX_OK;
}

}  // namespace

}  // namespace qx::c

using namespace qx::c;

qx_result qx_enable_filter_window_when_share_desktop(qx_screen_capture* capture, bool enable) {
  return WithLibrary(capture, true,
                     [&](Library& library) { library.EnableFilterWindowWhenShareDesktop(enable); });
}

qx_result qx_set_exclude_windows(qx_screen_capture* capture, const qx_filter_window_info* windows,
                                 int32_t count) {
  return WithLibrary(capture, AreRules(windows, count), [&](Library& library) {
    library.SetExcludeWindows(AsLibrary(windows), count);
  });
}

qx_result qx_add_exclude_window(qx_screen_capture* capture, const qx_filter_window_info* window) {
  return WithRule(capture, window, &Library::AddExcludeWindow);
}

qx_result qx_remove_exclude_window(qx_screen_capture* capture,
                                   const qx_filter_window_info* window) {
  return WithRule(capture, window, &Library::RemoveExcludeWindow);
}

qx_result qx_clear_exclude_windows(qx_screen_capture* capture) {
  return WithLibrary(capture, true, [](Library& library) { library.ClearExcludeWindows(); });
}

qx_result qx_set_include_windows(qx_screen_capture* capture, const qx_filter_window_info* windows,
                                 int32_t count) {
  return WithLibrary(capture, AreRules(windows, count), [&](Library& library) {
    library.SetIncludeWindows(AsLibrary(windows), count);
  });
}

qx_result qx_add_include_window(qx_screen_capture* capture, const qx_filter_window_info* window) {
  return WithRule(capture, window, &Library::AddIncludeWindow);
}

qx_result qx_remove_include_window(qx_screen_capture* capture,
                                   const qx_filter_window_info* window) {
  return WithRule(capture, window, &Library::RemoveIncludeWindow);
}

qx_result qx_clear_include_windows(qx_screen_capture* capture) {
  return WithLibrary(capture, true, [](Library& library) { library.ClearIncludeWindows(); });
}

qx_result qx_set_can_use_mag_capture(qx_screen_capture* capture, bool can_use_mag) {
  return WithLibrary(capture, true,
                     [&](Library& library) { library.SetCanUseMagCapture(can_use_mag); });
}

qx_result qx_enable_capture_cursor(qx_screen_capture* capture, bool enable) {
  return WithLibrary(capture, true, [&](Library& library) { library.EnableCaptureCursor(enable); });
}

qx_result qx_enable_active_share_window(qx_screen_capture* capture, bool enable) {
  return WithLibrary(capture, true,
                     [&](Library& library) { library.EnableActiveShareWindow(enable); });
}

qx_result qx_enable_prompt_window(qx_screen_capture* capture, bool enable) {
  return WithLibrary(capture, true, [&](Library& library) { library.EnablePromptWindow(enable); });
}

qx_result qx_set_dynamic_check(qx_screen_capture* capture, bool check) {
  return WithLibrary(capture, true, [&](Library& library) { library.SetDynamicCheck(check); });
}

qx_result qx_set_capture_engine_config(qx_screen_capture* capture,
                                       const qx_capture_engine_type* types, int32_t count,
                                       bool wgc_priority) {
  return WithLibrary(capture, AreEngineTypes(types, count), [&](Library& library) {
    library.SetCaptureEngineConfig(reinterpret_cast<const Library::CaptureEngineType*>(types),
                                   count, wgc_priority);
  });
}

qx_result qx_set_prompt_window_info(qx_screen_capture* capture, const qx_prompt_window_info* info) {
  return WithLibrary(capture, IsPromptInfo(info), [&](Library& library) {
    const auto copy = std::bit_cast<Library::PromptWindowInfo>(*info);
    library.SetPromptWindowInfo(&copy);
  });
}

qx_result qx_set_capture_frame_resolution_limit(qx_screen_capture* capture,
                                                const qx_screen_frame_resolution_limit* limit) {
  return WithLibrary(capture, IsLimit(limit), [&](Library& library) {
    library.SetCaptureFrameResolutionLimit(
        std::bit_cast<Library::ScreenFrameResolutionLimit>(*limit));
  });
}

qx_result qx_set_screen_frame_format_type(qx_screen_capture* capture, qx_screen_frame_format type) {
  const bool valid = type == QX_SCREEN_FRAME_FORMAT_ARGB || type == QX_SCREEN_FRAME_FORMAT_I420;
  return WithLibrary(capture, valid, [&](Library& library) {
    library.SetScreenFrameFormatType(static_cast<Library::ScreenFrameFormat>(type));
  });
}

qx_result qx_screen_capture_config_init(qx_screen_capture_config* config) {
  return FillDefaults<qx_screen_capture_config, Library::ScreenCaptureConfig>(config);
}

qx_result qx_living_screen_capture_config_init(qx_living_screen_capture_config* config) {
  return FillDefaults<qx_living_screen_capture_config, Library::LivingScreenCaptureConfig>(config);
}

qx_result qx_set_screen_capture_config(qx_screen_capture* capture,
                                       const qx_screen_capture_config* config) {
  return WithLibrary(capture, config != nullptr, [&](Library& library) {
    library.SetScreenCaptureConfig(std::bit_cast<Library::ScreenCaptureConfig>(*config));
  });
}

qx_result qx_set_living_screen_capture_config(qx_screen_capture* capture,
                                              const qx_living_screen_capture_config* config) {
  return WithLibrary(capture, config != nullptr, [&](Library& library) {
    library.SetLivingScreenCaptureConfig(
        std::bit_cast<Library::LivingScreenCaptureConfig>(*config));
  });
}

qx_result qx_set_capture_fps(qx_screen_capture* capture, int32_t fps) {
  return WithLibrary(capture, fps >= 1 && fps <= kMaxFps,
                     [&](Library& library) { library.SetCaptureFPS(fps); });
}

qx_result qx_set_windows(qx_screen_capture* capture, const int32_t* ids, int32_t count) {
  return WithLibrary(capture, IsArray(ids, count), [](Library&) {});
}
