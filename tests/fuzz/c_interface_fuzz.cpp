// The C interface, called as bytes have it, on a virtual Windows on which anything happens as
// bytes have it. Run by scripts/fuzz.
//
// QX_FUZZ_WINDOWS says which Windows it is, 10 unless it is there: the library looks once in
// a process.
#include <sanitizer/lsan_interface.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/control/Clock.h"
#include "platform/control/Ledger.h"
#include "tests/fuzz/Desk.h"
#include "tests/fuzz/Host.h"
#include "tests/fuzz/Promise.h"

namespace qx::fuzz {

namespace {

void run(Bytes bytes) {
  Desk desk(bytes);
  {
    Host host(desk);
    host.Play(bytes);
    host.End();
  }
  const std::string left = vwin::control::Difference({});
  Promise(left.empty(), "nothing is left behind, but for\n" + left);
  for (const std::string& misuse : vwin::control::TakeMisuses()) {
    Promise(false, "Windows is used rightly, but for " + misuse);
  }
  for (const std::string& thread : vwin::control::ThreadNames()) {
    Promise(false, "no thread is left behind, but for \"" + thread + "\"");
  }
}

}  // namespace

}  // namespace qx::fuzz

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  qx::fuzz::PrepareProcess();
  // A plain share settles what the library learns once.
  constexpr std::uint8_t kPlain[] = {0, 10, 0, 2, 0, 0, 0, 0, 3};
  qx::fuzz::run(qx::fuzz::Bytes(kPlain));
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  qx::fuzz::run(qx::fuzz::Bytes({data, size}));
  // libFuzzer's own look for leaks would run most inputs twice, for the machine keeps much.
  static int runs = 0;
  qx::fuzz::Promise(++runs % 100 != 0 || __lsan_do_recoverable_leak_check() == 0,
                    "no memory is lost by this input or one of the 99 before it");
  return 0;
}
