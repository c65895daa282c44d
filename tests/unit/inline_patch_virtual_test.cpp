// Redirecting a function of the stand-in, and what of the process is kept for that.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>

#include "platform/control/Faults.h"
#include "platform/control/Ledger.h"
#include "platform/control/PatchPoints.h"
#include "win/util/InlinePatch.h"

namespace qx {
namespace {

using Function = int (*)(int);

int Body(int number) { return number + 1; }
int Entry(int number);
vwin::control::PatchPoint g_point(reinterpret_cast<void*>(&Entry), reinterpret_cast<void*>(&Body));
int Entry(int number) { return g_point.InForce<Function>()(number); }

std::atomic<void*> g_function = reinterpret_cast<void*>(&Entry);
int Detour(int number) { return 10 * reinterpret_cast<Function>(g_function.load())(number); }

std::ptrdiff_t Kept(const char* kind) {
  return std::ranges::count(vwin::control::Snapshot(), kind,
                            &vwin::control::LedgerSnapshot::value_type::kind);
}

TEST(InlinePatch, ADetourRunsAndReachesTheBody) {
  void* const entry = g_function;
  void* const detour = reinterpret_cast<void*>(&Detour);
  vwin::control::FailNth("GetModuleHandleExW", 1);
  EXPECT_NE("", Redirect(g_function, detour)) << "the library can't be kept loaded";
  EXPECT_EQ(entry, g_function.load());
  EXPECT_EQ(2, Entry(1));

  EXPECT_EQ("", Redirect(g_function, detour));
  EXPECT_EQ(1, Kept("pinned module"));
  EXPECT_EQ(20, Entry(1));
  std::atomic<void*> again = entry;
  EXPECT_NE("", Redirect(again, detour));
  EXPECT_EQ(entry, again.load());
  EXPECT_EQ(20, Entry(1));
}

TEST(InlinePatch, AFunctionThatWasFoundStays) {
  const auto before = Kept("module");
  EXPECT_NE(nullptr, FindSystemFunction(L"ntdll.dll", "RtlGetNtVersionNumbers"));
  EXPECT_EQ(before + 1, Kept("module"));
}

}  // namespace
}  // namespace qx
