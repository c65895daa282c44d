// What duplications of the desktop give and tell.
#include <dxgi1_2.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/control/Clock.h"
#include "platform/control/Faults.h"
#include "platform/control/Graphics.h"
#include "platform/control/Ledger.h"
#include "tests/platform/DesktopTest.h"
#include "tests/support/GraphicsCard.h"

namespace qx::test {
namespace {

using namespace vwin::control;

using Rects = std::vector<Sides>;

const CursorPicture kTwoPixels = {
    .width = 2, .height = 1, .hotspotX = 1, .hotspotY = 0, .pixels = {0xFF112233, 0x80445566}};

class DuplicationTest : public DesktopTest {
 protected:
  void SetUp() override {
    DesktopTest::SetUp();
    OwnClock();
    SetCursorPosition(50, 60);
    SetCursorShape(kTwoPixels);
  }

  std::vector<ComPtr<IDXGIOutput>> outputs() const {
    ComPtr<IDXGIDevice> device;
    ComPtr<IDXGIAdapter> adapter;
    EXPECT_EQ(card.device.As(IID_IDXGIDevice, device), S_OK);
    EXPECT_EQ(device->GetParent(IID_IDXGIAdapter, adapter.PutVoid()), S_OK);
    std::vector<ComPtr<IDXGIOutput>> found;
    for (ComPtr<IDXGIOutput> output;
         adapter->EnumOutputs(static_cast<UINT>(found.size()), output.Put()) == S_OK;) {
      found.push_back(output);
    }
    return found;
  }
  HRESULT duplicate(ComPtr<IDXGIOutputDuplication>& made, std::size_t output = 0) const {
    ComPtr<IDXGIOutput1> output1;
    const HRESULT found = outputs().at(output).As(IID_IDXGIOutput1, output1);
    return FAILED(found) ? found : output1->DuplicateOutput(card.device.Get(), made.Put());
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

    Rects Dirty() const {
      std::vector<RECT> rects(info.TotalMetadataBufferSize / sizeof(RECT));
      UINT size = 0;
      EXPECT_EQ(duplication->GetFrameDirtyRects(info.TotalMetadataBufferSize, rects.data(), &size),
                S_OK);
      Rects found;
      for (std::size_t i = 0; i < size / sizeof(RECT); ++i) found.push_back(SidesOf(rects[i]));
      return found;
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

TEST_F(DuplicationTest, TellsAllAtFirstAndThenWhatChanged) {
  SetUpDuplication();
  {
    const Frame first(duplication.Get());
    ASSERT_EQ(first.result, S_OK);
    const CardPicture picture = card.Read(first.texture.Get());
    EXPECT_EQ(std::pair(picture.width, picture.height), std::pair(200, 100));
    EXPECT_EQ(picture.At(50, 60), kDesktopPixel | kOpaque) << "without the cursor";
    EXPECT_EQ(first.Dirty(), (Rects{{0, 0, 200, 100}}));
    EXPECT_NE(first.info.LastPresentTime.QuadPart, 0);
    EXPECT_NE(first.info.LastMouseUpdateTime.QuadPart, 0);
    EXPECT_EQ(first.info.PointerShapeBufferSize, 8u);
  }
  const HWND window = open({.rect = {-10, 10, 40, 30}, .color = kRed});
  open({.rect = {100, 20, 140, 40}, .color = kGreen});
  LARGE_INTEGER now{};
  QueryPerformanceCounter(&now);
  std::int64_t presented = 0;
  {
    const Frame next(duplication.Get());
    ASSERT_EQ(next.result, S_OK);
    EXPECT_EQ(next.Dirty(), (Rects{{0, 10, 40, 30}, {100, 20, 140, 40}}));
    EXPECT_EQ(next.info.TotalMetadataBufferSize, 32u);
    EXPECT_EQ(next.info.AccumulatedFrames, 1u);
    EXPECT_EQ(next.info.LastMouseUpdateTime.QuadPart, 0);
    EXPECT_NEAR(static_cast<double>(next.info.LastPresentTime.QuadPart - now.QuadPart), 0, 10);
    presented = next.info.LastPresentTime.QuadPart;
    EXPECT_EQ(card.Read(next.texture.Get()).At(39, 29), kRedPixel | kOpaque);
  }
  Fill(window, {20, 5, 21, 6}, kGreen);
  Fill(window, {24, 9, 25, 10}, kGreen);
  const Frame last(duplication.Get());
  EXPECT_EQ(last.Dirty(), (Rects{{10, 15, 15, 20}})) << "close together they are one change";
  EXPECT_GT(last.info.LastPresentTime.QuadPart, presented) << "though the clock stands still";
}

TEST_F(DuplicationTest, TellsOfThePointerWhenThereIsNews) {
  AddMonitor({200, 0, 300, 100});
  SetUpDuplication();
  catchUp();
  // Where the shape's left edge is, whether it is seen, and the size of a shape that is news.
  const auto news = [](IDXGIOutputDuplication* from) -> std::vector<LONG> {
    const Frame frame(from);
    EXPECT_TRUE(frame.texture) << "the picture comes with every frame";
    EXPECT_EQ(frame.info.LastPresentTime.QuadPart, 0);
    EXPECT_EQ(frame.info.AccumulatedFrames + frame.info.TotalMetadataBufferSize, 0u);
    EXPECT_NE(frame.info.LastMouseUpdateTime.QuadPart, 0);
    const bool visible = frame.info.PointerPosition.Visible != FALSE;
    return {visible ? frame.info.PointerPosition.Position.x : 0, visible,
            static_cast<LONG>(frame.info.PointerShapeBufferSize)};
  };
  const auto next = [&] { return news(duplication.Get()); };
  constexpr LONG kSize = 32 * 32 * 4;
  SetCursorPosition(70, 10);
  EXPECT_EQ(next(), (std::vector<LONG>{69, true, 0})) << "the shape is known";
  SetCursorPosition(250, 10);
  EXPECT_EQ(next(), (std::vector<LONG>{0, false, 0})) << "on the other monitor";
  SetCursorPosition(260, 10);
  SetCursorShape(CursorKind::kBeam);
  EXPECT_EQ(Frame(duplication.Get()).result, DXGI_ERROR_WAIT_TIMEOUT) << "it moves elsewhere";
  SetCursorPosition(20, 10);
  EXPECT_EQ(next(), (std::vector<LONG>{4, true, kSize}));
  HideCursor();
  EXPECT_EQ(next(), (std::vector<LONG>{0, false, 0}));
  ShowCursor();
  EXPECT_EQ(next(), (std::vector<LONG>{4, true, 0}));

  ComPtr<IDXGIOutputDuplication> right;
  ASSERT_EQ(duplicate(right, 1), S_OK);
  EXPECT_EQ(Frame(right.Get()).result, S_OK);
  SetCursorPosition(250, 30);
  EXPECT_EQ(news(right.Get()), (std::vector<LONG>{250 - 200 - 16, true, kSize}))
      << "counted from its monitor, and each duplication is told";
}

TEST_F(DuplicationTest, GivesShapesOfEveryKind) {
  SetUpDuplication();
  std::vector<BYTE> bytes;
  // Type, width, height, pitch, and where the hot spot is.
  const auto shapeNow = [&]() -> std::vector<LONG> {
    const Frame frame(duplication.Get());
    DXGI_OUTDUPL_POINTER_SHAPE_INFO info{};
    UINT required = 0;
    bytes.resize(frame.info.PointerShapeBufferSize);
    EXPECT_EQ(duplication->GetFramePointerShape(static_cast<UINT>(bytes.size()) - 1, bytes.data(),
                                                &required, &info),
              DXGI_ERROR_MORE_DATA);
    EXPECT_EQ(required, bytes.size());
    EXPECT_EQ(duplication->GetFramePointerShape(required, bytes.data(), &required, &info), S_OK);
    return {LONG(info.Type), LONG(info.Width), LONG(info.Height), LONG(info.Pitch), info.HotSpot.x};
  };
  const std::vector<LONG> own = {DXGI_OUTDUPL_POINTER_SHAPE_TYPE_COLOR, 2, 1, 8, 1};
  EXPECT_EQ(shapeNow(), own);
  EXPECT_EQ(std::memcmp(bytes.data(), kTwoPixels.pixels.data(), 8), 0);
  const PointerShape given = {
      DXGI_OUTDUPL_POINTER_SHAPE_TYPE_MONOCHROME, 8, 4, 1, {3, 1}, {0xF0, 0x0F, 1, 2}};
  SetPointerShape(given);
  EXPECT_EQ(shapeNow(),
            (std::vector<LONG>{DXGI_OUTDUPL_POINTER_SHAPE_TYPE_MONOCHROME, 8, 4, 1, 3}));
  EXPECT_EQ(bytes, given.bytes);
  SetPointerShape({});
  EXPECT_EQ(shapeNow(), own);
}

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

TEST_F(DuplicationTest, GivesTurnedMonitorsAsTheirCardsHoldThem) {
  const HWND window = open({.rect = {0, 0, 10, 30}, .color = kRed});
  struct Row {
    DXGI_MODE_ROTATION rotation;
    int width, height;
    Sides dirty;
  };
  for (const Row& row : {Row{DXGI_MODE_ROTATION_ROTATE90, 100, 200, {0, 190, 30, 200}},
                         Row{DXGI_MODE_ROTATION_ROTATE180, 200, 100, {190, 70, 200, 100}},
                         Row{DXGI_MODE_ROTATION_ROTATE270, 100, 200, {70, 0, 100, 10}}}) {
    SCOPED_TRACE(row.rotation);
    TurnMonitor(PrimaryMonitor(), row.rotation);
    DXGI_OUTPUT_DESC output{};
    EXPECT_EQ(outputs()[0]->GetDesc(&output), S_OK);
    EXPECT_EQ(output.Rotation, row.rotation);
    SetUpDuplication();
    DXGI_OUTDUPL_DESC desc{};
    duplication->GetDesc(&desc);
    EXPECT_EQ(desc.Rotation, row.rotation);
    EXPECT_EQ(desc.ModeDesc.Width, 200u) << "the mode is that of the upright picture";
    EXPECT_EQ(desc.ModeDesc.Format, 87);
    catchUp();
    Fill(window, {0, 0, 10, 30}, kGreen);
    const Frame frame(duplication.Get());
    EXPECT_EQ(frame.Dirty(), (Rects{row.dirty}));
    const CardPicture picture = card.Read(frame.texture.Get());
    EXPECT_EQ(std::pair(picture.width, picture.height), std::pair(row.width, row.height));
    EXPECT_EQ(std::count(picture.pixels.begin(), picture.pixels.end(), kGreenPixel | kOpaque), 300);
    EXPECT_EQ(picture.At(row.dirty[0], row.dirty[1]), kGreenPixel | kOpaque);
    Fill(window, {0, 0, 10, 30}, kRed);
  }
  TurnMonitor(PrimaryMonitor(), DXGI_MODE_ROTATION_IDENTITY);
}

TEST_F(DuplicationTest, IsOneForEachAttachedOutputOfItsOwnCard) {
  const HMONITOR right = AddMonitor({200, 0, 300, 100});
  ASSERT_EQ(outputs().size(), 2u);
  DXGI_OUTPUT_DESC desc{};
  EXPECT_EQ(outputs()[1]->GetDesc(&desc), S_OK);
  EXPECT_EQ(desc.Monitor, right);
  EXPECT_TRUE(desc.AttachedToDesktop);
  EXPECT_EQ(desc.DesktopCoordinates.left, 200);
  SetAttached(right, false);
  EXPECT_EQ(outputs()[1]->GetDesc(&desc), S_OK);
  EXPECT_FALSE(desc.AttachedToDesktop);
  EXPECT_EQ(desc.Monitor, nullptr);
  ComPtr<IDXGIOutputDuplication> made;
  EXPECT_EQ(duplicate(made, 1), DXGI_ERROR_NOT_CURRENTLY_AVAILABLE);
  SetAttached(right, true);

  ComPtr<IDXGIFactory1> factory;
  ComPtr<IDXGIAdapter1> second;
  ComPtr<IDXGIOutput> output;
  ComPtr<IDXGIOutput1> output1;
  PlugInto(right, AddAdapter({0x10DE, 1, L"Second"}));
  EXPECT_EQ(outputs().size(), 1u);
  ASSERT_EQ(CreateDXGIFactory1(IID_IDXGIFactory1, factory.PutVoid()), S_OK);
  ASSERT_EQ(factory->EnumAdapters1(1, second.Put()), S_OK);
  ASSERT_EQ(second->EnumOutputs(0, output.Put()), S_OK);
  ASSERT_EQ(output.As(IID_IDXGIOutput1, output1), S_OK);
  EXPECT_EQ(output1->DuplicateOutput(card.device.Get(), made.Put()), E_INVALIDARG);
  EXPECT_EQ(output1->DuplicateOutput(output.Get(), made.Put()), E_INVALIDARG) << "no device";
  SetSecureDesktop(true);
  EXPECT_EQ(duplicate(made), E_ACCESSDENIED);
  SetSecureDesktop(false);
  FailNth("IDXGIOutput1::DuplicateOutput", 1);
  EXPECT_EQ(duplicate(made), E_OUTOFMEMORY);
  ClearFaults();
  EXPECT_EQ(duplicate(made), S_OK) << "what failed has left no trace";
  EXPECT_EQ(duplicate(duplication), E_INVALIDARG) << "a process has one for each monitor";
  SetVersion(kWindows7);
  EXPECT_EQ(duplicate(duplication), E_NOINTERFACE);
}

}  // namespace
}  // namespace qx::test
