// Faults of the processor, and faults that the guarded call handles itself.
#include <gtest/gtest.h>
#include <windows.h>

#include "win/util/StructuredGuard.h"

namespace qx {
namespace {

TEST(StructuredGuard, TakesAnAccessViolation) {
  volatile int* nowhere = nullptr;
  EXPECT_FALSE(RunGuarded([&] { *nowhere = 1; }));
  const volatile int zero = 0;
  volatile int quotient = 1;
  EXPECT_FALSE(RunGuarded([&] { quotient = quotient / zero; }));
}

TEST(StructuredGuard, LeavesAHandledFaultToItsHandler) {
  BOOL isBad = FALSE;
  EXPECT_TRUE(RunGuarded([&] { isBad = IsBadReadPtr(nullptr, 4); }));
  EXPECT_TRUE(isBad);
}

DWORD g_unhandled = 0;

LONG WINAPI SkipUnhandled(EXCEPTION_POINTERS* exception) {
  g_unhandled = exception->ExceptionRecord->ExceptionCode;
  return EXCEPTION_CONTINUE_EXECUTION;
}

TEST(StructuredGuard, LeavesToDebuggersWhatIsTheirs) {
  constexpr DWORD kOtherCompilersThrow = 0xE06D7363;
  const auto previous = SetUnhandledExceptionFilter(SkipUnhandled);
  for (const DWORD code : {EXCEPTION_BREAKPOINT, EXCEPTION_SINGLE_STEP, EXCEPTION_STACK_OVERFLOW,
                           kOtherCompilersThrow}) {
    g_unhandled = 0;
    EXPECT_TRUE(RunGuarded([&] { RaiseException(code, 0, 0, nullptr); }));
    EXPECT_EQ(g_unhandled, code);
  }
  static_cast<void>(SetUnhandledExceptionFilter(previous));
}

}  // namespace
}  // namespace qx
