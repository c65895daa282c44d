#include <windows.h>

#include "platform/model/Faults.h"
#include "platform/model/Machine.h"

using namespace vwin;

namespace {

constexpr int kBitsPerCondition = 3;

// Where in a condition mask the condition of a VER_ type stands.
int ShiftOf(DWORD type) {
  int index = 0;
  while (index < 8 && (type & (DWORD{1} << index)) == 0) ++index;
  return index * kBitsPerCondition;
}

int ConditionOf(DWORDLONG mask, DWORD type) { return static_cast<int>(mask >> ShiftOf(type)) & 7; }

bool Holds(int condition, std::uint32_t actual, std::uint32_t wanted) {
  switch (condition) {
    case VER_EQUAL:
      return actual == wanted;
    case VER_GREATER:
      return actual > wanted;
    case VER_GREATER_EQUAL:
      return actual >= wanted;
    case VER_LESS:
      return actual < wanted;
    case VER_LESS_EQUAL:
      return actual <= wanted;
    default:
      return false;
  }
}

}  // namespace

ULONGLONG WINAPI VerSetConditionMask(ULONGLONG mask, DWORD type, BYTE condition) {
  VWIN_CALL_INFALLIBLE(VerSetConditionMask);
  return mask | (static_cast<ULONGLONG>(condition & 7) << ShiftOf(type));
}

BOOL WINAPI VerifyVersionInfoW(LPOSVERSIONINFOEXW version, DWORD typeMask,
                               DWORDLONG conditionMask) {
  VWIN_CALL(VerifyVersionInfoW);
  if (fault) return SetLastError(fault->win32), FALSE;
  constexpr DWORD kKnown =
      VER_MAJORVERSION | VER_MINORVERSION | VER_BUILDNUMBER | VER_SERVICEPACKMAJOR;
  if (version->dwOSVersionInfoSize != sizeof(OSVERSIONINFOEXW) || typeMask == 0 ||
      (typeMask & ~kKnown) != 0) {
    return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
  }
  Lock lock;
  const Machine& machine = TheMachine(lock);
  // Build 7601 is Windows 7 with its service pack, and nothing later has one.
  const std::uint32_t servicePack = machine.version.build == 7601 ? 1 : 0;

  if ((typeMask & VER_BUILDNUMBER) != 0 && !Holds(ConditionOf(conditionMask, VER_BUILDNUMBER),
                                                  machine.version.build, version->dwBuildNumber)) {
    return SetLastError(ERROR_OLD_WIN_VERSION), FALSE;
  }
  // The others are read as one number with several digits: the first digit that
  // differs decides, by its own condition.
  const struct {
    DWORD type;
    std::uint32_t actual;
    std::uint32_t wanted;
  } digits[] = {{VER_MAJORVERSION, machine.version.major, version->dwMajorVersion},
                {VER_MINORVERSION, machine.version.minor, version->dwMinorVersion},
                {VER_SERVICEPACKMAJOR, servicePack, version->wServicePackMajor}};
  bool holds = true;
  for (const auto& digit : digits) {
    if ((typeMask & digit.type) == 0) continue;
    holds = Holds(ConditionOf(conditionMask, digit.type), digit.actual, digit.wanted);
    if (digit.actual != digit.wanted) break;
  }
  if (!holds) SetLastError(ERROR_OLD_WIN_VERSION);
  return holds ? TRUE : FALSE;
}
