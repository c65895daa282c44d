// How virtual Windows fails calls on request, and what it notes of misuse.
#include <dxgi.h>

#include <set>
#include <string>
#include <vector>

#include "platform/control/Faults.h"
#include "platform/control/Icons.h"
#include "platform/control/Ledger.h"
#include "tests/platform/TestWindow.h"

namespace {

using namespace vwin::control;
using qx::test::FailsWith;
using Texts = std::vector<std::string>;

HANDLE NewEvent() { return CreateEventW(nullptr, TRUE, FALSE, nullptr); }

DWORD WINAPI DoNothing(void*) { return 0; }

HRESULT MakeFactory(IDXGIFactory1** factory) {
  return CreateDXGIFactory1(IID_IDXGIFactory1, reinterpret_cast<void**>(factory));
}

}  // namespace

TEST(Faults, HitTheNthOfAllCallsThatCanFail) {
  Texts hit;
  for (std::uint64_t n = 1;; ++n) {
    FailNthOfAll(n);
    const HANDLE event = NewEvent();
    (void)GetCurrentThreadId();  // can't fail, nor can CloseHandle
    if (event != nullptr) SetEvent(event);
    if (event != nullptr) CloseHandle(event);
    const auto function = InjectedInto();
    ClearFaults();
    if (!function) break;
    hit.push_back(*function);
  }
  EXPECT_EQ((Texts{"CreateEventW", "SetEvent"}), hit);
}

TEST(Ledger, NamesWhatWasLeftBehind) {
  const LedgerSnapshot before = Snapshot();
  const HANDLE event = NewEvent();
  EXPECT_EQ("event of CreateEventW on thread " + std::to_string(GetCurrentThreadId()) + "\n",
            Difference(before));
  CloseHandle(event);
  EXPECT_EQ("", Difference(before));

  IDXGIFactory1* factory = nullptr;
  (void)MakeFactory(&factory);
  factory->AddRef();
  factory->Release();
  EXPECT_EQ(0u, Difference(before).find("COM reference of CreateDXGIFactory1"));
  EXPECT_EQ(0u, factory->Release());
  EXPECT_EQ("", Difference(before));

  const HMODULE module = LoadLibraryA("d3d11.dll");
  EXPECT_EQ("", Difference(before)) << "modules may stay for life";
  FreeLibrary(module);
}

TEST(Ledger, SeesStaleAndWrongHandlesAndNeverHandsOneOutAgain) {
  const HANDLE event = NewEvent();
  const HANDLE thread = CreateThread(nullptr, 0, &DoNothing, nullptr, 0, nullptr);
  constexpr DWORD kInvalid = ERROR_INVALID_HANDLE;
  EXPECT_TRUE(FailsWith(kInvalid, [&] { return SetEvent(thread); }));
  EXPECT_FALSE(CloseDesktop(reinterpret_cast<HDESK>(event)));
  WaitForSingleObject(thread, INFINITE);
  CloseHandle(thread);
  EXPECT_TRUE(CloseHandle(event));
  EXPECT_TRUE(FailsWith(kInvalid, [&] { return CloseHandle(event); }));
  std::set<HANDLE> seen = {event, thread};
  for (int i = 0; i < 1000; ++i) {
    const HANDLE next = NewEvent();  // must not be taken for a closed one
    EXPECT_TRUE(seen.insert(next).second) << "after " << i << " events";
    CloseHandle(next);
  }
  EXPECT_TRUE(FailsWith(kInvalid, [&] { return WaitForSingleObject(event, 0) != WAIT_FAILED; }));
  EXPECT_EQ((Texts{"SetEvent: no open event", "CloseDesktop: no open desktop",
                   "CloseHandle: no open handle of this kind",
                   "WaitForSingleObject: nothing to wait for has this handle"}),
            TakeMisuses());
}

TEST(Ledger, SeesWhatIsReleasedTooOftenOrByTheWrongHandOrUsedAfterwards) {
  IDXGIFactory1* factory = nullptr;
  (void)MakeFactory(&factory);
  EXPECT_EQ(0u, factory->Release());
  EXPECT_EQ(0u, factory->Release());
  IDXGIAdapter1* adapter = nullptr;
  (void)factory->EnumAdapters1(0, &adapter);
  if (adapter != nullptr) adapter->Release();
  SRWLOCK lock = SRWLOCK_INIT;
  ReleaseSRWLockExclusive(&lock);
  FreeLibrary(GetModuleHandleA("ntdll.dll"));
  DestroyIcon(MakeIcon({1, 1, {0x80102030}}));
  EXPECT_EQ((Texts{"Release: the IDXGIFactory was released before",
                   "IDXGIFactory1::EnumAdapters1: the IDXGIFactory was released before",
                   "ReleaseSRWLockExclusive: the thread does not hold the lock",
                   "FreeLibrary: ntdll.dll was not loaded by anybody",
                   "DestroyIcon: the icon is shared"}),
            TakeMisuses());
}
