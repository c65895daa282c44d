#include "platform/control/Modules.h"

#include <stdexcept>

#include "platform/model/Modules.h"

namespace vwin::control {

void RemoveModule(const std::string& module) {
  Lock lock;
  if (!modules::Remove(lock, module)) throw std::invalid_argument("no module that can go");
}

void RemoveExport(const std::string& module, const std::string& function) {
  Lock lock;
  if (!modules::RemoveExport(lock, module, function)) throw std::invalid_argument("no such export");
}

void LoadModule(const std::string& module) {
  Lock lock;
  if (!modules::LoadForGood(lock, module)) throw std::invalid_argument("no such module");
}

}  // namespace vwin::control
