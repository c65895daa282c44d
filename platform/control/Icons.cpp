#include "platform/control/Icons.h"

#include <stdexcept>

#include "platform/model/Desktop.h"
#include "platform/model/Icons.h"
#include "platform/model/Machine.h"

namespace vwin::control {
namespace {

// Calls `change` with another program's window.
template <typename Change>
void changeWindow(HWND handle, Change change) {
  Lock lock;
  const auto window = desktop::FindWindow(lock, handle);
  if (!window || window->windowClass) throw std::invalid_argument("not another program's window");
  change(*window);
}

Icon iconOf(const IconPicture& picture) {
  Icon icon;
  icon.width = picture.width;
  icon.height = picture.height;
  icon.colors = picture.colors;
  icon.mask = picture.mask;
  const auto size =
      static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height);
  const std::size_t maskSize = icon.colors.empty() ? size * 2 : size;
  if (icon.mask.empty()) icon.mask.resize(maskSize);
  if ((!icon.colors.empty() && icon.colors.size() != size) || icon.mask.size() != maskSize)
    throw std::invalid_argument("an icon without gaps");
  return icon;
}

}  // namespace

HICON MakeIcon(const IconPicture& picture) {
  Icon icon = iconOf(picture);
  Lock lock;
  return icons::Add(lock, std::move(icon));
}

void SetCursorIcon(const IconPicture& picture, POINT hotspot) {
  Icon icon = iconOf(picture);
  icon.hotspot = hotspot;
  icon.isCursor = true;
  Lock lock;
  desktop::Get(lock).cursor.shape = icons::Add(lock, std::move(icon));
  scheduler::Changed();
}

void SetWindowIcon(HWND window, IconKind kind, HICON icon) {
  changeWindow(window,
               [&](Window& changed) { changed.icons[static_cast<std::size_t>(kind)] = icon; });
}

void SetClassIcon(HWND window, HICON icon) {
  changeWindow(window, [&](Window& changed) { changed.classIcon = icon; });
}

void SetProgramIcon(const std::wstring& path, HICON icon) {
  Lock lock;
  TheMachine(lock).programIcons[path] = icon;
}

void BlockShellIcons(std::optional<std::chrono::milliseconds> delay) {
  Lock lock;
  TheMachine(lock).shellTakes =
      delay ? std::optional<Micros>(Micros{delay->count()} * 1000) : std::nullopt;
  scheduler::Changed();
}

void ReleaseShellIcons() { BlockShellIcons(std::chrono::milliseconds{0}); }

}  // namespace vwin::control
