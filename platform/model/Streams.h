// Streams over global memory.
#pragma once

#include <objidl.h>

#include <optional>

namespace vwin::streams {

// Without the lock held. A null `memory` makes some.
HRESULT Create(HGLOBAL memory, bool freeWithStream, IStream** stream);
// Nothing for a stream that is not one of these.
std::optional<HGLOBAL> MemoryOf(IStream* stream);

}  // namespace vwin::streams
