// What a host sets, and what belongs to no object.
#include <algorithm>
#include <cstring>
#include <iterator>

#include "tests/fuzz/Host.h"

namespace qx::fuzz {

namespace {

constexpr std::int32_t kCounts[] = {1, 0, 2, 3, -1, INT32_MIN};

// As an array with so many items and none behind them; null when there are none.
template <typename Item>
const Item* dataOf(const std::vector<Item>& items) {
  return items.empty() ? nullptr : items.data();
}

// A title, and whether it can be one.
std::pair<std::string, bool> anyTitle(Bytes& bytes) {
  static const std::pair<std::string, bool> kTitles[] = {{"", true},
                                                         {"Secret", true},
                                                         {"Report - Slides", true},
                                                         {"\xF0\x9F\x98\x80 \xC3\xA9", true},
                                                         {std::string(2047, 'a'), true},
                                                         {std::string(2048, 'a'), false},
                                                         {"\xFF", false},
                                                         {"\xC0\xAF", false},
                                                         {"\xED\xA0\x80", false},
                                                         {"cut \xE2\x82", false}};
  return bytes.OneOf(kTitles);
}

void QX_CALL onAudioError(const char*) {}
void QX_CALL onVolume(std::int32_t) {}

void fillFlags(Bytes& bytes, auto& config) {
  constexpr std::uint64_t kTimes[] = {1000, 0, 1, 50, 300, UINT32_MAX, UINT64_MAX};
  config.keep_alive_interval = bytes.OneOf(kTimes);
  config.moved_window_stable_keep_min_duration = bytes.OneOf(kTimes);
  const int flags = bytes.Next();
  config.dynamic_frame_callback = (flags & 1) != 0;
  config.get_dirty_rect_info = (flags & 2) != 0;
  config.sc_dynamic_check = (flags & 4) != 0;
  config.reserved_flag1 = (flags & 8) != 0;
  config.reserved_int1 = flags;
}

}  // namespace

template <typename Call>
void Host::set(Bytes& bytes, bool valid, Call call) {
  const qx_result result = with(m_captures, m_captures.Any(bytes), call);
  Promise(result == QX_ERROR_OBJECT || result == (valid ? QX_OK : QX_ERROR_ARGUMENT),
          "a setting is taken or refused, and was " + std::to_string(result));
}

void Host::pause(Bytes& bytes) { set(bytes, true, qx_share_pause); }

void Host::resume(Bytes& bytes) { set(bytes, true, qx_share_resume); }

void Host::getRect(Bytes& bytes) {
  qx_capture_rect rect = {};
  const bool none = bytes.Next() == 255;
  set(bytes, !none, [&](qx_screen_capture* capture) {
    return qx_get_capture_rect(capture, none ? nullptr : &rect);
  });
}

// -------------------------------------------------------------------- filters

Host::Rules Host::anyRules(Bytes& bytes, std::size_t count) {
  constexpr std::uint32_t kProcesses[] = {7000, 7100, 7200, Desk::kSecretProcess, 0};
  Rules some;
  for (std::size_t i = 0; i < count; ++i) {
    qx_filter_window_info& rule = some.rules.emplace_back();
    const int kind = bytes.Next();
    rule.type = kind < 240 ? kind % 2 : 77;
    rule.title_rule = kind / 2 % 4;
    rule.reserved = kind / 8 % 2;
    rule.window = m_desk.AnyWindow(bytes);
    rule.process_id = bytes.OneOf(kProcesses);
    const auto& [title, valid] = anyTitle(bytes);
    title.copy(rule.title, sizeof(rule.title));
    some.valid = some.valid && valid;
  }
  return some;
}

// From now on it may be seen in this object's shares, whatever comes.
void Host::showSecret(const qx_screen_capture* capture) {
  const std::lock_guard lock(m_mutex);
  m_showing.insert(capture);
}

void Host::hideSecret(Bytes& bytes) {
  qx_filter_window_info rule = {};
  if (bytes.Flag()) {
    rule.window = m_desk.Secret();
  } else {
    rule.type = 1;
    rule.process_id = Desk::kSecretProcess;
  }
  set(bytes, true, [&](qx_screen_capture* capture) {
    const qx_result result = qx_add_exclude_window(capture, &rule);
    if (result == QX_OK) {
      const std::lock_guard lock(m_mutex);
      m_hiding.insert(capture);
    }
    return result;
  });
}

void Host::changeRule(Bytes& bytes) {
  constexpr decltype(&qx_add_exclude_window) kFunctions[] = {
      &qx_add_exclude_window, &qx_remove_exclude_window, &qx_add_include_window,
      &qx_remove_include_window};
  const auto function = bytes.OneOf(kFunctions);
  const Rules some = anyRules(bytes, bytes.Next() == 255 ? 0 : 1);
  set(bytes, some.valid && !some.rules.empty(), [&](qx_screen_capture* capture) {
    if (function != &qx_add_exclude_window) {
      showSecret(capture);
    }
    return function(capture, dataOf(some.rules));
  });
}

void Host::changeRules(Bytes& bytes) {
  const bool include = bytes.Flag();
  const std::int32_t count = bytes.OneOf(kCounts);
  const bool none = bytes.Next() >= 240;
  const Rules some = anyRules(bytes, none ? 0 : static_cast<std::size_t>(std::max(count, 0)));
  const bool isArray = count == 0 || (count > 0 && !none);
  set(bytes, some.valid && isArray, [&](qx_screen_capture* capture) {
    if (include) {
      showSecret(capture);
    }
    return include ? qx_set_include_windows(capture, dataOf(some.rules), count)
                   : qx_set_exclude_windows(capture, dataOf(some.rules), count);
  });
}

void Host::clearRules(Bytes& bytes) {
  const bool include = bytes.Flag();
  set(bytes, true, [&](qx_screen_capture* capture) {
    showSecret(capture);
    return include ? qx_clear_include_windows(capture) : qx_clear_exclude_windows(capture);
  });
}

// ------------------------------------------------------------------- settings

void Host::switchOn(Bytes& bytes) {
  constexpr decltype(&qx_enable_capture_cursor) kFunctions[] = {
      &qx_enable_capture_cursor,   &qx_enable_active_share_window,
      &qx_enable_prompt_window,    &qx_set_dynamic_check,
      &qx_set_can_use_mag_capture, &qx_enable_filter_window_when_share_desktop};
  const auto function = bytes.OneOf(kFunctions);
  const bool on = bytes.Flag();
  set(bytes, true, [&](qx_screen_capture* capture) {
    if (function == &qx_enable_filter_window_when_share_desktop) {
      showSecret(capture);
    }
    return function(capture, on);
  });
}

void Host::setEngines(Bytes& bytes) {
  const std::int32_t count = bytes.OneOf(kCounts);
  const bool none = bytes.Next() >= 240;
  std::vector<qx_capture_engine_type> types(none ? 0
                                                 : static_cast<std::size_t>(std::max(count, 0)));
  for (qx_capture_engine_type& type : types) {
    const int byte = bytes.Next();
    type = byte < 248 ? byte % 6 : byte - 250;
  }
  const bool valid = (count == 0 || (count > 0 && !none)) &&
                     std::ranges::all_of(types, [](auto type) { return type >= 0 && type <= 5; });
  const bool wgcPriority = bytes.Flag();
  set(bytes, valid, [&](qx_screen_capture* capture) {
    return qx_set_capture_engine_config(capture, dataOf(types), count, wgcPriority);
  });
}

void Host::setPrompt(Bytes& bytes) {
  // None mixes with others to the secret window's.
  constexpr std::int32_t kColors[] = {41, 204, 40, 255, 256, -1, INT32_MIN};
  constexpr std::int32_t kWidths[] = {4, 0, 1, 30, -1, INT32_MAX};
  const qx_prompt_window_info info = {bytes.OneOf(kColors), bytes.OneOf(kColors),
                                      bytes.OneOf(kColors), bytes.OneOf(kWidths)};
  const bool none = bytes.Next() == 255;
  const auto isColor = [](std::int32_t value) { return value >= 0 && value <= 255; };
  const bool valid =
      !none && isColor(info.r) && isColor(info.g) && isColor(info.b) && info.width >= 0;
  set(bytes, valid, [&](qx_screen_capture* capture) {
    return qx_set_prompt_window_info(capture, none ? nullptr : &info);
  });
}

void Host::setLimit(Bytes& bytes) {
  constexpr std::uint64_t kLengths[] = {64,        16, 1, 33, 0, 2, 2880, std::uint64_t{1} << 32,
                                        UINT64_MAX};
  qx_screen_frame_resolution_limit limit = {};
  limit.max_screen_width = bytes.OneOf(kLengths);
  limit.max_screen_height = bytes.OneOf(kLengths);
  const std::uint64_t box = limit.max_screen_width * limit.max_screen_height;
  limit.max_screen_pixels = bytes.Next() < 200 ? box : bytes.OneOf(kLengths);
  limit.aspect_ratio_mode = bytes.Next() < 240 ? 0 : 1;
  const bool valid = limit.aspect_ratio_mode == 0 && (box == 0 || box == limit.max_screen_pixels);
  set(bytes, valid, [&](qx_screen_capture* capture) {
    return qx_set_capture_frame_resolution_limit(capture, &limit);
  });
}

void Host::setFormat(Bytes& bytes) {
  constexpr qx_screen_frame_format kFormats[] = {
      QX_SCREEN_FRAME_FORMAT_I420, QX_SCREEN_FRAME_FORMAT_ARGB, QX_SCREEN_FRAME_FORMAT_I420, 2, -1};
  const qx_screen_frame_format format = bytes.OneOf(kFormats);
  set(bytes, format == 0 || format == 1,
      [&](qx_screen_capture* capture) { return qx_set_screen_frame_format_type(capture, format); });
}

void Host::setConfig(Bytes& bytes) {
  const bool none = bytes.Next() == 255;
  qx_screen_capture_config config = {};
  Promise(qx_screen_capture_config_init(&config) == QX_OK, "a configuration has defaults");
  fillFlags(bytes, config);
  config.sc_new_mouse_capture_way = bytes.Flag();
  set(bytes, !none, [&](qx_screen_capture* capture) {
    return qx_set_screen_capture_config(capture, none ? nullptr : &config);
  });
}

void Host::setLivingConfig(Bytes& bytes) {
  const bool none = bytes.Next() == 255;
  qx_living_screen_capture_config config = {};
  Promise(qx_living_screen_capture_config_init(&config) == QX_OK, "a configuration has defaults");
  fillFlags(bytes, config);
  set(bytes, !none, [&](qx_screen_capture* capture) {
    return qx_set_living_screen_capture_config(capture, none ? nullptr : &config);
  });
}

void Host::setFps(Bytes& bytes) {
  constexpr std::int32_t kRates[] = {15, 30, 1, 5, 0, 31, -1, INT32_MIN, INT32_MAX};
  const std::int32_t fps = bytes.OneOf(kRates);
  set(bytes, fps >= 1 && fps <= 30,
      [&](qx_screen_capture* capture) { return qx_set_capture_fps(capture, fps); });
}

Host::Ids Host::anyIds(Bytes& bytes) {
  static constexpr std::int32_t kIds[3] = {1, -1, 77};
  const std::int32_t count = bytes.OneOf(kCounts);
  const bool none = bytes.Flag();
  return {none ? nullptr : kIds, count, count == 0 || (count > 0 && !none)};
}

void Host::setWindows(Bytes& bytes) {
  const Ids ids = anyIds(bytes);
  set(bytes, ids.valid,
      [&](qx_screen_capture* capture) { return qx_set_windows(capture, ids.data, ids.count); });
}

// Large ones are narrow.
Host::Size Host::anyThumbnailSize(Bytes& bytes) {
  constexpr Size kSizes[] = {{32, 24}, {1, 1},      {200, 7},
                             {7, 200}, {16384, 2},  {0, 24},
                             {32, -1}, {16385, 10}, {INT32_MAX, INT32_MAX},
                             {64, 48}, {2, 16384},  {INT32_MIN, 1}};
  return bytes.OneOf(kSizes);
}

// -------------------------------------------------------------------- process

void Host::onLog(std::int32_t level, const char* file, std::int32_t line, const char* message) {
  Promise(level >= 2 && level <= 5 && line >= 0, "a line of the log has a level");
  Promise(file && message && std::strlen(file) + std::strlen(message) > 0,
          "a line of the log has a text");
}

void Host::callProcess(Bytes& bytes) {
  constexpr const char* kPaths[] = {nullptr, "", "C:\\\xC3\xA4", "\xFF"};
  const auto expect = [](qx_result result, bool valid) {
    Promise(result == (valid ? QX_OK : QX_ERROR_ARGUMENT), "a call of the process");
  };
  const int what = bytes.Next() % 9;
  const bool some = bytes.Flag();
  switch (what) {
    case 0:
      return Promise(std::strlen(qx_version()) > 0 && qx_abi_version() == QX_ABI_VERSION,
                     "the library has a version");
    case 1:
      return expect(qx_register_log_callback(some ? &onLog : nullptr), some);
    case 2:
      return expect(qx_unregister_log_callback(), true);
    case 3:
      return expect(qx_register_audio_error_callback(some ? &onAudioError : nullptr), some);
    case 4:
      return expect(qx_register_audio_volume_callback(some ? &onVolume : nullptr), some);
    case 5: {
      const int index = bytes.Next() % 4;
      return expect(qx_set_audio_capture_debug_path(kPaths[index]), index == 1 || index == 2);
    }
    case 6:
      return expect(qx_start_audio_capture(bytes.Next()), true);
    case 7:
      return expect(qx_stop_audio_capture(), true);
    default:
      expect(qx_screen_capture_config_init(nullptr), false);
      return expect(qx_living_screen_capture_config_init(nullptr), false);
  }
}

}  // namespace qx::fuzz
