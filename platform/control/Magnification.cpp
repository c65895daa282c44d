#include "platform/control/Magnification.h"

#include "platform/control/Faults.h"
#include "platform/model/Machine.h"

namespace vwin::control {
namespace {

template <typename Member, typename Value>
void set(Member Machine::*member, Value value) {
  Lock lock;
  TheMachine(lock).*member = value;
  scheduler::Changed();
}

}  // namespace

void RaiseInMagnification() {
  for (const char* function : {"MagInitialize", "MagUninitialize", "MagSetWindowSource",
                               "MagSetWindowFilterList", "MagSetColorEffect"}) {
    FailNth(function, 1, kNotImplemented, Repeat::kOnward);
  }
}

void SetBlackMagnifier(bool black) { set(&Machine::blackMagnifier, black); }
void SetStretchRectCalls(int calls) { set(&Machine::magnifierStretches, calls); }
void SetD3D9DeviceState(HRESULT state) { set(&Machine::d3d9DeviceState, state); }

void SetRenderTime(std::optional<std::chrono::milliseconds> time) {
  using std::chrono::microseconds;
  set(&Machine::magnifierTakes,
      time ? std::optional<Micros>(microseconds(*time).count()) : std::nullopt);
}

}  // namespace vwin::control
