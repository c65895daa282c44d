#include "win/util/StructuredGuard.h"

#if defined(_MSC_VER)

#include <windows.h>

namespace qx {

bool RunGuarded(GuardedCall call, void* context) {
  constexpr DWORD kCppException = 0xE06D7363;
  __try {
    call(context);
    return true;
  } __except (GetExceptionCode() == kCppException ? EXCEPTION_CONTINUE_SEARCH
                                                  : EXCEPTION_EXECUTE_HANDLER) {
    return false;
  }
}

}  // namespace qx

#elif defined(__MINGW32__)

#include <windows.h>

// This compiler has no __try. A vectored handler sees an exception before anybody
// else; it puts the thread back to where RunGuarded captured its registers.
namespace qx {

namespace {

struct Frame {
  CONTEXT registers;
  Frame* outer;
  volatile bool faulted;
};

thread_local Frame* t_innermost = nullptr;

bool IsFault(DWORD code) {
  constexpr DWORD kNameThread = 0x406D1388;
  // Faults have the severity of an error and no customer bit. C++ exceptions
  // have that bit, and what debuggers are told is no error.
  return (code >> 28) == 0xC || code == kNameThread;
}

LONG CALLBACK ReturnToFrame(EXCEPTION_POINTERS* exception) {
  Frame* const frame = t_innermost;
  if (!frame || !IsFault(exception->ExceptionRecord->ExceptionCode)) {
    return EXCEPTION_CONTINUE_SEARCH;
  }
  frame->faulted = true;
  *exception->ContextRecord = frame->registers;
  return EXCEPTION_CONTINUE_EXECUTION;
}

class Scope {
 public:
  explicit Scope(Frame& frame) : m_handler(AddVectoredExceptionHandler(1, ReturnToFrame)) {
    frame.outer = t_innermost;
    frame.faulted = false;
    t_innermost = &frame;
  }
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;
  ~Scope() {
    t_innermost = t_innermost->outer;
    RemoveVectoredExceptionHandler(m_handler);
  }

 private:
  void* m_handler;
};

}  // namespace

// Not to be inlined: between the capture and the end of the call this function
// keeps nothing in registers that the restored ones would not have.
[[gnu::noinline]] bool RunGuarded(GuardedCall call, void* context) {
  Frame frame;
  const Scope scope(frame);
  RtlCaptureContext(&frame.registers);
  if (!frame.faulted) {
    call(context);
  }
  return !frame.faulted;
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

}  // namespace qx

#endif
