// What a host sets, and what belongs to no object.
#include <cstring>

#include "tests/fuzz/Host.h"

namespace qx::fuzz {

namespace {

constexpr std::int32_t kCounts[] = {1, 0, 2, 3, -1, INT32_MIN};
constexpr std::int32_t kNumbers[] = {1, 0, 2, 15, 30, 31, 204, 255, 256, -1, INT32_MIN, INT32_MAX};
constexpr std::uint64_t kLengths[] = {64,        16, 1, 33, 0, 2, 2880, std::uint64_t{1} << 32,
                                      UINT64_MAX};
constexpr std::uint64_t kTimes[] = {1000, 0, 1, 50, 300, UINT32_MAX, UINT64_MAX};

// As an array with so many items and none behind them; null when there are none.
template <typename Item>
const Item* dataOf(const std::vector<Item>& items) {
  return items.empty() ? nullptr : items.data();
}

// So many items as a host can have that says `count`.
template <typename Item>
std::vector<Item> itemsFor(std::int32_t count, Bytes& bytes) {
  const bool none = count < 0 || bytes.Next() >= 240;
  return std::vector<Item>(none ? 0 : static_cast<std::size_t>(count));
}

const std::string& anyTitle(Bytes& bytes) {
  static const std::string kTitles[] = {"",
                                        "Secret",
                                        "Report - Slides",
                                        "\xF0\x9F\x98\x80 \xC3\xA9",
                                        std::string(2047, 'a'),
                                        std::string(2048, 'a'),
                                        "\xFF",
                                        "\xC0\xAF",
                                        "\xED\xA0\x80",
                                        "cut \xE2\x82"};
  return bytes.OneOf(kTitles);
}

void fillRule(qx_filter_window_info& rule, Desk& desk, Bytes& bytes) {
  constexpr std::uint32_t kProcesses[] = {7000, 7100, 7200, Desk::kSecretProcess, 0};
  const int kind = bytes.Next();
  rule.type = kind < 240 ? kind % 2 : 77;
  rule.title_rule = kind / 2 % 4;
  rule.window = desk.AnyWindow(bytes);
  rule.process_id = bytes.OneOf(kProcesses);
  const std::string& title = anyTitle(bytes);
  title.copy(rule.title, sizeof(rule.title));
}

void fillConfig(Bytes& bytes, auto& config) {
  config.keep_alive_interval = bytes.OneOf(kTimes);
  config.moved_window_stable_keep_min_duration = bytes.OneOf(kTimes);
  const int flags = bytes.Next();
  config.dynamic_frame_callback = (flags & 1) != 0;
  config.get_dirty_rect_info = (flags & 2) != 0;
  config.sc_dynamic_check = (flags & 4) != 0;
  config.reserved_flag1 = (flags & 8) != 0;
  config.reserved_int1 = flags;
}

qx_result setEngines(qx_screen_capture* capture, Bytes& bytes) {
  const std::int32_t count = bytes.OneOf(kCounts);
  auto types = itemsFor<qx_capture_engine_type>(count, bytes);
  for (qx_capture_engine_type& type : types) {
    const int byte = bytes.Next();
    type = byte < 248 ? byte % 6 : byte - 250;
  }
  return qx_set_capture_engine_config(capture, dataOf(types), count, bytes.Flag());
}

qx_result setLimit(qx_screen_capture* capture, Bytes& bytes) {
  qx_screen_frame_resolution_limit limit = {};
  limit.max_screen_width = bytes.OneOf(kLengths);
  limit.max_screen_height = bytes.OneOf(kLengths);
  const int byte = bytes.Next();
  limit.max_screen_pixels =
      byte < 200 ? limit.max_screen_width * limit.max_screen_height : bytes.OneOf(kLengths);
  limit.aspect_ratio_mode = byte % 16 == 15 ? 1 : 0;
  return qx_set_capture_frame_resolution_limit(capture, byte == 255 ? nullptr : &limit);
}

qx_result setConfig(qx_screen_capture* capture, Bytes& bytes) {
  qx_screen_capture_config config = {};
  Promise(qx_screen_capture_config_init(&config) == QX_OK, "a configuration has defaults");
  fillConfig(bytes, config);
  config.sc_new_mouse_capture_way = bytes.Flag();
  return qx_set_screen_capture_config(capture, bytes.Next() == 255 ? nullptr : &config);
}

qx_result setLivingConfig(qx_screen_capture* capture, Bytes& bytes) {
  qx_living_screen_capture_config config = {};
  Promise(qx_living_screen_capture_config_init(&config) == QX_OK, "a configuration has defaults");
  fillConfig(bytes, config);
  return qx_set_living_screen_capture_config(capture, bytes.Next() == 255 ? nullptr : &config);
}

qx_result setAny(qx_screen_capture* capture, Bytes& bytes) {
  switch (bytes.Next() % 16) {
    case 0:
      return qx_share_pause(capture);
    case 1:
      return qx_share_resume(capture);
    case 2:
      return qx_enable_capture_cursor(capture, bytes.Flag());
    case 3:
      return qx_enable_active_share_window(capture, bytes.Flag());
    case 4:
      return qx_enable_prompt_window(capture, bytes.Flag());
    case 5:
      return qx_set_dynamic_check(capture, bytes.Flag());
    case 6:
      return qx_set_can_use_mag_capture(capture, bytes.Flag());
    case 7:
      return setEngines(capture, bytes);
    case 8:
      return setLimit(capture, bytes);
    case 9:
      return setConfig(capture, bytes);
    case 10:
      return setLivingConfig(capture, bytes);
    case 11:
      return qx_set_capture_fps(capture, bytes.OneOf(kNumbers));
    case 12: {
      // None mixes with others to the secret window's colour.
      const std::int32_t shade = bytes.OneOf(kNumbers);
      const qx_prompt_window_info info = {shade, 204, shade, bytes.OneOf(kNumbers)};
      return qx_set_prompt_window_info(capture, bytes.Next() == 255 ? nullptr : &info);
    }
    case 13: {
      qx_capture_rect rect = {};
      return qx_get_capture_rect(capture, bytes.Next() == 255 ? nullptr : &rect);
    }
    case 14: {
      const std::int32_t count = bytes.OneOf(kCounts);
      return qx_set_windows(capture, dataOf(itemsFor<std::int32_t>(count, bytes)), count);
    }
    default:
      return qx_set_screen_frame_format_type(capture, bytes.Next() % 4 - 1);
  }
}

}  // namespace

template <typename Call>
void Host::set(Bytes& bytes, Call call) {
  const qx_result result = with(m_captures, m_captures.Any(bytes), call);
  Promise(result == QX_OK || result == QX_ERROR_OBJECT || result == QX_ERROR_ARGUMENT ||
              result == QX_ERROR_FAILED,
          "a setting is taken or refused, and was " + std::to_string(result));
}

void Host::changeSetting(Bytes& bytes) {
  set(bytes, [&](qx_screen_capture* capture) { return setAny(capture, bytes); });
}

void Host::hideSecret(Bytes& bytes) {
  qx_filter_window_info rule = {};
  if (bytes.Flag()) {
    rule.window = m_desk.Secret();
  } else {
    rule.type = 1;
    rule.process_id = Desk::kSecretProcess;
  }
  set(bytes, [&](qx_screen_capture* capture) {
    const qx_result result = qx_add_exclude_window(capture, &rule);
    Promise(result != QX_ERROR_ARGUMENT, "a window can be left out");
    if (result == QX_OK) {
      const std::lock_guard lock(m_mutex);
      m_hiding.insert(capture);
    }
    return result;
  });
}

void Host::changeRules(Bytes& bytes) {
  const int kind = bytes.Next() % 10;
  const std::int32_t count = kind < 5 ? 1 : bytes.OneOf(kCounts);
  auto rules = itemsFor<qx_filter_window_info>(count, bytes);
  for (qx_filter_window_info& rule : rules) {
    fillRule(rule, m_desk, bytes);
  }
  const qx_filter_window_info* const some = dataOf(rules);
  set(bytes, [&](qx_screen_capture* capture) {
    if (kind == 0) {
      return qx_add_exclude_window(capture, some);
    }
    if (kind == 5) {
      return qx_set_exclude_windows(capture, some, count);
    }
    // From now on the secret window may be seen in this object's shares, whatever comes.
    {
      const std::lock_guard lock(m_mutex);
      m_showing.insert(capture);
    }
    switch (kind) {
      case 1:
        return qx_remove_exclude_window(capture, some);
      case 2:
        return qx_add_include_window(capture, some);
      case 3:
        return qx_remove_include_window(capture, some);
      case 6:
        return qx_set_include_windows(capture, some, count);
      case 7:
        return qx_clear_exclude_windows(capture);
      case 8:
        return qx_clear_include_windows(capture);
      default:
        return qx_enable_filter_window_when_share_desktop(capture, bytes.Flag());
    }
  });
}

void Host::onLog(std::int32_t level, const char* file, std::int32_t line, const char* message) {
  Promise(level >= 2 && level <= 5 && line >= 0, "a line of the log has a level");
  Promise(std::strlen(file) + std::strlen(message) > 0, "a line of the log has a text");
}

void Host::callProcess(Bytes& bytes) {
  constexpr const char* kPaths[] = {nullptr, "", "C:\\\xC3\xA4", "\xFF"};
  const bool some = bytes.Flag();
  qx_result result = QX_OK;
  switch (bytes.Next() % 4) {
    case 0:
      result = qx_register_log_callback(some ? &onLog : nullptr);
      break;
    case 1:
      result = qx_unregister_log_callback();
      break;
    case 2:
      result = qx_set_audio_capture_debug_path(bytes.OneOf(kPaths));
      break;
    default:
      result = some ? qx_start_audio_capture(bytes.Next()) : qx_stop_audio_capture();
  }
  Promise(result == QX_OK || result == QX_ERROR_ARGUMENT, "a call of the process");
}

}  // namespace qx::fuzz
