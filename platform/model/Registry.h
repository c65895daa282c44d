// The registry: keys by root and path, values by name. Names count without case.
#pragma once

#include <windows.h>

#include <string>

#include "platform/model/HandleTable.h"
#include "platform/model/Machine.h"

namespace vwin {

struct RegistryKey : Object {
  RegistryKey(RegistryPath path_, REGSAM access_) : path(std::move(path_)), access(access_) {}
  const RegistryPath path;
  const REGSAM access;
};

namespace registry {

// `root` is a predefined or an open key. Nothing when it is neither.
std::optional<RegistryPath> PathOf(Lock& lock, HKEY root, const std::string& subKey);
// The values of a key. Null when there is no such key.
RegistryValues* ValuesOf(Lock& lock, const RegistryPath& path);

}  // namespace registry
}  // namespace vwin
