#include "platform/model/Machine.h"

namespace vwin {

Machine& TheMachine(Lock&) {
  static Machine* const machine = new Machine;
  return *machine;
}

void SpendTime(Lock& lock, const char* what, std::optional<Micros> Machine::*takes) {
  const Micros began = scheduler::Now(lock);
  for (;;) {
    const std::optional<Micros> now = TheMachine(lock).*takes;
    if (now && began + *now <= scheduler::Now(lock)) return;
    scheduler::WaitUntil(
        lock, what, [&] { return TheMachine(lock).*takes != now; },
        now ? std::optional<Micros>(began + *now) : std::nullopt);
  }
}

}  // namespace vwin
