// What the benches of engines that capture monitors on virtual Windows have in common.
#pragma once

#include <memory>

#include "FigureMain.h"
#include "Rivals.h"
#include "Round.h"

// Of the primary monitor, through this engine, with the default limit of the picture's
// size.
Round MakeMonitorRound(IScreenCapture::CaptureEngineType engine, int frames);

// The library's processor time a frame, as a multiple of the loop's by hand.
double TimesHandLoop(Round round, int turns, double (*byHand)(const Round&));

// Milliseconds from the start of a share to its first picture, less those of the loop by
// hand, in a scene where nobody waits: all processor time of the process, and what would
// have been waited. So the figure does not depend on what else the machine does.
double FirstPictureWithWaits(Round round, double (*byHand)(const Round&));

// A scene where nobody waits for a clock, and one of Windows 11. Both throw
// std::runtime_error where there is no virtual Windows.
std::unique_ptr<Scene> OpenWithoutWaits(int width, int height);
std::unique_ptr<Scene> OpenWindows11WithoutWaits(int width, int height);
