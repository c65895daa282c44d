// COM's umbrella header.
#pragma once

#include "combaseapi.h"
