#pragma once

#include <windows.h>

// One round of measuring, of either side.
struct Round {
  int frames = 120;
  int fps = 30;
  bool i420 = false;
  RECT rect = {};         // what is captured, in pixels of the screen
  HWND window = nullptr;  // whose rectangle that is; null: the primary monitor's
  // For the hand loop: look after the window before each picture, and wait for the
  // next one, as a share does.
  bool watchWindow = false;
};
