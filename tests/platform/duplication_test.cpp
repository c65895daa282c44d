// Duplications of the desktop: what they refuse.
#include <dxgi1_2.h>

#include <string>
#include <vector>

#include "platform/control/Clock.h"
#include "platform/control/Graphics.h"
#include "platform/control/Ledger.h"
#include "tests/platform/DesktopTest.h"
#include "tests/support/GraphicsCard.h"

namespace qx::test {
namespace {

using namespace vwin::control;

class DuplicationTest : public DesktopTest {
 protected:
  void SetUp() override {
    DesktopTest::SetUp();
    OwnClock();
    ComPtr<IDXGIDevice> device;
    ComPtr<IDXGIAdapter> adapter;
    ComPtr<IDXGIOutput> output;
    ComPtr<IDXGIOutput1> output1;
    EXPECT_EQ(card.device.As(IID_IDXGIDevice, device), S_OK);
    EXPECT_EQ(device->GetParent(IID_IDXGIAdapter, adapter.PutVoid()), S_OK);
    EXPECT_EQ(adapter->EnumOutputs(0, output.Put()), S_OK);
    EXPECT_EQ(output.As(IID_IDXGIOutput1, output1), S_OK);
    ASSERT_EQ(output1->DuplicateOutput(card.device.Get(), duplication.Put()), S_OK);
  }

  // A frame until it goes out of scope.
  struct Frame {
    explicit Frame(IDXGIOutputDuplication* from) : duplication(from) {
      result = duplication->AcquireNextFrame(0, &info, resource.Put());
      if (result == S_OK) {
        EXPECT_EQ(resource.As(IID_ID3D11Texture2D, texture), S_OK);
      }
    }
    ~Frame() {
      if (result == S_OK) duplication->ReleaseFrame();
    }

    IDXGIOutputDuplication* duplication;
    DXGI_OUTDUPL_FRAME_INFO info{};
    ComPtr<IDXGIResource> resource;
    ComPtr<ID3D11Texture2D> texture;
    HRESULT result;
  };

  Card card;
  ComPtr<IDXGIOutputDuplication> duplication;
};

TEST_F(DuplicationTest, WantsItsCallsInOrderAndBuffersLargeEnough) {
  RECT rect{};
  DXGI_OUTDUPL_MOVE_RECT moves[2] = {};
  DXGI_OUTDUPL_POINTER_SHAPE_INFO shape{};
  DXGI_OUTDUPL_FRAME_INFO info{};
  ComPtr<IDXGIResource> resource;
  BYTE byte = 0;
  UINT size = 0;
  const auto noFrame = [&] {
    EXPECT_EQ(duplication->GetFrameDirtyRects(16, &rect, &size), DXGI_ERROR_INVALID_CALL);
    EXPECT_EQ(duplication->GetFrameMoveRects(24, moves, &size), DXGI_ERROR_INVALID_CALL);
    EXPECT_EQ(duplication->GetFramePointerShape(1, &byte, &size, &shape), DXGI_ERROR_INVALID_CALL);
    EXPECT_EQ(duplication->ReleaseFrame(), DXGI_ERROR_INVALID_CALL);
    EXPECT_EQ(TakeMisuses().size(), 1u) << "only the last is a fault of the caller";
  };
  noFrame();
  ReportMove(PrimaryMonitor(), {1, 2}, {3, 4, 13, 14});
  ReportMove(PrimaryMonitor(), {0, 0}, {5, 5, 6, 6});
  {
    const Frame frame(duplication.Get());
    EXPECT_EQ(duplication->AcquireNextFrame(0, &info, resource.Put()), DXGI_ERROR_INVALID_CALL);
    EXPECT_EQ(TakeMisuses().size(), 1u);
    EXPECT_EQ(frame.info.TotalMetadataBufferSize, 2u * 24 + 16);
    EXPECT_EQ(duplication->GetFrameDirtyRects(15, &rect, &size), DXGI_ERROR_MORE_DATA);
    EXPECT_EQ(size, 16u);
    EXPECT_EQ(duplication->GetFrameMoveRects(24, moves, &size), DXGI_ERROR_MORE_DATA);
    EXPECT_EQ(size, 48u);
    EXPECT_EQ(duplication->GetFrameMoveRects(48, moves, &size), S_OK);
    EXPECT_EQ(moves[0].SourcePoint.y, 2);
    EXPECT_EQ(moves[0].DestinationRect.right, 13);
  }
  noFrame();
  EXPECT_EQ(Frame(duplication.Get()).result, DXGI_ERROR_WAIT_TIMEOUT) << "moves are told once";

  SetCursorPosition(1, 1);
  const ComPtr<ID3D11Texture2D> stale = Frame(duplication.Get()).texture;
  (void)card.Read(stale.Get());
  EXPECT_EQ(TakeMisuses(), std::vector<std::string>{"ID3D11DeviceContext::CopyResource: the frame "
                                                    "of this texture was released"});
  SetCursorPosition(2, 2);
  EXPECT_EQ(duplication->AcquireNextFrame(0, &info, resource.Put()), S_OK);
  duplication.Reset();
  EXPECT_EQ(TakeMisuses().size(), 1u) << "a frame was left behind";
}

}  // namespace
}  // namespace qx::test
