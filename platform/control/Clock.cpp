#include "platform/control/Clock.h"

#include "platform/model/Scheduler.h"

namespace vwin::control {

void OwnClock() { scheduler::OwnClock(); }
void Advance(std::chrono::microseconds by) { scheduler::Advance(by.count()); }
void Settle() { scheduler::Settle(); }
void Spend(std::chrono::microseconds by) { scheduler::Spend(by.count()); }

std::chrono::microseconds Now() {
  Lock lock;
  return std::chrono::microseconds(scheduler::Now(lock));
}

std::chrono::microseconds SystemTime() {
  Lock lock;
  return std::chrono::microseconds(scheduler::SystemMicros(lock));
}

void SetSystemTime(std::chrono::microseconds since1970) {
  scheduler::SetSystemMicros(since1970.count());
}

void SetPatience(std::chrono::milliseconds patience) { scheduler::SetPatience(patience); }

std::vector<std::string> ThreadNames() {
  Lock lock;
  return scheduler::ThreadNames(lock);
}

}  // namespace vwin::control
