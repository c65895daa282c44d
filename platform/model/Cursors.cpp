// The standard cursor pictures.
#include <algorithm>
#include <array>
#include <memory>
#include <string_view>
#include <utility>

#include "platform/model/Desktop.h"

namespace vwin::desktop {
namespace {

constexpr int kSize = 32;
constexpr std::uint32_t kBlack = 0xFF000000;
constexpr std::uint32_t kWhite = 0xFFFFFFFF;

// '#' black, 'o' white, anything else transparent.
constexpr std::array<std::string_view, 19> kArrow = {
    "#",            //
    "##",           //
    "#o#",          //
    "#oo#",         //
    "#ooo#",        //
    "#oooo#",       //
    "#ooooo#",      //
    "#oooooo#",     //
    "#ooooooo#",    //
    "#oooooooo#",   //
    "#ooooooooo#",  //
    "#oooooo#####",
    "#ooo#oo#",    //
    "#oo##oo#",    //
    "#o#  #oo#",   //
    "##   #oo#",   //
    "#     #oo#",  //
    "      #oo#",  //
    "       ##",
};

void put(CursorShape& shape, int x, int y, std::uint32_t pixel) {
  shape.pixels[static_cast<std::size_t>(y * kSize + x)] = pixel;
}

void drawArrow(CursorShape& shape) {
  for (std::size_t y = 0; y < kArrow.size(); ++y) {
    for (std::size_t x = 0; x < kArrow[y].size(); ++x) {
      const char mark = kArrow[y][x];
      if (mark != ' ')
        put(shape, static_cast<int>(x), static_cast<int>(y), mark == '#' ? kBlack : kWhite);
    }
  }
}

}  // namespace

CursorShape StandardCursor(CursorKind kind) {
  CursorShape shape;
  shape.width = kSize;
  shape.height = kSize;
  shape.pixels.resize(kSize * kSize);
  if (kind == CursorKind::kArrow) {
    drawArrow(shape);
    return shape;
  }
  shape.hotspotX = kSize / 2;
  shape.hotspotY = kSize / 2;
  for (int i = 6; i < 26; ++i) {
    put(shape, kSize / 2, i, kBlack);
    if (kind == CursorKind::kCross) put(shape, i, kSize / 2, kBlack);
  }
  if (kind == CursorKind::kBeam) {
    for (int x = 13; x < 20; ++x) {
      put(shape, x, 6, kBlack);
      put(shape, x, 25, kBlack);
    }
  }
  return shape;
}

HCURSOR AddCursor(Lock& lock, CursorShape shape) {
  return static_cast<HCURSOR>(handles::Add(
      lock, HandleKind::kCursor, std::make_shared<CursorShape>(std::move(shape)), nullptr));
}

HCURSOR SharedArrow(Lock& lock) {
  static const HCURSOR arrow = AddCursor(lock, StandardCursor(CursorKind::kArrow));
  return arrow;
}

}  // namespace vwin::desktop
