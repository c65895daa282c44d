// The test side of functions that can be redirected: a test can have some of its own.
#pragma once

#include "platform/model/PatchPoints.h"

namespace vwin::control {

using patches::PatchPoint;

}  // namespace vwin::control
