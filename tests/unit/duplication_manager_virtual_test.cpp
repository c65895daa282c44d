// Who gets a monitor's duplication, and when none is made any more.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/control/Clock.h"
#include "platform/control/Desktop.h"
#include "platform/control/Faults.h"
#include "platform/control/Graphics.h"
#include "tests/support/ShareRecorder.h"
#include "win/engine/dxgi/DXGIDuplicationManager.h"

namespace qx {
namespace {

using namespace vwin::control;
using Record = DXGIDuplicationManager::Record;

constexpr auto kCapture = DuplicationUse::Capture;
constexpr auto kWatch = DuplicationUse::Watch;

class DuplicationManagerTest : public testing::Test {
 protected:
  static Record get(const int& owner, DuplicationUse use, HMONITOR of = PrimaryMonitor()) {
    return DXGIDuplicationManager::Instance().GetDXGIDuplication(of, &owner, use);
  }
  static void release(const int& owner, DuplicationUse use, HMONITOR of = PrimaryMonitor()) {
    DXGIDuplicationManager::Instance().ReleaseDXGIDuplication(of, &owner, use);
  }
  // A request that must fail.
  void expectFailure(HMONITOR of, int count, const std::string& message) {
    log.Forget();
    EXPECT_EQ(get(a, kCapture, of), nullptr);
    EXPECT_EQ(log.Count(message), 1) << log.Dump();
    const std::string counted = "CreateDXGIDuplication failed, count = ";
    EXPECT_EQ(log.Count(counted + std::to_string(count)), 1) << log.Dump();
  }

  test::LogRecorder log;
  int a = 0;  // owners
  int b = 0;
  int c = 0;
};

TEST_F(DuplicationManagerTest, CapturingOwnersWaitForEachOtherAndWatchersForBoth) {
  std::weak_ptr<const DXGIDuplication> first = get(a, kCapture);
  ASSERT_FALSE(first.expired());
  log.Forget();
  EXPECT_EQ(get(a, kCapture), first.lock());
  EXPECT_EQ(get(b, kCapture), nullptr);
  EXPECT_EQ(get(b, kWatch), nullptr);
  EXPECT_EQ(log.Dump(), "");
  release(b, kCapture);
  release(a, kWatch);
  EXPECT_FALSE(first.expired()) << "neither has it";

  release(a, kCapture);
  EXPECT_TRUE(first.expired());
  const Record second = get(b, kWatch);
  ASSERT_NE(second, nullptr) << log.Dump();
  EXPECT_EQ(get(c, kWatch), nullptr) << "watchers don't share either";
  release(b, kWatch);
}

TEST_F(DuplicationManagerTest, WatcherLosesItsRecordAndCanTakeNothingFromWhoeverHasItSince) {
  std::weak_ptr<const DXGIDuplication> watched = get(a, kWatch);
  std::weak_ptr<const DXGIDuplication> record = get(b, kCapture);
  EXPECT_TRUE(watched.expired()) << "its picture was taken";
  ASSERT_FALSE(record.expired()) << log.Dump();
  EXPECT_EQ(log.Count("DXGIDuplication change to capture: "), 1);
  EXPECT_EQ(get(a, kWatch), nullptr);
  release(a, kWatch);
  EXPECT_EQ(get(b, kCapture), record.lock()) << "the watcher died";
  release(b, kCapture);
  EXPECT_TRUE(record.expired());

  ASSERT_NE(get(c, kWatch), nullptr);
  release(a, kWatch);
  release(b, kCapture);
  EXPECT_NE(get(c, kWatch), nullptr) << "others came later still";
  release(c, kWatch);
  release(c, kWatch);
}

TEST_F(DuplicationManagerTest, WatcherThatIsLookingIsWaitedForButNotForEver) {
  OwnClock();
  Record looking = get(a, kWatch);
  AtNth("Sleep", 3, [&] { looking.reset(); });
  std::weak_ptr<const DXGIDuplication> record = get(b, kCapture);
  EXPECT_EQ(log.Count("CreateDXGIDuplication succeed"), 2) << log.Dump();
  release(b, kCapture);
  EXPECT_TRUE(record.expired());

  looking = get(a, kWatch);
  EXPECT_EQ(get(b, kCapture), looking) << "as it is";
  release(b, kCapture);
  looking.reset();
}

TEST_F(DuplicationManagerTest, OutputsThatCannotBeReadOrShowNothingArePassedOver) {
  const HMONITOR second = AddMonitor({1920, 0, 2000, 100});
  FailNth("IDXGIAdapter::EnumOutputs", 1);
  EXPECT_NE(get(a, kCapture, second), nullptr) << log.Dump();
  release(a, kCapture, second);
  SetAttached(second, false);
  expectFailure(second, 1, "IDXGIOutput is Detached");
  SetAttached(second, true);
  SetMonitorRect(second, {5, 5, 5, 9});
  expectFailure(second, 2, "m_hMonitor rect is:5,5,5,9");
}

TEST_F(DuplicationManagerTest, AfterThreeFailuresInARowNoneIsMadeInThisProcess) {
  for (int round = 0; round < 2; ++round) {
    expectFailure(nullptr, 1, "m_hMonitor is invalid");
    SetDuplicateResult(E_ACCESSDENIED);
    expectFailure(PrimaryMonitor(), 2, "DuplicateOutput failed res:-2147024891");
    SetDuplicateResult(S_OK);
    EXPECT_NE(get(a, kCapture), nullptr) << "which forgives all failures";
    release(a, kCapture);
  }
  const HMONITOR second = AddMonitor({1920, 0, 2000, 100});
  const std::weak_ptr<const DXGIDuplication> watched = get(c, kWatch, second);
  ASSERT_FALSE(watched.expired());
  for (int count = 1; count <= 3; ++count) {
    expectFailure(nullptr, count, "m_hMonitor is invalid");
  }
  log.Forget();
  const std::uint64_t devices = Count("D3D11CreateDevice");
  EXPECT_EQ(get(a, kCapture), nullptr);
  EXPECT_EQ(get(a, kWatch), nullptr);
  EXPECT_EQ(Count("D3D11CreateDevice"), devices);
  EXPECT_EQ(log.Dump(), "");
  EXPECT_NE(get(c, kWatch, second), nullptr) << "what there is stays";
  Record taken = get(a, kCapture, second);
  EXPECT_TRUE(taken && taken == watched.lock()) << "and changes hands";
  EXPECT_EQ(get(c, kWatch, second), nullptr);
  taken.reset();
  release(a, kCapture, second);
  EXPECT_EQ(get(a, kCapture, second), nullptr);
}

}  // namespace
}  // namespace qx
