#include "win/util/StructuredGuard.h"

#if defined(_WIN32)

#include <windows.h>

// MinGW's g++ has no __try: cmake/mingw-clang compiles this file there. Nothing but a
// call may stand in the __try, since clang covers no fault of the function itself.
namespace qx {

namespace {

constexpr DWORD kMsvcException = 0xE06D7363;

// Asked only when nobody inside of the guarded call handles the exception. What it
// refuses:
// - C++ exceptions: our own compiler's our callers catch, and those of others are for
//   whoever threw them.
// - Breakpoints and single steps, which are for a debugger.
// - A stack overflow: the thread would go on without its guard page, and the next
//   one would end the process with no trace.
// An exception that can't be continued is taken too, for the guard continues none.
int Filter(DWORD code) {
  constexpr DWORD kGccThrow = 0x20474343;
  constexpr DWORD kGccUnwind = 0x21474343;
  constexpr DWORD kGccForcedUnwind = 0x22474343;
  switch (code) {
    case kMsvcException:
    case kGccThrow:
    case kGccUnwind:
    case kGccForcedUnwind:
    case EXCEPTION_BREAKPOINT:
    case EXCEPTION_SINGLE_STEP:
    case EXCEPTION_STACK_OVERFLOW:
      return EXCEPTION_CONTINUE_SEARCH;
    default:
      return EXCEPTION_EXECUTE_HANDLER;
  }
}

}  // namespace

bool RunGuarded(GuardedCall call, void* context) {
  __try {
    call(context);
    return true;
  } __except (Filter(GetExceptionCode())) {
    return false;
  }
}

bool RunForeign(GuardedCall call, void* context) {
  __try {
    call(context);
    return true;
  } __except (GetExceptionCode() == kMsvcException ? EXCEPTION_EXECUTE_HANDLER
                                                   : EXCEPTION_CONTINUE_SEARCH) {
    return false;
  }
}

}  // namespace qx

#else

#include <virtual_windows.h>

namespace qx {

bool RunGuarded(GuardedCall call, void* context) {
  try {
    call(context);
    return true;
  } catch (const vwin::StructuredException&) {
    return false;
  }
}

// One compiler has built all of it.
bool RunForeign(GuardedCall call, void* context) {
  call(context);
  return true;
}

}  // namespace qx

#endif
