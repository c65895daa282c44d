#pragma once

#include <fmt/format.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "common/Singleton.h"

// All that the library has to say goes through these statements to one callback
// of the host:
//
//   QX_LOG_WARN("GetMonitorInfo failed,error:{}", code);
//   QX_LOG_LIMITED(LogLevelWarn, "capture failed");  // where it could repeat per frame
//   QX_TRACE("ScreenCaptureImpl::ShareStop");        // entry and exit of this scope
//
// Formats are fmt's and are checked while compiling. A message without
// arguments is passed as it is, so braces in it stay. No statement throws, and
// one that nobody listens to costs its arguments only.

namespace qx {

enum LogLevel : int {
  LogLevelDebug = 2,  // detail
  LogLevelInfo = 3,   // workflow, settings, traces
  LogLevelWarn = 4,   // a failure that the library survives
  LogLevelError = 5,  // a failure that ends the operation
};

inline constexpr char kLogModule[] = "qx-screen-capture";
inline constexpr std::uint64_t kLogIntervalMs = 5000;

// Where messages go.
class LogInstance : public Singleton<LogInstance> {
 public:
  using Callback = void (*)(int level, const char* file, int line, const char* message);
  using Clock = std::uint64_t (*)() noexcept;

  // Null ends the logging. A message in flight can still reach the old callback.
  void SetCallback(Callback callback) noexcept { m_logCallback = callback; }
  bool HasCallback() const noexcept { return m_logCallback != nullptr; }

  // Hands "[module]: message" to the callback, on the calling thread. An
  // exception of the callback, or a lack of memory, loses the message.
  void Log(const char* module, int level, const char* file, int line, const char* message) noexcept;

  // What limiters and tracers go by: the time of day in milliseconds. The standard
  // library's until the platform's is set.
  void SetClock(Clock clock) noexcept { m_clock = clock; }
  std::uint64_t NowMillis() const noexcept { return m_clock.load()(); }

 private:
  friend class Singleton<LogInstance>;
  friend class DeferredLog;
  LogInstance() noexcept;

  void deliver(int level, const char* file, int line, const char* text) noexcept;

  std::atomic<Callback> m_logCallback = nullptr;
  std::atomic<Clock> m_clock;
};

// While this object lives, messages of its thread wait; then they go to the callback in
// their order. For a scope that holds a lock, and declared before it: the callback may
// wait for a thread of the host that is waiting for that very lock.
class DeferredLog {
 public:
  DeferredLog() noexcept;
  DeferredLog(const DeferredLog&) = delete;
  DeferredLog& operator=(const DeferredLog&) = delete;
  ~DeferredLog();

 private:
  friend class LogInstance;

  struct Message {
    int level;
    const char* file;
    int line;
    std::string text;
  };

  static thread_local DeferredLog* t_innermost;

  std::vector<Message> m_messages;
  DeferredLog* const m_outer;
};

// The body of the log statements below.
void LogMessage(int level, const char* file, int line, const char* message) noexcept;
void LogFormatted(const char* module, int level, const char* file, int line,
                  fmt::string_view format, fmt::format_args args) noexcept;

template <typename First, typename... Rest>
void LogMessage(int level, const char* file, int line, fmt::format_string<First, Rest...> format,
                First&& first, Rest&&... rest) noexcept {
  LogFormatted(kLogModule, level, file, line, format, fmt::make_format_args(first, rest...));
}

// Logs "entry {function}" now and "exit {function}, cost: {milliseconds}" when
// the scope ends, also when an exception ends it. The texts are borrowed.
class FunctionTracer {
 public:
  FunctionTracer(const char* module, const char* function, int level, const char* file,
                 int line) noexcept;
  FunctionTracer(const FunctionTracer&) = delete;
  FunctionTracer& operator=(const FunctionTracer&) = delete;
  ~FunctionTracer();

 private:
  const char* m_module;
  const char* m_function;
  int m_level;
  const char* m_file;
  int m_line;
  std::int64_t m_startTime;  // system milliseconds
};

// Lets one message through per interval. May be shared by threads; two that
// race may both pass.
class LogRateLimiter {
 public:
  explicit constexpr LogRateLimiter(std::uint64_t intervalMs) noexcept : m_interval(intervalMs) {}

  // Also true when the system clock was set back since the last message.
  bool Allow() noexcept;

 private:
  std::atomic<std::uint64_t> m_lastTime = 0;  // system milliseconds
  std::uint64_t m_interval;
};

}  // namespace qx

#define QX_LOG(level, ...) ::qx::LogMessage(level, __FILE__, __LINE__, __VA_ARGS__)
#define QX_LOG_DEBUG(...) QX_LOG(::qx::LogLevelDebug, __VA_ARGS__)
#define QX_LOG_INFO(...) QX_LOG(::qx::LogLevelInfo, __VA_ARGS__)
#define QX_LOG_WARN(...) QX_LOG(::qx::LogLevelWarn, __VA_ARGS__)
#define QX_LOG_ERROR(...) QX_LOG(::qx::LogLevelError, __VA_ARGS__)

// The limiter belongs to the statement: it is shared by all objects and threads
// that come past here.
#define QX_LOG_LIMITED(level, ...)                                        \
  do {                                                                    \
    static ::qx::LogRateLimiter qxStatementLimiter(::qx::kLogIntervalMs); \
    if (qxStatementLimiter.Allow()) {                                     \
      QX_LOG(level, __VA_ARGS__);                                         \
    }                                                                     \
  } while (false)

#define QX_TRACE(function)                                                                    \
  const ::qx::FunctionTracer qxFunctionTracer(::qx::kLogModule, function, ::qx::LogLevelInfo, \
                                              __FILE__, __LINE__)
