#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "sources.h"

// Small pictures of what there is to share. Failures to write throw
// std::runtime_error.

struct ThumbnailSize {
  int width = 320;
  int height = 180;
};

// PNG files by id; empty where the library has no picture.
using Thumbnails = std::map<std::int32_t, std::vector<std::uint8_t>>;

// Of the monitors or windows of the library's last list.
Thumbnails DesktopThumbnails(IScreenCapture& capture, ThumbnailSize size);
Thumbnails WindowThumbnails(IScreenCapture& capture, ThumbnailSize size);

// Writes "monitor-ID.png" and "window-ID.png" into a directory, which is made, and
// names those that failed on the error output.
void SaveThumbnails(IScreenCapture& capture, ThumbnailSize size, const std::string& directory);

// Writes one picture of all, each with its number in the picker's table.
void WriteSheet(IScreenCapture& capture, const std::vector<IScreenCapture::DesktopInfo>& desktops,
                const std::vector<WindowSource>& windows, ThumbnailSize size,
                const std::string& path);
