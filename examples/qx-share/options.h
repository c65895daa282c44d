#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "qx-screen-capture.h"

// The command line of qx-share.
struct Options {
  enum class Command { List, Desktop };

  Command command = Command::List;
  bool json = false;

  // What follows is for Command::Desktop.
  std::optional<std::int32_t> id;  // none: the primary monitor
  std::uint64_t frames = 0;        // 0: no limit; one of the two limits is set
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
  bool dynamic = false;
  bool dirty = false;
  std::string saveDirectory;  // empty: save nothing
  std::string y4mFile;        // empty: no video
  std::string logFile;        // empty: no log
};

// Reads the arguments after the program's name. On wrong usage the result is
// none and `error` is one line that says what was wrong.
std::optional<Options> ParseOptions(const std::vector<std::string>& arguments, std::string& error);

// How to call the program, for a person.
const char* UsageText();
