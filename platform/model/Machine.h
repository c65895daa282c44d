// The facts of the virtual machine that are not its desktop: version, session,
// processes, modules, registry, graphics adapters. The desktop is in Desktop.h.
//
// A machine that nobody configures is Windows 10 22H2, unlocked, composition on,
// with one hardware adapter.
#pragma once

#include <windows.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/model/HandleTable.h"
#include "platform/model/Scheduler.h"

namespace vwin {

struct Version {
  std::uint32_t major;
  std::uint32_t minor;
  std::uint32_t build;

  auto operator<=>(const Version&) const = default;
};

inline constexpr Version kWindows8{6, 2, 9200};
inline constexpr Version kWindows81{6, 3, 9600};
inline constexpr Version kFirstWindows10{10, 0, 10240};
inline constexpr Version kWindows11{10, 0, 22000};

struct Process {
  std::wstring imagePath;
  bool openable = true;  // false: OpenProcess is denied
};

// What WTSQuerySessionInformationW does.
enum class SessionQuery { kAnswers, kFails, kNoBytes };

struct Adapter {
  std::uint32_t vendorId;
  std::uint32_t deviceId;
  std::wstring description;
};

// A cursor's shape as a graphics card has it. `type` is a DXGI_OUTDUPL_POINTER_SHAPE_TYPE.
struct PointerShape {
  std::uint32_t type;
  std::uint32_t width;
  std::uint32_t height;  // of a monochrome one, of both its masks
  std::uint32_t pitch;   // in bytes
  POINT hotspot;
  std::vector<BYTE> bytes;
};

struct RegistryValue {
  DWORD type;
  std::vector<BYTE> data;
};
// Values of a key by name. Names of keys and values are kept in lower case.
using RegistryValues = std::map<std::string, RegistryValue>;
// A root key and the path below it.
using RegistryPath = std::pair<std::uint32_t, std::string>;

struct Machine {
  Version version{10, 0, 19045};

  bool composition = true;
  bool remoteSession = false;
  bool locked = false;
  bool secureDesktop = false;
  SessionQuery sessionQuery = SessionQuery::kAnswers;
  DWORD sessionQueryError = ERROR_ACCESS_DENIED;

  std::uint32_t ownProcessId = 4000;
  std::map<std::uint32_t, Process> processes{{4000, {L"C:\\host\\host.exe"}}};
  std::map<std::wstring, HICON> programIcons;  // by the path of the file
  std::optional<Micros> shellTakes = 0;        // to give one; nothing: it hangs

  std::map<RegistryPath, RegistryValues> registry{
      {{0x80000001, "software\\microsoft\\windows\\dwm"},
       {{"enableaeropeek", {REG_DWORD, {1, 0, 0, 0}}}}}};

  std::vector<Adapter> adapters{{0x8086, 0x3E92, L"Virtual Graphics"}};
  HRESULT d3dResult = S_OK;               // of a hardware device
  std::optional<std::uint32_t> d3dFault;  // code of the structured exception
  std::uint32_t d3dRemovals = 0;          // each takes all devices of Direct3D 11 that there are
  HRESULT d3d9DeviceState = S_OK;         // what calls of a Direct3D 9 device answer
  HRESULT duplicateResult = S_OK;
  std::set<HMONITOR> duplicated;                     // a process can duplicate each monitor once
  std::uint32_t desktopSwitches = 0;                 // all duplications are lost with each
  bool blackDuplicates = false;                      // a driver's fault: pictures of zeros
  bool pointerBeforePicture = false;                 // what duplications tell first
  std::uint32_t duplicateFormat = 87;                // DXGI_FORMAT_B8G8R8A8_UNORM
  std::shared_ptr<const PointerShape> pointerShape;  // instead of the cursor's picture

  bool blackMagnifier = false;               // a driver's fault: pictures of zeros
  int magnifierStretches = 1;                // calls of StretchRect in a render
  std::optional<Micros> magnifierTakes = 0;  // to render; nothing: it hangs

  HRESULT captureClassResult = S_OK;            // of activating classes of Windows.Graphics.Capture
  std::optional<Micros> captureStartTakes = 0;  // to start a session; nothing: it hangs
  bool pngEncoder = true;                       // GDI+ has one

  bool virtualDesktopManager = true;
  bool shellHangs = false;  // who asks about virtual desktops waits for it
  std::set<HWND> onOtherVirtualDesktop;

  // How often each thread has entered COM, and with which model.
  struct Apartment {
    int count = 0;
    DWORD model = 0;
  };
  std::map<std::uint32_t, Apartment> apartments;
};

// The one machine of the process.
Machine& TheMachine(Lock& lock);

// Waits for as long as `takes` says. It may change meanwhile, and counts from the
// beginning. `what` is a literal.
void SpendTime(Lock& lock, const char* what, std::optional<Micros> Machine::*takes);

}  // namespace vwin
