// Duplications of the desktop: what they refuse, and what is noted as misuse.
#include <dxgi1_2.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/control/Clock.h"
#include "platform/control/Desktop.h"
#include "platform/control/Graphics.h"
#include "platform/control/Ledger.h"
#include "tests/support/GraphicsCard.h"

namespace qx::test {
namespace {

using namespace vwin::control;

TEST(Duplication, WantsItsCallsInOrderAndBuffersLargeEnough) {
  OwnClock();
  const Card card;
  ComPtr<IDXGIDevice> device;
  ComPtr<IDXGIAdapter> adapter;
  ComPtr<IDXGIOutput> output;
  ComPtr<IDXGIOutput1> output1;
  ComPtr<IDXGIOutputDuplication> duplication;
  ASSERT_EQ(card.device.As(IID_IDXGIDevice, device), S_OK);
  ASSERT_EQ(device->GetParent(IID_IDXGIAdapter, adapter.PutVoid()), S_OK);
  ASSERT_EQ(adapter->EnumOutputs(0, output.Put()), S_OK);
  ASSERT_EQ(output.As(IID_IDXGIOutput1, output1), S_OK);
  ASSERT_EQ(output1->DuplicateOutput(card.device.Get(), duplication.Put()), S_OK);

  DXGI_OUTDUPL_FRAME_INFO info{};
  ComPtr<IDXGIResource> resource;
  const auto acquire = [&] { return duplication->AcquireNextFrame(0, &info, resource.Put()); };
  RECT rect{};
  DXGI_OUTDUPL_MOVE_RECT moves[2] = {};
  UINT size = 0;
  const auto noFrame = [&] {
    EXPECT_EQ(duplication->GetFrameDirtyRects(16, &rect, &size), DXGI_ERROR_INVALID_CALL);
    EXPECT_EQ(duplication->GetFrameMoveRects(24, moves, &size), DXGI_ERROR_INVALID_CALL);
    EXPECT_EQ(duplication->ReleaseFrame(), DXGI_ERROR_INVALID_CALL);
    EXPECT_EQ(TakeMisuses().size(), 1u) << "only the last is a fault of the caller";
  };
  noFrame();
  ReportMove(PrimaryMonitor(), {1, 2}, {3, 4, 13, 14});
  ReportMove(PrimaryMonitor(), {0, 0}, {5, 5, 6, 6});
  ASSERT_EQ(acquire(), S_OK);
  EXPECT_EQ(info.TotalMetadataBufferSize, 2u * 24 + 16);
  EXPECT_EQ(acquire(), DXGI_ERROR_INVALID_CALL);
  EXPECT_EQ(TakeMisuses().size(), 1u);
  EXPECT_EQ(duplication->GetFrameDirtyRects(15, &rect, &size), DXGI_ERROR_MORE_DATA);
  EXPECT_EQ(size, 16u);
  EXPECT_EQ(duplication->GetFrameMoveRects(24, moves, &size), DXGI_ERROR_MORE_DATA);
  EXPECT_EQ(size, 48u);
  EXPECT_EQ(duplication->ReleaseFrame(), S_OK);
  noFrame();
  EXPECT_EQ(acquire(), DXGI_ERROR_WAIT_TIMEOUT) << "moves are told once";

  SetCursorPosition(1, 1);
  ASSERT_EQ(acquire(), S_OK);
  ComPtr<ID3D11Texture2D> stale;
  EXPECT_EQ(resource.As(IID_ID3D11Texture2D, stale), S_OK);
  EXPECT_EQ(duplication->ReleaseFrame(), S_OK);
  (void)card.Read(stale.Get());
  EXPECT_EQ(TakeMisuses(), std::vector<std::string>{"ID3D11DeviceContext::CopyResource: the frame "
                                                    "of this texture was released"});
  SetCursorPosition(2, 2);
  EXPECT_EQ(acquire(), S_OK);
  duplication.Reset();
  EXPECT_EQ(TakeMisuses().size(), 1u) << "a frame was left behind";
}

}  // namespace
}  // namespace qx::test
