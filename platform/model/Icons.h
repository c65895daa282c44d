// Icons: handles and pictures, those of the system and of program files.
//
// All functions are called with the machine's lock held.
#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/model/HandleTable.h"
#include "platform/model/Scheduler.h"

namespace vwin {

struct DeviceContext;

// Rows top to bottom without gaps.
struct Icon : Object {
  int width = 0;
  int height = 0;
  // 0xAARRGGBB with straight alpha, or with a top byte of 0 throughout when the mask
  // decides. Empty for a black and white icon, whose mask is twice as high.
  std::vector<std::uint32_t> colors;
  std::vector<std::uint32_t> mask;  // 0xFFFFFF where the screen shows through, else 0
  POINT hotspot{};
  bool isCursor = false;
  bool shared = true;  // a window's, a class's or the system's: nobody destroys it
};

namespace icons {

HICON Add(Lock& lock, Icon icon);
// A copy that belongs to the caller of `call`.
HICON AddCopy(Lock& lock, const Icon& icon, const char* call);
// A cursor is an icon as well. Nothing for a stale handle.
std::optional<Icon> Find(Lock& lock, HICON handle);
// False for what is no icon. One that is shared stays, and that is noted as misuse.
bool Destroy(Lock& lock, HICON handle);

// The system's icon for programs, large and small.
HICON Application(Lock& lock);
// The small icon of a program file: its own, or the system's when it has none. Null
// when there is no such file.
HICON OfProgram(Lock& lock, const std::wstring& path);
// For as long as the shell takes; nobody is answered meanwhile.
void WaitForShell(Lock& lock);

// What CopyImage makes of it for a display of two colours.
Icon BlackAndWhite(const Icon& icon);
// Draws it at this place in the DC's coordinates, and as large. False as gdi::Fill.
bool Draw(Lock& lock, const DeviceContext& dc, const RECT& where, const Icon& icon);

// Copies of an icon's bitmaps, the caller's of GetIconInfo.
ICONINFO Describe(Lock& lock, const Icon& icon);

}  // namespace icons
}  // namespace vwin
