// memory-bench WIDTHxHEIGHT FIGURE=LIMIT...: how much memory the pictures of a running
// share take, as a multiple of its frame's: of a monitor of that size that changes all the
// time, on virtual Windows 11. Figures are named by the engine, dxgi, wgc, mag or gdi; with
// "-i420" behind it the frames are converted.
#include <stdexcept>
#include <string>

#include "Counts.h"
#include "FigureMain.h"
#include "MonitorRound.h"

namespace {

constexpr int kFrames = 8;

IScreenCapture::CaptureEngineType EngineOf(const std::string& name) {
  if (name == "dxgi") return IScreenCapture::CaptureEngineDXGI;
  if (name == "wgc") return IScreenCapture::CaptureEngineWGC;
  if (name == "mag") return IScreenCapture::CaptureEngineMag;
  if (name == "gdi") return IScreenCapture::CaptureEngineGDIBitBlt;
  throw std::invalid_argument("unknown figure '" + name + "'");
}

void Measure(Report& report, const std::string& size, const Figure& wanted) {
  const std::string engine = wanted.name.substr(0, wanted.name.find('-'));
  Round round = MakeMonitorRound(EngineOf(engine), kFrames);
  round.i420 = wanted.name == engine + "-i420";
  if (!round.i420 && wanted.name != engine) {
    throw std::invalid_argument("unknown figure '" + wanted.name + "'");
  }
  // Every tick brings a new picture, of a size that no engine scales down.
  round.defaultLimit = false;
  round.afterPicture = [] { ChangeScreen(); };
  report.AtMost(wanted.name + " " + size + ", memory for pictures, times the frame's",
                PictureMemoryTimesFrame(round), wanted.limit);
}

}  // namespace

int main(int argc, char** argv) {
  return FigureMain(argc, argv, "memory-bench", OpenWindows11WithoutWaits, Measure);
}
