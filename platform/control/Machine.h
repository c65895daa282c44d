// The test side of the machine: version, session, processes, registry. The desktop with
// its windows is in Desktop.h, the graphics card in Graphics.h.
//
//   SetVersion(kWindows7);
//   SetComposition(false);
//   AddProcess(7000, L"C:\\Apps\\notes.exe");
//
// What a machine is without any call stands in model/Machine.h.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>

#include "platform/model/Machine.h"

namespace vwin::control {

// ------------------------------------------------------------------------ version

inline constexpr Version kWindows7{6, 1, 7601};
using vwin::kWindows8;
using vwin::kWindows81;
inline constexpr Version kWindows10{10, 0, 19045};
using vwin::kWindows11;

// Composition stays as it is: only Windows 7 can be without.
void SetVersion(Version version);
void SetComposition(bool enabled);

// ------------------------------------------------------------------------ session

void SetRemoteSession(bool remote);
void LockSession(bool locked);
// A prompt on the secure desktop: nobody can switch to the default desktop.
void SetSecureDesktop(bool up);
// What WTSQuerySessionInformationW does; `error` for kFails.
using vwin::SessionQuery;
void SetSessionQuery(SessionQuery query, DWORD error = ERROR_ACCESS_DENIED);

// ------------------------------------------------- processes, virtual desktops

// One that is not openable denies OpenProcess, as elevated ones do.
void AddProcess(std::uint32_t id, const std::wstring& imagePath, bool openable = true);
void RemoveProcess(std::uint32_t id);

void SetVirtualDesktopManager(bool present);
// Such a window is cloaked.
void SetOnOtherVirtualDesktop(HWND window, bool other);
// Who asks a shell that hangs about virtual desktops waits until it hangs no more.
void SetShellHangs(bool hangs);

// ----------------------------------------------------------------------- registry

// Below HKEY_CURRENT_USER. Makes the key where it is missing.
void SetRegistryDword(const std::string& key, const std::string& name, std::uint32_t value);
std::optional<std::uint32_t> RegistryDword(const std::string& key, const std::string& name);
void RemoveRegistryKey(const std::string& key);

}  // namespace vwin::control
