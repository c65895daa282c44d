// Windows.Graphics.Capture: what it refuses, and how an item tells that it is gone.
#include <combaseapi.h>

#include <atomic>
#include <string>

#include "platform/control/Clock.h"
#include "platform/control/GraphicsCapture.h"
#include "platform/control/Ledger.h"
#include "platform/model/Modules.h"
#include "tests/platform/DesktopTest.h"
#include "tests/support/GraphicsCard.h"

namespace qx::test {
namespace {

using namespace vwin::control;

constexpr auto kFormat = wgc::DirectXPixelFormat::B8G8R8A8UIntNormalized;
const std::wstring kItemClass = L"Windows.Graphics.Capture.GraphicsCaptureItem";
const std::wstring kPoolClass = L"Windows.Graphics.Capture.Direct3D11CaptureFramePool";

template <typename Interface>
HRESULT activate(const std::wstring& name, REFIID iid, ComPtr<Interface>& factory) {
  wgc::HSTRING string = nullptr;
  EXPECT_EQ(WindowsCreateString(name.data(), static_cast<UINT32>(name.size()), &string), S_OK);
  const HRESULT result = RoGetActivationFactory(string, iid, factory.PutVoid());
  EXPECT_EQ(WindowsDeleteString(string), S_OK);
  return result;
}

ComPtr<wgc::IGraphicsCaptureItem> itemOf(HWND window, HRESULT expected = S_OK) {
  ComPtr<wgc::IGraphicsCaptureItemInterop> factory;
  ComPtr<wgc::IGraphicsCaptureItem> item;
  EXPECT_EQ(activate(kItemClass, wgc::IID_IGraphicsCaptureItemInterop, factory), S_OK);
  EXPECT_EQ(factory->CreateForWindow(window, wgc::IID_IGraphicsCaptureItem, item.PutVoid()),
            expected);
  return item;
}

struct Handler final : wgc::IClosedHandler {
  explicit Handler(bool isAgile = true) : agile(isAgile) {}
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    *object = agile && iid == wgc::IID_IAgileObject ? this : nullptr;
    return *object ? AddRef(), S_OK : E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
  ULONG STDMETHODCALLTYPE Release() override { return --references; }
  HRESULT STDMETHODCALLTYPE Invoke(wgc::IGraphicsCaptureItem*, wgc::IInspectable*) override {
    thread = GetCurrentThreadId();
    return ++calls, S_OK;
  }

  const bool agile;
  std::atomic<ULONG> references{0};
  std::atomic<int> calls{0};
  std::atomic<DWORD> thread{0};
};

// A pool with one buffer and a session that runs.
struct Capture {
  explicit Capture(const ComPtr<wgc::IGraphicsCaptureItem>& item) {
    ComPtr<IDXGIDevice> dxgi;
    ComPtr<wgc::IInspectable> inspectable;
    ComPtr<wgc::IDirect3DDevice> device;
    ComPtr<wgc::IDirect3D11CaptureFramePoolStatics2> factory;
    EXPECT_EQ(card.device.As(IID_IDXGIDevice, dxgi), S_OK);
    EXPECT_EQ(CreateDirect3D11DeviceFromDXGIDevice(dxgi.Get(), inspectable.Put()), S_OK);
    EXPECT_EQ(inspectable.As(wgc::IID_IDirect3DDevice, device), S_OK);
    EXPECT_EQ(activate(kPoolClass, wgc::IID_IDirect3D11CaptureFramePoolStatics2, factory), S_OK);
    const auto make = [&](std::int32_t buffers) {
      return factory->CreateFreeThreaded(device.Get(), kFormat, buffers, {20, 10}, pool.Put());
    };
    EXPECT_EQ(make(0), E_INVALIDARG);
    EXPECT_EQ(make(1), S_OK);
    EXPECT_EQ(pool->CreateCaptureSession(item.Get(), session.Put()), S_OK);
    EXPECT_FALSE(Next()) << "not started";
    EXPECT_EQ(session->StartCapture(), S_OK);
  }
  ComPtr<wgc::IDirect3D11CaptureFrame> Next() const {
    ComPtr<wgc::IDirect3D11CaptureFrame> frame;
    EXPECT_EQ(pool->TryGetNextFrame(frame.Put()), S_OK);
    return frame;
  }

  Card card;
  ComPtr<wgc::IDirect3D11CaptureFramePool> pool;
  ComPtr<wgc::IGraphicsCaptureSession> session;
};

ComPtr<ID3D11Texture2D> textureOf(const ComPtr<wgc::IDirect3D11CaptureFrame>& frame) {
  ComPtr<wgc::IDirect3DSurface> surface;
  ComPtr<wgc::IDirect3DDxgiInterfaceAccess> access;
  ComPtr<ID3D11Texture2D> texture;
  EXPECT_EQ(frame->get_Surface(surface.Put()), S_OK);
  EXPECT_EQ(surface.As(wgc::IID_IDirect3DDxgiInterfaceAccess, access), S_OK);
  EXPECT_EQ(access->GetInterface(IID_ID3D11Texture2D, texture.PutVoid()), S_OK);
  return texture;
}

class GraphicsCaptureTest : public DesktopTest {
 protected:
  void SetUp() override {
    DesktopTest::SetUp();
    SetVersion(kWindows11);
    OwnClock();
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
  }
  void TearDown() override { CoUninitialize(); }
};

TEST_F(GraphicsCaptureTest, WhatIsUsedTwiceOrTooLongIsRefusedOrNoted) {
  const HWND window = OpenWindow({.rect = {0, 0, 20, 10}, .color = kRed});
  const HWND child = OpenWindow({.rect = {1, 1, 2, 2}, .parent = window});
  itemOf(child, E_INVALIDARG);
  itemOf(reinterpret_cast<HWND>(PrimaryMonitor()), E_INVALIDARG);
  const Capture capture(itemOf(window));
  EXPECT_EQ(capture.session->StartCapture(), E_ILLEGAL_METHOD_CALL);
  auto frame = capture.Next();
  Fill(window, {0, 0, 9, 9}, kGreen);
  EXPECT_FALSE(capture.Next()) << "the only buffer is out";
  const ComPtr<ID3D11Texture2D> texture = textureOf(frame);
  frame.Reset();
  EXPECT_TRUE(capture.Next());
  (void)capture.card.Read(texture.Get());
  EXPECT_EQ(TakeMisuses().size(), 1u) << "what a frame gave goes with it";
  ComPtr<wgc::IClosable> closable;
  ASSERT_EQ(capture.session.As(wgc::IID_IClosable, closable), S_OK);
  EXPECT_EQ(closable->Close(), S_OK);
  Fill(window, {0, 0, 9, 9}, kRed);
  EXPECT_FALSE(capture.Next());
  EXPECT_EQ(capture.session->StartCapture(), RO_E_CLOSED);
  wgc::HSTRING string = nullptr;
  EXPECT_EQ(WindowsCreateString(L"a", 1, &string), S_OK);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(WindowsDeleteString(string), S_OK);
  EXPECT_EQ(TakeMisuses().size(), 1u) << "deleted twice";
}

TEST_F(GraphicsCaptureTest, AnItemThatIsGoneTellsOnAnotherThread) {
  const HWND window = OpenWindow({.rect = {0, 0, 20, 10}});
  Handler handler, removed, late, blunt(false);
  wgc::EventRegistrationToken token{};
  {
    const auto item = itemOf(window);
    const Capture capture(item);
    EXPECT_EQ(item->add_Closed(&handler, &token), S_OK);
    EXPECT_EQ(item->add_Closed(&removed, &token), S_OK);
    EXPECT_EQ(item->remove_Closed(token), S_OK);
    EXPECT_EQ(item->remove_Closed(token), E_INVALIDARG);
    EXPECT_EQ(item->add_Closed(&blunt, &token), S_OK);
    EXPECT_EQ(TakeMisuses().size(), 1u) << "a handler that isn't agile";
    CloseCaptureItems(window);
    Settle();
    EXPECT_FALSE(capture.Next());
  }
  EXPECT_EQ(handler.calls, 1);
  EXPECT_NE(handler.thread, GetCurrentThreadId());
  EXPECT_EQ(removed.calls + blunt.calls, 0);
  EXPECT_TRUE(ThreadNames().empty());
  EXPECT_EQ(handler.references + removed.references + blunt.references, 0u);

  auto item = itemOf(window);
  EXPECT_EQ(item->add_Closed(&late, &token), S_OK);
  HoldClosed();
  Close(window);
  EXPECT_EQ(item->remove_Closed(token), S_OK);
  item.Reset();
  Settle();
  EXPECT_EQ(late.calls, 0);
  EXPECT_EQ(late.references, 1u) << "the system's";
  DeliverClosed();
  Settle();
  EXPECT_EQ(late.calls, 1);
  EXPECT_EQ(late.references, 0u);
}

}  // namespace
}  // namespace qx::test
