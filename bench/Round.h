#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <vector>

#include "qx-screen-capture.h"
#include "thread_time.h"

// One round of measuring, of either side.
struct Round {
  int frames = 45;
  int fps = 30;
  bool i420 = false;
  RECT rect = {};         // what is captured, in pixels of the screen
  HWND window = nullptr;  // whose rectangle that is; null: the primary monitor's
  // For the hand loop: look after the window before each picture, and wait for the
  // next picture, as a share does.
  bool watchWindow = false;
  bool waitAsShare = false;

  IScreenCapture::CaptureEngineType engine = IScreenCapture::CaptureEngineGDIBitBlt;
  // What is left out of the pictures, by engines that can.
  std::vector<IScreenCapture::FilterWindowInfo> exclude = {};
  // Whether pictures of a screen that has not changed may be repeated.
  bool dynamicCheck = true;
  // The clock of both sides: the capturing thread's, or the process's where other
  // threads draw the pictures.
  double (*micros)() = ThreadMicros;
  // Whether the library limits the pictures as it does unless it is told otherwise;
  // else they have the size of the rectangle.
  bool defaultLimit = false;
  // The size that it then makes them; 0 by 0: not known yet. The hand loop needs it.
  SIZE picture = {};
  // Called when all is there to start a share, or a loop by hand.
  std::function<void()> onStart = [] {};
  // Called on the capturing thread after each picture, the warm-up's as well.
  std::function<void()> afterPicture = [] {};
  // For the library: called on the capturing thread when what is measured begins and
  // ends, for those who count meanwhile.
  std::function<void()> onBegin = [] {};
  std::function<void()> onEnd = [] {};
  // Where the last picture goes, as bytes without gaps, of a side that can show it; else
  // null.
  std::vector<std::uint8_t>* last = nullptr;
};
