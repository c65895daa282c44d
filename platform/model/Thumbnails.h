// Thumbnails of the Desktop Window Manager: which there are, and which part of a window
// they show. The compositor draws them.
//
// All functions are called with the machine's lock held.
#pragma once

#include <windows.h>

#include <memory>

#include "platform/model/Desktop.h"
#include "platform/model/Scheduler.h"

namespace vwin::thumbnails {

// It dies with `destination`.
HANDLE Register(Lock& lock, Window& destination, const Window& source);
// Null for a stale handle.
std::shared_ptr<Thumbnail> Find(Lock& lock, HANDLE thumbnail);
void Unregister(Lock& lock, const Thumbnail& thumbnail);

// What thumbnails of a window call its size: that of its rectangle, with the invisible
// frame, or of where Restore leads. The part of a maximised window's sizing frame that
// lies beyond the work area does not count.
SIZE SourceSize(const Window& source);
// What the thumbnail shows, in coordinates of the source's surface. It may reach beyond.
RECT SourcePart(const Thumbnail& thumbnail, const Window& source);

}  // namespace vwin::thumbnails
