#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "qx-screen-capture.h"
#include "scene.h"
#include "thumbnails.h"

// The command line of qx-share.
struct Options {
  enum class Command { List, Doctor, Desktop, Window, Picker };

  Command command = Command::List;
  bool json = false;
  SceneKind scene = SceneKind::Plain;

  // For Command::List.
  std::string iconDirectory;       // empty: write no icons
  std::string thumbnailDirectory;  // empty: write no thumbnails

  // For Command::List and Command::Picker.
  std::string sheetFile;  // empty: make none
  ThumbnailSize thumbnailSize;

  // What to share. A window share has one of the three.
  std::optional<std::int32_t> id;  // of a monitor share none: the primary monitor
  std::string title;               // part of it
  std::string className;

  // What follows is for all shares.
  std::uint64_t frames = 0;  // 0: no limit; one of the two limits is set
  double seconds = 0;
  int fps = 15;
  IScreenCapture::ScreenFrameFormat format = IScreenCapture::ScreenFrameFormatARGB;
  std::optional<IScreenCapture::ScreenFrameResolutionLimit> limit;
  std::vector<IScreenCapture::CaptureEngineType> engines;  // empty: all
  bool wgcFirst = false;
  bool cursor = true;
  bool prompt = true;
  bool filter = true;
  std::vector<IScreenCapture::FilterWindowInfo> excluded;
  std::vector<std::string> excludedTitles;  // whole titles of windows on the list
  std::vector<std::string> includedTitles;
  bool dynamic = false;
  bool changeSettings = false;  // one after the other, at first
  bool dirty = false;           // tell how much changed from frame to frame
  bool track = false;           // tell what window the share moved over to
  std::string saveDirectory;    // empty: save nothing
  bool beside = false;          // save the screen beside each frame
  std::string y4mFile;          // empty: no video
  std::string eventFile;        // empty: no such file
  std::string logFile;          // empty: no log
};

// Frames of at most this size.
IScreenCapture::ScreenFrameResolutionLimit LimitTo(std::uint64_t width, std::uint64_t height);

// Reads the arguments after the program's name, which are UTF-8 as all text here.
// On wrong usage the result is none and `error` is one line that says what was
// wrong.
std::optional<Options> ParseOptions(const std::vector<std::string>& arguments, std::string& error);

// How to call the program, for a person.
const char* UsageText();
