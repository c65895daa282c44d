#pragma once

#include <windows.h>

#include <algorithm>

// gdiplus.h needs names that windows.h leaves out when it is lean, or told to be without its
// macros.
namespace Gdiplus {
using std::max;
using std::min;
}  // namespace Gdiplus

// clang-format off
#include <objidl.h>
#include <gdiplus.h>
// clang-format on
