#include "platform/control/Thumbnails.h"

#include <stdexcept>

#include "platform/model/Desktop.h"
#include "platform/model/Machine.h"

namespace vwin::control {

void SetThumbnailSourceSize(HWND source, std::optional<SIZE> size) {
  Lock lock;
  const auto window = desktop::FindWindow(lock, source);
  if (!window) throw std::invalid_argument("no such window");
  window->thumbnailSize = size;
  scheduler::Changed();
}

std::vector<ThumbnailState> Thumbnails() {
  Lock lock;
  std::vector<ThumbnailState> found;
  for (const auto& window : desktop::Get(lock).root->children) {
    for (const auto& thumbnail : window->thumbnails)
      found.push_back({thumbnail->handle, thumbnail->destination, thumbnail->source, thumbnail->to,
                       thumbnail->from, thumbnail->visible});
  }
  return found;
}

void RemovePngEncoder() {
  Lock lock;
  TheMachine(lock).pngEncoder = false;
}

}  // namespace vwin::control
