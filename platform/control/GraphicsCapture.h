// The test side of Windows.Graphics.Capture.
//
//   RemoveModule("combase.dll");                                 // control/Modules.h
//   FailNth("IGraphicsCaptureSession::StartCapture", 1, E_FAIL); // control/Faults.h
//   CloseCaptureItems(window);
//
// A new machine has it from the version of Windows on that brought it.
#pragma once

#include <windows.h>

#include <chrono>
#include <optional>
#include <vector>

namespace vwin::control {

// What activating its classes answers, such as REGDB_E_CLASSNOTREG; S_OK: as the version
// of Windows has them.
void SetCaptureClassResult(HRESULT result);

// How long StartCapture takes; nothing: it hangs, until there is another time, which
// counts from its beginning.
void SetCaptureStartTime(std::optional<std::chrono::milliseconds> time);

// Closes the items of the source, which lives on: their `Closed` is told by a thread of the
// system, and their sessions bring no more frames.
void CloseCaptureItems(HWND window);
void CloseCaptureItems(HMONITOR monitor);

// Whoever is to be told of `Closed` from now on is called only with DeliverClosed: the
// system's thread has the handler in hand and takes its time, whatever is removed or
// released meanwhile. DeliverClosed ends the holding, too.
void HoldClosed();
void DeliverClosed();

// The sessions there are (neither closed nor released).
struct CaptureSessionState {
  HWND window = nullptr;  // what is captured: one of the two
  HMONITOR monitor = nullptr;
  bool started = false;
  bool cursor = true;
  bool border = true;
  SIZE poolSize{};
};
std::vector<CaptureSessionState> CaptureSessions();

}  // namespace vwin::control
