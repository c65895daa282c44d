#include "platform/model/Modules.h"

#include <d3d9.h>
#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <utility>

#include "platform/model/Ledger.h"
#include "platform/model/Machine.h"
#include "platform/model/Text.h"

namespace vwin::modules {
namespace {

constexpr Version kEveryVersion{0, 0, 0};
constexpr Version kWindows10Of2016{10, 0, 14393};

struct ExportEntry {
  const char* module;
  const char* name;
  Version since;
  FARPROC function;
};

template <typename Function>
FARPROC AsExport(Function* function) {
  return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(function));
}

const ExportEntry kExports[] = {
    {"ntdll.dll", "RtlGetNtVersionNumbers", kEveryVersion, AsExport(&RtlGetNtVersionNumbers)},
    {"kernel32.dll", "SetThreadDescription", kWindows10Of2016, AsExport(&SetThreadDescription)},
    {"kernel32.dll", "GetSystemTimePreciseAsFileTime", kWindows8,
     AsExport(&GetSystemTimePreciseAsFileTime)},
    {"d3d9.dll", "Direct3DCreate9Ex", kEveryVersion, AsExport(&Direct3DCreate9Ex)},
    {"magnification.dll", "MagInitialize", kEveryVersion, AsExport(&MagInitialize)},
    {"magnification.dll", "MagUninitialize", kEveryVersion, AsExport(&MagUninitialize)},
    {"magnification.dll", "MagSetWindowSource", kEveryVersion, AsExport(&MagSetWindowSource)},
    {"magnification.dll", "MagSetWindowFilterList", kEveryVersion,
     AsExport(&MagSetWindowFilterList)},
    {"magnification.dll", "MagSetColorEffect", kEveryVersion, AsExport(&MagSetColorEffect)},
    {"combase.dll", "RoGetActivationFactory", kEveryVersion, AsExport(&RoGetActivationFactory)},
    {"combase.dll", "WindowsCreateString", kEveryVersion, AsExport(&WindowsCreateString)},
    {"combase.dll", "WindowsDeleteString", kEveryVersion, AsExport(&WindowsDeleteString)},
    {"d3d11.dll", "CreateDirect3D11DeviceFromDXGIDevice", kFirstWindows10,
     AsExport(&CreateDirect3D11DeviceFromDXGIDevice)},
};

struct Module : Object {
  explicit Module(std::string name_) : name(std::move(name_)) {}
  const std::string name;
  int references = 0;
  bool isPinned = false;
  bool isPresent = true;  // as a file
  Version since = kEveryVersion;
  bool isLoadedAnyhow = true;  // whoever frees it
  std::set<std::string> missingExports;

  bool isLoaded() const { return isLoadedAnyhow || isPinned || references > 0; }
};

using ModuleMap = std::map<std::string, HMODULE>;

HMODULE Enter(Lock& lock, ModuleMap& modules, const std::string& name) {
  HMODULE& module = modules[name];
  if (module == nullptr) {
    module = static_cast<HMODULE>(
        handles::Add(lock, HandleKind::kModule, std::make_shared<Module>(name), nullptr));
  }
  return module;
}

std::shared_ptr<Module> Get(Lock& lock, HMODULE module) {
  return handles::Get<Module>(lock, HandleKind::kModule, module);
}

// In lower case. The library links to the first ones, which are loaded from the start.
ModuleMap& All(Lock& lock) {
  static ModuleMap* const modules = [&] {
    auto* const map = new ModuleMap;
    for (const char* name :
         {"host.exe", "ntdll.dll", "kernel32.dll", "user32.dll", "gdi32.dll", "gdiplus.dll",
          "dwmapi.dll", "wtsapi32.dll", "advapi32.dll", "ole32.dll", "d3d11.dll", "dxgi.dll"}) {
      Enter(lock, *map, name);
    }
    for (const char* name : {"d3d9.dll", "d3d9on12.dll", "d3d12.dll", "magnification.dll"})
      Get(lock, Enter(lock, *map, name))->isLoadedAnyhow = false;
    const std::shared_ptr<Module> combase = Get(lock, Enter(lock, *map, "combase.dll"));
    combase->isLoadedAnyhow = false;
    combase->since = kWindows8;
    return map;
  }();
  return *modules;
}

std::string Normal(const std::string& name) {
  std::string normal = ToLower(name);
  if (normal.find('.') == std::string::npos) normal += ".dll";
  return normal;
}

// Null when there is no such file.
HMODULE Present(Lock& lock, const std::string& name) {
  const auto found = All(lock).find(Normal(name));
  if (found == All(lock).end()) return nullptr;
  const std::shared_ptr<Module> module = Get(lock, found->second);
  return module->isPresent && TheMachine(lock).version >= module->since ? found->second : nullptr;
}

}  // namespace

HMODULE Loaded(Lock& lock, const std::string& name) {
  const HMODULE module = Present(lock, name);
  return module && Get(lock, module)->isLoaded() ? module : nullptr;
}

HMODULE Program(Lock& lock) { return Loaded(lock, "host.exe"); }

HMODULE At(Lock& lock, const void* address) {
  Dl_info info{};
  link_map* map = nullptr;
  if (dladdr1(address, &info, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) == 0) {
    return nullptr;
  }
  const std::string path = map->l_name;
  if (path.empty()) return Program(lock);
  return Enter(lock, All(lock), ToLower(path.substr(path.rfind('/') + 1)));
}

HMODULE Load(Lock& lock, const std::string& name, const char* call) {
  const HMODULE module = Present(lock, name);
  if (module != nullptr) AddReference(lock, module, call);
  return module;
}

void AddReference(Lock& lock, HMODULE module, const char* call) {
  ++Get(lock, module)->references;
  ledger::Take(lock, "module", reinterpret_cast<std::uintptr_t>(module), call);
}

void Pin(Lock& lock, HMODULE module, const char* call) {
  if (!std::exchange(Get(lock, module)->isPinned, true)) {
    ledger::Take(lock, "pinned module", reinterpret_cast<std::uintptr_t>(module), call);
  }
}

bool Free(Lock& lock, HMODULE module) {
  const std::shared_ptr<Module> object = Get(lock, module);
  if (!object) return false;
  if (object->references == 0) {
    if (object->isPinned) return true;
    ledger::Misuse(lock, "FreeLibrary: " + object->name + " was not loaded by anybody");
    return true;
  }
  --object->references;
  ledger::Return(lock, "module", reinterpret_cast<std::uintptr_t>(module));
  return true;
}

FARPROC Export(Lock& lock, HMODULE module, const std::string& name) {
  const std::shared_ptr<Module> object = Get(lock, module);
  if (!object || object->missingExports.count(name) != 0) return nullptr;
  const auto entry = std::find_if(std::begin(kExports), std::end(kExports), [&](const auto& e) {
    return object->name == e.module && name == e.name && TheMachine(lock).version >= e.since;
  });
  return entry == std::end(kExports) ? nullptr : entry->function;
}

FARPROC SystemExport(Lock& lock, const std::string& module, const std::string& name) {
  return Export(lock, Present(lock, module), name);
}

bool Remove(Lock& lock, const std::string& name) {
  const HMODULE module = Present(lock, name);
  if (!module || Get(lock, module)->isLoaded()) return false;
  Get(lock, module)->isPresent = false;
  return true;
}

bool RemoveExport(Lock& lock, const std::string& module, const std::string& name) {
  if (!SystemExport(lock, module, name)) return false;
  Get(lock, Present(lock, module))->missingExports.insert(name);
  return true;
}

bool LoadForGood(Lock& lock, const std::string& name) {
  const HMODULE module = Present(lock, name);
  if (module) Get(lock, module)->isLoadedAnyhow = true;
  return module != nullptr;
}

}  // namespace vwin::modules
