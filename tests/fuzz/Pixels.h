#pragma once

#include <qx-screen-capture-c.h>

#include <cstdint>

namespace qx::fuzz {

// Reads a picture to its last byte, and looks whether its fields fit together. Answers a
// number that another picture is unlikely to have.
std::uint64_t ReadPicture(const qx_screen_frame_data& picture);

// Of a picture in ARGB: whether a pixel has this colour, or as a magnifier draws it.
bool HasColor(const qx_screen_frame_data& picture, std::uint32_t rgb);

}  // namespace qx::fuzz
