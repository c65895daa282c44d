// What the library learns of the machine it runs on.
#include <gtest/gtest.h>

#include <functional>
#include <utility>

#include "platform/control/Faults.h"
#include "platform/control/Graphics.h"
#include "platform/control/Machine.h"
#include "tests/support/ShareRecorder.h"
#include "win/util/SystemProbes.h"

namespace qx {
namespace {

using namespace vwin::control;
using namespace WindowsUtil;

// Versions are read once per process, so each has a test of its own.
enum Rank { kBefore8, k8, k81, k10, k11 };
class VersionTest : public testing::TestWithParam<std::pair<vwin::Version, Rank>> {};

TEST_P(VersionTest, Tests) {
  const auto& [version, rank] = GetParam();
  SetVersion(version);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(IsBeforeWindows8(), rank < k8);
    EXPECT_EQ(IsWindows8OrGreater(), rank >= k8);
    EXPECT_EQ(IsWindows8Point1OrGreater(), rank >= k81);
    EXPECT_EQ(IsWindows10OrGreater(), rank >= k10);
    EXPECT_EQ(IsWindows11OrGreater(), rank >= k11);
  }
  EXPECT_EQ(Count("RtlGetNtVersionNumbers"), 1u);
  std::uint32_t major = 0, minor = 0, build = 0;
  GetNtVersionNumbers(major, minor, build);
  EXPECT_EQ(build, version.build) << "without the flags in its upper half";
}

using Row = VersionTest::ParamType;
INSTANTIATE_TEST_SUITE_P(All, VersionTest,
                         testing::Values(Row{{6, 0, 6002}, kBefore8}, Row{{6, 1, 7601}, kBefore8},
                                         Row{{6, 2, 9200}, k8}, Row{{6, 3, 9600}, k81},
                                         Row{{10, 0, 21999}, k10}, Row{{10, 0, 22000}, k11},
                                         Row{{10, 1, 100}, k11}));

TEST(Version, ThatCouldNotBeReadIsAskedForAgain) {
  FailNth("LoadLibraryA", 1);
  EXPECT_TRUE(IsBeforeWindows8());
  EXPECT_FALSE(IsBeforeWindows8());
}

TEST(Session, UnknownIsUnlockedWithAPromptOnItsScreen) {
  FailNth("OpenDesktopA", 1);
  EXPECT_TRUE(IsUacPrompt());
  LockSession(true);
  SetSessionQuery(SessionQuery::kFails, 5);
  EXPECT_FALSE(IsScreenLocked());
  SetSessionQuery(SessionQuery::kNoBytes);
  EXPECT_FALSE(IsScreenLocked());
}

TEST(Graphics, CompositionAndAdapter) {
  EXPECT_TRUE(IsDwmCompositionEnabled());
  FailNth("DwmIsCompositionEnabled", 1);
  EXPECT_FALSE(IsDwmCompositionEnabled());
  SetVersion(kWindows7);
  SetComposition(false);
  EXPECT_FALSE(IsDwmCompositionEnabled());

  EXPECT_FALSE(IsBasicGraphicsAdapter());
  for (const char* call :
       {"CreateDXGIFactory1", "IDXGIFactory1::EnumAdapters1", "IDXGIAdapter1::GetDesc1"}) {
    FailNth(call, 1);
    EXPECT_TRUE(IsBasicGraphicsAdapter()) << call;
    EXPECT_FALSE(IsBasicGraphicsAdapter()) << call;
  }
  SetAdapter(kSoftwareAdapter);
  EXPECT_TRUE(IsBasicGraphicsAdapter());
  SetNoAdapter();
  EXPECT_TRUE(IsBasicGraphicsAdapter());
}

// The probe runs once per process as well.
struct ProbeRow {
  const char* name;
  std::function<void()> arrange;
  bool answer;
  std::uint32_t hr;
  const char* message;
};
class GpuProbeTest : public testing::TestWithParam<ProbeRow> {};

TEST_P(GpuProbeTest, AnswersOnceAndRemembers) {
  const ProbeRow& row = GetParam();
  const test::LogRecorder log;
  row.arrange();
  HRESULT hr = S_OK;
  EXPECT_EQ(IsRunOnIntegrateGPU(&hr), row.answer);
  EXPECT_EQ(static_cast<std::uint32_t>(hr), row.hr);
  EXPECT_TRUE(log.Has(3, row.message)) << log.Dump();

  // What changes afterwards is not seen.
  SetDuplicateResult(row.answer ? DXGI_ERROR_UNSUPPORTED : S_OK);
  hr = 77;
  EXPECT_EQ(IsRunOnIntegrateGPU(&hr), row.answer);
  EXPECT_EQ(hr, 77);
  EXPECT_TRUE(log.Has(3, row.answer ? "IsRunOnIntegrateGPU:true" : "IsRunOnIntegrateGPU:false"))
      << log.Dump();
  EXPECT_TRUE(log.Has(3, "entry WindowsUtil::IsRunOnIntegrateGPU"));
}

INSTANTIATE_TEST_SUITE_P(
    All, GpuProbeTest,
    testing::Values(
        ProbeRow{"Works", [] {}, true, 0, "IsRunOnIntegrateGPU:true res:0"},
        ProbeRow{"Fault", [] { SetD3DFault(0xC0000005); }, true, 0x80004005,
                 "IsRunOnIntegrateGPU:true"},
        ProbeRow{"NoDevice", [] { SetD3DResult(DXGI_ERROR_UNSUPPORTED); }, false, 0x887A0004,
                 "IsRunOnIntegrateGPU:false, D3D11CreateDevice failed res:-2005270524"},
        ProbeRow{"NoParent", [] { FailNth("IDXGIDevice::GetParent", 1); }, false, 0x8007000E,
                 "IsRunOnIntegrateGPU:false, dxgiDevice->GetParent failed res:-2147024882"},
        ProbeRow{"NoOutput", [] { FailNth("IDXGIAdapter::EnumOutputs", 1); }, false, 0x8007000E,
                 "IsRunOnIntegrateGPU:false, dxgiAdapter->EnumOutputs failed res:-2147024882"},
        ProbeRow{"Unsupported", [] { SetDuplicateResult(DXGI_ERROR_UNSUPPORTED); }, false,
                 0x887A0004, "IsRunOnIntegrateGPU:false, DuplicateOutput failed res:-2005270524"},
        ProbeRow{"Denied", [] { SetDuplicateResult(E_ACCESSDENIED); }, true, 0x80070005,
                 "IsRunOnIntegrateGPU:true res:-2147024891"}),
    [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace qx
