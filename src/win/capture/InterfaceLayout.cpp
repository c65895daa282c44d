// The records of the interface cross a module boundary by address. This pins
// where each field of them lies on a 64-bit target, so that a change which would
// break a host does not compile.
#include <qx-screen-capture.h>

#include <cstddef>
#include <type_traits>

namespace {

// Start and size in bytes.
#define QX_FIELD(record, field, offset, size)                          \
  static_assert(offsetof(IScreenCapture::record, field) == (offset) && \
                    sizeof(IScreenCapture::record::field) == (size),   \
                #record "::" #field)
#define QX_RECORD(record, size)                                      \
  static_assert(std::is_standard_layout_v<IScreenCapture::record> && \
                    sizeof(IScreenCapture::record) == (size),        \
                #record)

static_assert(sizeof(void*) == 8, "the layout below is that of a 64-bit target");

QX_RECORD(DesktopInfo, 28);
QX_FIELD(DesktopInfo, id, 0, 4);
QX_FIELD(DesktopInfo, handle, 4, 4);
QX_FIELD(DesktopInfo, isPrimary, 8, 4);
QX_FIELD(DesktopInfo, x, 12, 4);
QX_FIELD(DesktopInfo, y, 16, 4);
QX_FIELD(DesktopInfo, width, 20, 4);
QX_FIELD(DesktopInfo, height, 24, 4);

QX_RECORD(WindowInfo, 48);
QX_FIELD(WindowInfo, id, 0, 4);
QX_FIELD(WindowInfo, handle, 4, 4);
QX_FIELD(WindowInfo, processId, 8, 4);
QX_FIELD(WindowInfo, processName, 16, 8);
QX_FIELD(WindowInfo, title, 24, 8);
QX_FIELD(WindowInfo, x, 32, 4);
QX_FIELD(WindowInfo, y, 36, 4);
QX_FIELD(WindowInfo, width, 40, 4);
QX_FIELD(WindowInfo, height, 44, 4);

QX_RECORD(CaptureRect, 16);
QX_FIELD(CaptureRect, x, 0, 4);
QX_FIELD(CaptureRect, y, 4, 4);
QX_FIELD(CaptureRect, width, 8, 4);
QX_FIELD(CaptureRect, height, 12, 4);

QX_RECORD(PromptWindowInfo, 16);
QX_FIELD(PromptWindowInfo, r, 0, 4);
QX_FIELD(PromptWindowInfo, g, 4, 4);
QX_FIELD(PromptWindowInfo, b, 8, 4);
QX_FIELD(PromptWindowInfo, width, 12, 4);

QX_RECORD(ScreenFrameResolutionLimit, 32);
QX_FIELD(ScreenFrameResolutionLimit, aspectRatioMode, 0, 4);
QX_FIELD(ScreenFrameResolutionLimit, maxScreenWidth, 8, 8);
QX_FIELD(ScreenFrameResolutionLimit, maxScreenHeight, 16, 8);
QX_FIELD(ScreenFrameResolutionLimit, maxScreenPixels, 24, 8);

QX_RECORD(FilterWindowInfo, 2072);
QX_FIELD(FilterWindowInfo, type, 0, 4);
QX_FIELD(FilterWindowInfo, titleRule, 4, 4);
QX_FIELD(FilterWindowInfo, window, 8, 8);
QX_FIELD(FilterWindowInfo, processId, 16, 4);
QX_FIELD(FilterWindowInfo, title, 20, 2048);
QX_FIELD(FilterWindowInfo, reserved, 2068, 4);

QX_RECORD(ScreenCaptureConfig, 56);
QX_FIELD(ScreenCaptureConfig, KeepAliveInterval, 0, 8);
QX_FIELD(ScreenCaptureConfig, MovedWindowStableKeepMinDuration, 8, 8);
QX_FIELD(ScreenCaptureConfig, DynamicFrameCallback, 16, 1);
QX_FIELD(ScreenCaptureConfig, reservedInt1, 20, 4);
QX_FIELD(ScreenCaptureConfig, GetDirtyRectInfo, 24, 1);
QX_FIELD(ScreenCaptureConfig, reservedFlag1, 25, 1);
QX_FIELD(ScreenCaptureConfig, scDynamicCheck, 26, 1);
QX_FIELD(ScreenCaptureConfig, reservedFlag2, 27, 1);
QX_FIELD(ScreenCaptureConfig, reservedFlag3, 28, 1);
QX_FIELD(ScreenCaptureConfig, reservedFlag4, 29, 1);
QX_FIELD(ScreenCaptureConfig, reservedFlag5, 30, 1);
QX_FIELD(ScreenCaptureConfig, reservedFlag6, 31, 1);
QX_FIELD(ScreenCaptureConfig, reservedFlag7, 32, 1);
QX_FIELD(ScreenCaptureConfig, reservedInt2, 36, 4);
QX_FIELD(ScreenCaptureConfig, reservedFlag8, 40, 1);
QX_FIELD(ScreenCaptureConfig, reservedInt3, 44, 4);
QX_FIELD(ScreenCaptureConfig, reservedInt4, 48, 4);
QX_FIELD(ScreenCaptureConfig, reservedFlag9, 52, 1);
QX_FIELD(ScreenCaptureConfig, reservedFlag10, 53, 1);
QX_FIELD(ScreenCaptureConfig, scNewMouseCaptureWay, 54, 1);

QX_RECORD(LivingScreenCaptureConfig, 56);
QX_FIELD(LivingScreenCaptureConfig, KeepAliveInterval, 0, 8);
QX_FIELD(LivingScreenCaptureConfig, MovedWindowStableKeepMinDuration, 8, 8);
QX_FIELD(LivingScreenCaptureConfig, DynamicFrameCallback, 16, 1);
QX_FIELD(LivingScreenCaptureConfig, reservedInt1, 20, 4);
QX_FIELD(LivingScreenCaptureConfig, GetDirtyRectInfo, 24, 1);
QX_FIELD(LivingScreenCaptureConfig, reservedFlag1, 25, 1);
QX_FIELD(LivingScreenCaptureConfig, scDynamicCheck, 26, 1);
QX_FIELD(LivingScreenCaptureConfig, reservedFlag2, 27, 1);
QX_FIELD(LivingScreenCaptureConfig, reservedFlag3, 28, 1);
QX_FIELD(LivingScreenCaptureConfig, reservedFlag4, 29, 1);
QX_FIELD(LivingScreenCaptureConfig, reservedFlag5, 30, 1);
QX_FIELD(LivingScreenCaptureConfig, reservedFlag6, 31, 1);
QX_FIELD(LivingScreenCaptureConfig, reservedFlag7, 32, 1);
QX_FIELD(LivingScreenCaptureConfig, reservedInt2, 36, 4);
QX_FIELD(LivingScreenCaptureConfig, reservedFlag8, 40, 1);
QX_FIELD(LivingScreenCaptureConfig, reservedInt3, 44, 4);
QX_FIELD(LivingScreenCaptureConfig, reservedInt4, 48, 4);

QX_RECORD(ScreenFrameData, 88);
QX_FIELD(ScreenFrameData, format, 0, 4);
QX_FIELD(ScreenFrameData, timestamp, 8, 8);
QX_FIELD(ScreenFrameData, reserved, 16, 4);
QX_FIELD(ScreenFrameData, width, 20, 4);
QX_FIELD(ScreenFrameData, height, 24, 4);
QX_FIELD(ScreenFrameData, raw_width, 28, 4);
QX_FIELD(ScreenFrameData, raw_height, 32, 4);
QX_FIELD(ScreenFrameData, stride, 36, 4);
QX_FIELD(ScreenFrameData, data, 40, 8);
QX_FIELD(ScreenFrameData, strideY, 48, 4);
QX_FIELD(ScreenFrameData, strideU, 52, 4);
QX_FIELD(ScreenFrameData, strideV, 56, 4);
QX_FIELD(ScreenFrameData, dataY, 64, 8);
QX_FIELD(ScreenFrameData, dataU, 72, 8);
QX_FIELD(ScreenFrameData, dataV, 80, 8);

QX_RECORD(ScreenFrameStatistics, 20);
QX_FIELD(ScreenFrameStatistics, hasFps, 0, 1);
QX_FIELD(ScreenFrameStatistics, fps, 4, 4);
QX_FIELD(ScreenFrameStatistics, reservedFlag, 8, 1);
QX_FIELD(ScreenFrameStatistics, reservedA, 12, 4);
QX_FIELD(ScreenFrameStatistics, reservedB, 16, 4);

static_assert(
    std::is_same_v<std::underlying_type_t<IScreenCapture::ScreenFrameFormat>, std::int32_t>);
static_assert(
    std::is_same_v<std::underlying_type_t<IScreenCapture::CaptureEngineType>, std::int32_t>);
static_assert(std::is_same_v<std::underlying_type_t<IScreenCapture::ShareError>, std::int32_t>);
static_assert(
    std::is_same_v<std::underlying_type_t<IScreenCapture::SharePauseReason>, std::int32_t>);

// A host's compiler lays the objects out.
static_assert(sizeof(IScreenCapture) == sizeof(void*));
static_assert(sizeof(ScreenCapture) == 2 * sizeof(void*));

#undef QX_FIELD
#undef QX_RECORD

}  // namespace
