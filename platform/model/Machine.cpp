#include "platform/model/Machine.h"

namespace vwin {

Machine& TheMachine(Lock&) {
  static Machine* const machine = new Machine;
  return *machine;
}

}  // namespace vwin
