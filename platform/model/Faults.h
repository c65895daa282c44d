// Counting, failing and interrupting the calls of the stand-in's functions.
//
// Every adapter function begins with
//
//   VWIN_CALL(BitBlt);                       // counts; `fault` is set when this call is to fail
//   if (fault) return SetLastError(fault->win32), FALSE;
//
// and one that cannot fail on Windows with VWIN_CALL_INFALLIBLE(GetLastError), or with
// VWIN_CALL_WAITING(ShowWindow) when it can wait for another thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vwin {

// What a call that was chosen to fail has to say.
struct Fault {
  std::uint32_t win32;   // for SetLastError
  std::int32_t hresult;  // for functions that answer with an HRESULT
  // Not 0: the call raises a structured exception with this code instead.
  std::uint32_t exception = 0;
};

enum class Repeat { kOnce, kOnward };

// One function of the stand-in. Constant-initialised; registers itself at its
// first call.
class CallSite {
 public:
  enum class Kind { kCanFail, kWaits, kInfallible };

  constexpr CallSite(const char* name, Kind kind) : m_name(name), m_kind(kind) {}

  // Counts the call and answers whether it has to fail. Cheap when nothing is
  // to be injected or logged: two atomic operations. Takes no lock of the machine.
  std::optional<Fault> Enter();

  const char* name() const { return m_name; }
  bool canFail() const { return m_kind == Kind::kCanFail; }
  // Counted by OnNthCall.
  bool isStep() const { return m_kind != Kind::kInfallible; }
  std::uint64_t count() const { return m_count.load(std::memory_order_relaxed); }
  void reset() { m_count.store(0, std::memory_order_relaxed); }

 private:
  const char* m_name;
  Kind m_kind;
  std::atomic<bool> m_registered{false};
  std::atomic<std::uint64_t> m_count{0};
};

#define VWIN_CALL(function)                                                      \
  static ::vwin::CallSite vwinSite(#function, ::vwin::CallSite::Kind::kCanFail); \
  const std::optional<::vwin::Fault> fault = vwinSite.Enter()

#define VWIN_CALL_WAITING(function)                                            \
  static ::vwin::CallSite vwinSite(#function, ::vwin::CallSite::Kind::kWaits); \
  (void)vwinSite.Enter()

#define VWIN_CALL_INFALLIBLE(function)                                              \
  static ::vwin::CallSite vwinSite(#function, ::vwin::CallSite::Kind::kInfallible); \
  (void)vwinSite.Enter()

// The test side; reached through control/Faults.h, where it is explained.
namespace faults {

struct LoggedCall {
  std::string function;
  std::uint32_t thread;
};

std::uint64_t Count(const std::string& function);
void ResetCounts();
void FailNth(const std::string& function, std::uint64_t n, Fault fault, Repeat repeat);
void FailNthOfAll(std::uint64_t n, Fault fault);
std::optional<std::string> InjectedInto();
void Clear();
void AtNth(const std::string& function, std::uint64_t n, std::function<void()> action);
void OnNthCall(std::uint64_t n, std::function<void()> action);
bool ActionRan();
void LogCalls(bool on);
std::vector<LoggedCall> LoggedCalls();

}  // namespace faults
}  // namespace vwin
