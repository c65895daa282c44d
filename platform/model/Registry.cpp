#include "platform/model/Registry.h"

#include "platform/model/Text.h"

namespace vwin::registry {

std::optional<RegistryPath> PathOf(Lock& lock, HKEY root, const std::string& subKey) {
  RegistryPath path;
  if (root == HKEY_CURRENT_USER || root == HKEY_LOCAL_MACHINE) {
    path.first = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(root));
  } else if (const auto key = handles::Get<RegistryKey>(lock, HandleKind::kRegistryKey, root)) {
    path = key->path;
  } else {
    return std::nullopt;
  }
  if (!path.second.empty() && !subKey.empty()) path.second += '\\';
  path.second += ToLower(subKey);
  while (!path.second.empty() && path.second.back() == '\\') path.second.pop_back();
  return path;
}

RegistryValues* ValuesOf(Lock& lock, const RegistryPath& path) {
  auto& keys = TheMachine(lock).registry;
  const auto key = keys.find(path);
  return key == keys.end() ? nullptr : &key->second;
}

}  // namespace vwin::registry
