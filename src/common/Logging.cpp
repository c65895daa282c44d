#include "common/Logging.h"

#include <chrono>
#include <iterator>
#include <utility>

namespace qx {

namespace {

std::uint64_t StandardMillis() noexcept {
  using std::chrono::milliseconds;
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(std::chrono::duration_cast<milliseconds>(now).count());
}

}  // namespace

LogInstance::LogInstance() noexcept : m_clock(&StandardMillis) {}

void LogInstance::Log(const char* module, int level, const char* file, int line,
                      const char* message) noexcept {
  if (!HasCallback()) {
    return;
  }
  try {
    fmt::memory_buffer text;
    fmt::format_to(std::back_inserter(text), "[{}]: {}", module, message);
    text.push_back('\0');
    deliver(level, file, line, text.data());
  } catch (...) {
    // A message that can't be delivered is no reason to end a share.
  }
}

void LogInstance::deliver(int level, const char* file, int line, const char* text) noexcept {
  try {
    if (DeferredLog* const deferred = DeferredLog::t_innermost) {
      deferred->m_messages.push_back({level, file, line, text});
    } else if (const Callback callback = m_logCallback) {
      callback(level, file, line, text);
    }
  } catch (...) {
    // As above.
  }
}

thread_local DeferredLog* DeferredLog::t_innermost = nullptr;

DeferredLog::DeferredLog() noexcept : m_outer(std::exchange(t_innermost, this)) {}

DeferredLog::~DeferredLog() {
  t_innermost = m_outer;
  for (const Message& message : m_messages) {
    LogInstance::Instance().deliver(message.level, message.file, message.line,
                                    message.text.c_str());
  }
}

void LogMessage(int level, const char* file, int line, const char* message) noexcept {
  LogInstance::Instance().Log(kLogModule, level, file, line, message);
}

void LogFormatted(const char* module, int level, const char* file, int line,
                  fmt::string_view format, fmt::format_args args) noexcept {
  if (!LogInstance::Instance().HasCallback()) {
    return;
  }
  try {
    fmt::memory_buffer text;
    fmt::vformat_to(std::back_inserter(text), format, args);
    text.push_back('\0');
    LogInstance::Instance().Log(module, level, file, line, text.data());
  } catch (...) {
    // As above.
  }
}

FunctionTracer::FunctionTracer(const char* module, const char* function, int level,
                               const char* file, int line) noexcept
    : m_module(module),
      m_function(function),
      m_level(level),
      m_file(file),
      m_line(line),
      m_startTime(static_cast<std::int64_t>(LogInstance::Instance().NowMillis())) {
  LogFormatted(m_module, m_level, m_file, m_line, "entry {}", fmt::make_format_args(m_function));
}

FunctionTracer::~FunctionTracer() {
  const std::int64_t cost =
      static_cast<std::int64_t>(LogInstance::Instance().NowMillis()) - m_startTime;
  LogFormatted(m_module, m_level, m_file, m_line, "exit {}, cost: {}",
               fmt::make_format_args(m_function, cost));
}

bool LogRateLimiter::Allow() noexcept {
  const std::uint64_t now = LogInstance::Instance().NowMillis();
  // Unsigned, so that a clock that was set back gives a huge difference.
  if (now - m_lastTime.load(std::memory_order_relaxed) < m_interval) {
    return false;
  }
  m_lastTime.store(now, std::memory_order_relaxed);
  return true;
}

}  // namespace qx
