// Duplications of the desktop: what they refuse, and when they are lost.
#include <dxgi1_2.h>

#include <functional>
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
  }

  HRESULT duplicate(ComPtr<IDXGIOutputDuplication>& made) const {
    ComPtr<IDXGIDevice> device;
    ComPtr<IDXGIAdapter> adapter;
    ComPtr<IDXGIOutput> output;
    ComPtr<IDXGIOutput1> output1;
    EXPECT_EQ(card.device.As(IID_IDXGIDevice, device), S_OK);
    EXPECT_EQ(device->GetParent(IID_IDXGIAdapter, adapter.PutVoid()), S_OK);
    EXPECT_EQ(adapter->EnumOutputs(0, output.Put()), S_OK);
    EXPECT_EQ(output.As(IID_IDXGIOutput1, output1), S_OK);
    return output1->DuplicateOutput(card.device.Get(), made.Put());
  }
  void SetUpDuplication() { ASSERT_EQ(duplicate(duplication), S_OK); }

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
  // Takes what there is to tell, so that the next frame has only what happens from now on.
  void catchUp() { EXPECT_EQ(Frame(duplication.Get()).result, S_OK); }

  Card card;
  ComPtr<IDXGIOutputDuplication> duplication;
};

TEST_F(DuplicationTest, WantsItsCallsInOrderAndBuffersLargeEnough) {
  SetUpDuplication();
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

TEST_F(DuplicationTest, TellsOfItsRotationAndOfEachShapeOnce) {
  TurnMonitor(PrimaryMonitor(), DXGI_MODE_ROTATION_ROTATE180);
  SetCursorPosition(50, 60);
  const std::vector<std::uint32_t> pixels(15, 0xFF112233);
  SetCursorShape({.width = 3, .height = 5, .hotspotX = 1, .hotspotY = 2, .pixels = pixels});
  SetUpDuplication();
  DXGI_OUTDUPL_DESC desc{};
  duplication->GetDesc(&desc);
  EXPECT_EQ(desc.Rotation, DXGI_MODE_ROTATION_ROTATE180);
  // Where the shape's corner is, and the size of one that is news.
  const auto next = [&]() -> std::vector<LONG> {
    const Frame frame(duplication.Get());
    const POINT& corner = frame.info.PointerPosition.Position;
    return {corner.x, corner.y, static_cast<LONG>(frame.info.PointerShapeBufferSize)};
  };
  EXPECT_EQ(next(), (std::vector<LONG>{49, 58, 60}));
  SetCursorPosition(70, 10);
  EXPECT_EQ(next(), (std::vector<LONG>{69, 8, 0}));
}

TEST_F(DuplicationTest, IsLostForGoodWhenTheScreenIsAnother) {
  const HMONITOR monitor = PrimaryMonitor();
  const auto resize = [&](bool back) { SetMonitorRect(monitor, {0, 0, back ? 200 : 300, 100}); };
  const auto turn = [&](bool back) {
    TurnMonitor(monitor, back ? DXGI_MODE_ROTATION_IDENTITY : DXGI_MODE_ROTATION_ROTATE180);
  };
  const std::vector<std::function<void(bool back)>> losses = {
      resize,
      turn,
      [](bool back) { SetSecureDesktop(!back); },
      [](bool back) { LockSession(!back); },
      [&](bool back) { SetAttached(monitor, back); },
      [&](bool back) { back ? monitor : RenewMonitorHandle(monitor); },
  };
  for (std::size_t i = 0; i < losses.size(); ++i) {
    SCOPED_TRACE(i);
    SetUpDuplication();
    catchUp();
    SetMonitorRect(monitor, {0, 0, 200, 100});  // no change
    SetCursorPosition(static_cast<int>(i), 1);
    catchUp();
    SetCursorPosition(static_cast<int>(i), 2);
    {
      const Frame frame(duplication.Get());
      losses[i](false);
      losses[i](true);
      RECT rect{};
      UINT size = 0;
      EXPECT_EQ(duplication->GetFrameDirtyRects(16, &rect, &size), DXGI_ERROR_ACCESS_LOST);
    }
    EXPECT_EQ(Frame(duplication.Get()).result, DXGI_ERROR_ACCESS_LOST);
    EXPECT_EQ(Frame(duplication.Get()).result, DXGI_ERROR_ACCESS_LOST) << "for good";
    ComPtr<IDXGIOutputDuplication> second;
    if (i + 1 < losses.size()) {
      EXPECT_EQ(duplicate(second), E_INVALIDARG) << "the lost one is still there";
    }
    duplication.Reset();
    EXPECT_EQ(duplicate(second), S_OK);
  }
}

}  // namespace
}  // namespace qx::test
