// COM's standard interfaces; gdiplus.h wants it included first.
#pragma once

#include "combaseapi.h"
