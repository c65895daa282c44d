// The test side of modules and their exports.
#pragma once

#include <string>

namespace vwin::control {

// There is no such file (any more); for modules that nobody has loaded.
void RemoveModule(const std::string& module);
// GetProcAddress doesn't find it any more.
void RemoveExport(const std::string& module, const std::string& function);
// Somebody else in the process has loaded it, for good.
void LoadModule(const std::string& module);

}  // namespace vwin::control
