#include "platform/model/Faults.h"
#include "platform/model/Machine.h"
#include "platform/model/Modules.h"

using namespace vwin;

void WINAPI RtlGetNtVersionNumbers(DWORD* major, DWORD* minor, DWORD* build) {
  VWIN_CALL_INFALLIBLE(RtlGetNtVersionNumbers);
  constexpr DWORD kReleaseBuild = 0xF0000000;  // flags in the upper half of the number
  Lock lock;
  const Version& version = TheMachine(lock).version;
  *major = version.major;
  *minor = version.minor;
  *build = version.build | kReleaseBuild;
}
