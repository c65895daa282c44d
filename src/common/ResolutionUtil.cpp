#include "common/ResolutionUtil.h"

#include <algorithm>
#include <cmath>

#include "common/Logging.h"

namespace qx {

namespace {

// Encoders like widths in whole blocks.
constexpr std::uint64_t kWidthStep = 8;

using Limit = IScreenCapture::ScreenFrameResolutionLimit;

bool IsValid(const Limit& limit) {
  const std::uint64_t box = limit.maxScreenWidth * limit.maxScreenHeight;
  return limit.aspectRatioMode == 0 && (box == 0 || box == limit.maxScreenPixels);
}

bool HasShapeOf(const Resolution& raw, const Limit& limit) {
  return limit.maxScreenWidth * limit.maxScreenHeight != 0 &&
         raw.width * limit.maxScreenHeight == raw.height * limit.maxScreenWidth;
}

double ScaleToArea(const Resolution& raw, std::uint64_t maxPixels) {
  const auto width = static_cast<double>(raw.width);
  const auto area = static_cast<double>(raw.width * raw.height);
  const double wanted = std::min(std::sqrt(static_cast<double>(maxPixels) / area), 1.0);
  const std::uint64_t target = static_cast<std::uint64_t>(width * wanted) / kWidthStep * kWidthStep;
  return std::min(static_cast<double>(target) / width, 1.0);
}

bool IsNearHalf(double scale) { return std::abs(scale - 0.5) < 0.05; }

}  // namespace

bool GetLimitedEncodeResolution(const Resolution& rawResolution, Resolution& outResolution,
                                double& scale, const Limit& limit) {
  const Resolution raw = rawResolution;
  outResolution = raw;
  scale = 1.0;

  if (!IsValid(limit)) {
    QX_LOG_LIMITED(LogLevelWarn,
                   "GetLimitedEncodeResolution fail, screenFrameResolutionLimit is not valid, "
                   "aspectRatioMode:{} maxScreenWidth*maxScreenHeight={}x{} maxScreenPixels:{}",
                   limit.aspectRatioMode, limit.maxScreenWidth, limit.maxScreenHeight,
                   limit.maxScreenPixels);
    return false;
  }
  const std::uint64_t area = raw.width * raw.height;
  if (area == 0 || raw.width < kWidthStep) {
    QX_LOG_LIMITED(LogLevelWarn,
                   "GetLimitedEncodeResolution fail, rawResolution.width*rawResolution.height:"
                   "{}x{}",
                   raw.width, raw.height);
    return false;
  }
  if (area <= limit.maxScreenPixels) {
    return true;
  }

  if (HasShapeOf(raw, limit)) {
    scale = static_cast<double>(limit.maxScreenWidth) / static_cast<double>(raw.width);
    if (IsNearHalf(scale)) {
      QX_LOG_LIMITED(LogLevelInfo, "qx-sc:config:resolution scale is {}, change to 0.5", scale);
    }
  } else {
    scale = ScaleToArea(raw, limit.maxScreenPixels);
    if (IsNearHalf(scale)) {
      QX_LOG_LIMITED(LogLevelInfo, "qx-sc:config:resolution scale is {}, change to 0.5", scale);
    }
  }
  if (IsNearHalf(scale)) {
    scale = 0.5;
  }
  outResolution.width = static_cast<std::uint64_t>(static_cast<double>(raw.width) * scale);
  outResolution.height = static_cast<std::uint64_t>(static_cast<double>(raw.height) * scale);
  return true;
}

}  // namespace qx
