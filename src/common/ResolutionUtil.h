#pragma once

#include <qx-screen-capture.h>

#include <cstdint>

namespace qx {

// Pixels.
struct Resolution {
  std::uint64_t width = 0;
  std::uint64_t height = 0;
};

// Says how large a frame of a captured rectangle may be. True: capture at
// `outResolution`, which is `rawResolution` times `scale` (0 to 1), rounded
// down. False: the limit or the raw size is unusable (logged), nothing is to be
// captured, and the outputs say raw size and 1.0.
//
// The result keeps to `limit.maxScreenPixels` but for one case: a scale close to
// a half becomes exactly a half, since that scales much better. A tiny limit can
// give 0 x 0.
bool GetLimitedEncodeResolution(const Resolution& rawResolution, Resolution& outResolution,
                                double& scale,
                                const IScreenCapture::ScreenFrameResolutionLimit& limit);

}  // namespace qx
