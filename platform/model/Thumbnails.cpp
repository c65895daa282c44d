#include "platform/model/Thumbnails.h"

#include <vector>

#include "platform/model/Rects.h"

namespace vwin::thumbnails {
namespace {

// How much of each edge of the surface is the frame of a window that is maximised, or
// was when it was minimised.
int hiddenEdge(const Window& window) {
  const bool maximised =
      window.isMaximised() || (window.isMinimised() && window.restoresToMaximised);
  return maximised && (window.style & WS_THICKFRAME) ? kSizingFrame : 0;
}

}  // namespace

HANDLE Register(Lock& lock, Window& destination, const Window& source) {
  const auto made = std::make_shared<Thumbnail>();
  made->destination = destination.handle;
  made->source = source.handle;
  made->handle = handles::Add(lock, HandleKind::kThumbnail, made, "DwmRegisterThumbnail");
  destination.thumbnails.push_back(made);
  return made->handle;
}

std::shared_ptr<Thumbnail> Find(Lock& lock, HANDLE thumbnail) {
  return handles::Get<Thumbnail>(lock, HandleKind::kThumbnail, thumbnail);
}

void Unregister(Lock& lock, const Thumbnail& thumbnail) {
  const HANDLE handle = thumbnail.handle;
  if (const auto host = desktop::FindWindow(lock, thumbnail.destination))
    std::erase_if(host->thumbnails, [&](const auto& other) { return other->handle == handle; });
  handles::Remove(lock, HandleKind::kThumbnail, handle);
  scheduler::Changed();
}

SIZE SourceSize(const Window& source) {
  if (source.thumbnailSize) return *source.thumbnailSize;
  const int edge = hiddenEdge(source);
  // The surface of a minimised window is as it was; its place may have changed since.
  const RECT whole =
      source.isMinimised() && edge == 0 ? source.normalRect : source.surface.bounds();
  return {WidthOf(whole) - 2 * edge, HeightOf(whole) - 2 * edge};
}

RECT SourcePart(const Thumbnail& thumbnail, const Window& source) {
  const SIZE size = SourceSize(source);
  const int edge = hiddenEdge(source);
  return Moved(thumbnail.from.value_or(RECT{0, 0, size.cx, size.cy}), edge, edge);
}

}  // namespace vwin::thumbnails
