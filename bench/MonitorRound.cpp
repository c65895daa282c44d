#include "MonitorRound.h"

#include <windows.h>

#include <stdexcept>

#include "LibraryLoop.h"
#include "PacedLoop.h"

namespace {

std::unique_ptr<Scene> Open(int width, int height, SceneKind kind) {
  if (!SkipWaits()) {
    throw std::runtime_error("there is no virtual Windows here");
  }
  return OpenScene(width, height, false, kind);
}

SIZE PictureSize(Round round) {
  round.frames = 1;
  return MeasureLibrary(round).picture;
}

}  // namespace

Round MakeMonitorRound(IScreenCapture::CaptureEngineType engine, int frames) {
  Round round;
  round.frames = frames;
  round.rect = {0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
  round.engine = engine;
  round.defaultLimit = true;
  round.waitAsShare = true;
  return round;
}

double TimesHandLoop(Round round, int turns, double (*byHand)(const Round&)) {
  round.picture = PictureSize(round);
  return MeasureBoth(round, turns, byHand).Times();
}

double FirstPictureWithWaits(Round round, double (*byHand)(const Round&)) {
  round.picture = PictureSize(round);
  round.micros = [] { return ProcessMicros() + ClockMicros(); };
  return FirstPictureMillis(round, byHand);
}

std::unique_ptr<Scene> OpenWithoutWaits(int width, int height) {
  return Open(width, height, SceneKind::Plain);
}

std::unique_ptr<Scene> OpenWindows11WithoutWaits(int width, int height) {
  return Open(width, height, SceneKind::Windows11);
}
