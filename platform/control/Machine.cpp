#include "platform/control/Machine.h"

#include <cstring>

#include "platform/control/Desktop.h"
#include "platform/model/Registry.h"
#include "platform/model/Text.h"

namespace vwin::control {
namespace {

template <typename Change>
void ChangeMachine(Change change) {
  Lock lock;
  change(TheMachine(lock));
  scheduler::Changed();
}

RegistryPath PathOf(Lock& lock, const std::string& key) {
  return registry::PathOf(lock, HKEY_CURRENT_USER, key).value();
}

}  // namespace

void SetVersion(Version version) {
  ChangeMachine([&](Machine& machine) { machine.version = version; });
}
void SetComposition(bool enabled) {
  ChangeMachine([&](Machine& machine) { machine.composition = enabled; });
}

void SetRemoteSession(bool remote) {
  ChangeMachine([&](Machine& machine) { machine.remoteSession = remote; });
}
void LockSession(bool locked) {
  ChangeMachine([&](Machine& machine) {
    if (locked && !machine.locked) ++machine.desktopSwitches;
    machine.locked = locked;
  });
}
void SetSecureDesktop(bool up) {
  ChangeMachine([&](Machine& machine) {
    if (up && !machine.secureDesktop) ++machine.desktopSwitches;
    machine.secureDesktop = up;
  });
}
void SetSessionQuery(SessionQuery query, DWORD error) {
  ChangeMachine([&](Machine& machine) {
    machine.sessionQuery = query;
    machine.sessionQueryError = error;
  });
}

void AddProcess(std::uint32_t id, const std::wstring& imagePath, bool openable) {
  ChangeMachine([&](Machine& machine) { machine.processes[id] = {imagePath, openable}; });
}
void RemoveProcess(std::uint32_t id) {
  ChangeMachine([&](Machine& machine) { machine.processes.erase(id); });
}

void SetVirtualDesktopManager(bool present) {
  ChangeMachine([&](Machine& machine) { machine.virtualDesktopManager = present; });
}
void SetOnOtherVirtualDesktop(HWND window, bool other) {
  ChangeMachine([&](Machine& machine) {
    if (other) {
      machine.onOtherVirtualDesktop.insert(window);
    } else {
      machine.onOtherVirtualDesktop.erase(window);
    }
  });
  if (IsWindow(window)) SetCloaked(window, other);
}

void SetShellHangs(bool hangs) {
  ChangeMachine([&](Machine& machine) { machine.shellHangs = hangs; });
}

void SetRegistryDword(const std::string& key, const std::string& name, std::uint32_t value) {
  std::vector<BYTE> data(sizeof(value));
  std::memcpy(data.data(), &value, sizeof(value));
  Lock lock;
  TheMachine(lock).registry[PathOf(lock, key)][ToLower(name)] = {REG_DWORD, data};
}

std::optional<std::uint32_t> RegistryDword(const std::string& key, const std::string& name) {
  Lock lock;
  const RegistryValues* const values = registry::ValuesOf(lock, PathOf(lock, key));
  if (values == nullptr) return std::nullopt;
  const auto entry = values->find(ToLower(name));
  if (entry == values->end() || entry->second.data.size() != sizeof(std::uint32_t)) {
    return std::nullopt;
  }
  std::uint32_t value = 0;
  std::memcpy(&value, entry->second.data.data(), sizeof(value));
  return value;
}

void RemoveRegistryKey(const std::string& key) {
  Lock lock;
  TheMachine(lock).registry.erase(PathOf(lock, key));
}

}  // namespace vwin::control
