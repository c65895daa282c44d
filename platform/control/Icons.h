// The test side of icons: what other programs show.
//
//   const HICON red = MakeIcon({2, 1, {0xFFFF0000, 0x80FF0000}});
//   SetWindowIcon(editor, IconKind::kSmall, red);
//   SetProgramIcon(L"C:\\Apps\\notes.exe", red);
//
// Windows have no icons unless they are given some; a program file that a process
// runs from has the system's. All icons stay the machine's.
#pragma once

#include <windows.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vwin::control {

// Rows top to bottom without gaps.
struct IconPicture {
  int width = 0;
  int height = 0;
  // 0xAARRGGBB, straight alpha; with all alpha 0 the mask decides. Empty: a black and
  // white icon, whose mask is twice as high.
  std::vector<std::uint32_t> colors = {};
  // 0xFFFFFF where the screen shows through, else 0. Empty: all 0.
  std::vector<std::uint32_t> mask = {};
};

HICON MakeIcon(const IconPicture& picture);

// The mouse cursor has this picture from now on, as an icon's: with a mask and without an
// alpha, or black and white. Duplications don't show it.
void SetCursorIcon(const IconPicture& picture, POINT hotspot);

// What a window answers to WM_GETICON.
enum class IconKind { kSmall = ICON_SMALL, kBig = ICON_BIG, kSmall2 = ICON_SMALL2 };

// Of another program's window; null takes the icon away.
void SetWindowIcon(HWND window, IconKind kind, HICON icon);
void SetClassIcon(HWND window, HICON icon);
// The small icon of a file. It exists from now on.
void SetProgramIcon(const std::wstring& path, HICON icon);

// The shell takes so long for each icon of a file, as on a slow network drive; without a
// time until ReleaseShellIcons, which lets go who waits.
void BlockShellIcons(std::optional<std::chrono::milliseconds> delay = std::nullopt);
void ReleaseShellIcons();

}  // namespace vwin::control
