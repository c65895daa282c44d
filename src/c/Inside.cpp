#include "c/Inside.h"

namespace qx::c {

thread_local const Inside* Inside::t_innermost = nullptr;

}  // namespace qx::c
