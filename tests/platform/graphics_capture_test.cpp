// Windows.Graphics.Capture: which Windows has it, what its pictures show, when there is a
// new one, and how an item tells that it is gone.
#include <combaseapi.h>

#include <atomic>
#include <chrono>
#include <string>
#include <utility>

#include "platform/control/Clock.h"
#include "platform/control/GraphicsCapture.h"
#include "platform/control/Ledger.h"
#include "platform/model/Modules.h"
#include "tests/platform/DesktopTest.h"
#include "tests/support/GraphicsCard.h"

namespace qx::test {
namespace {

using namespace std::chrono_literals;
using namespace vwin::control;

constexpr std::uint32_t kOpaque = 0xFF000000;
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

ComPtr<wgc::IGraphicsCaptureItem> itemOf(HWND window, HMONITOR monitor = nullptr,
                                         HRESULT expected = S_OK) {
  ComPtr<wgc::IGraphicsCaptureItemInterop> factory;
  ComPtr<wgc::IGraphicsCaptureItem> item;
  EXPECT_EQ(activate(kItemClass, wgc::IID_IGraphicsCaptureItemInterop, factory), S_OK);
  const IID& iid = wgc::IID_IGraphicsCaptureItem;
  EXPECT_EQ(monitor ? factory->CreateForMonitor(monitor, iid, item.PutVoid())
                    : factory->CreateForWindow(window, iid, item.PutVoid()),
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

struct Frame {
  ComPtr<wgc::IDirect3D11CaptureFrame> frame;
  ComPtr<ID3D11Texture2D> texture;
  wgc::SizeInt32 content{};
  CardPicture picture;
  explicit operator bool() const { return static_cast<bool>(frame); }
};

// A pool with a session that runs.
struct Capture {
  Capture(const ComPtr<wgc::IGraphicsCaptureItem>& item, wgc::SizeInt32 size) {
    ComPtr<IDXGIDevice> dxgi;
    ComPtr<wgc::IInspectable> inspectable;
    ComPtr<wgc::IDirect3D11CaptureFramePoolStatics2> factory;
    EXPECT_EQ(card.device.As(IID_IDXGIDevice, dxgi), S_OK);
    EXPECT_EQ(CreateDirect3D11DeviceFromDXGIDevice(dxgi.Get(), inspectable.Put()), S_OK);
    EXPECT_EQ(inspectable.As(wgc::IID_IDirect3DDevice, device), S_OK);
    EXPECT_EQ(activate(kPoolClass, wgc::IID_IDirect3D11CaptureFramePoolStatics2, factory), S_OK);
    EXPECT_EQ(factory->CreateFreeThreaded(device.Get(), kFormat, 0, size, pool.Put()),
              E_INVALIDARG);
    EXPECT_EQ(factory->CreateFreeThreaded(device.Get(), kFormat, 1, size, pool.Put()), S_OK);
    EXPECT_EQ(pool->CreateCaptureSession(item.Get(), session.Put()), S_OK);
    EXPECT_FALSE(Next()) << "not started";
    EXPECT_EQ(session->StartCapture(), S_OK);
  }
  Frame Next() const {
    Frame next;
    ComPtr<wgc::IDirect3DSurface> surface;
    ComPtr<wgc::IDirect3DDxgiInterfaceAccess> access;
    EXPECT_EQ(pool->TryGetNextFrame(next.frame.Put()), S_OK);
    if (!next) return next;
    EXPECT_EQ(next.frame->get_ContentSize(&next.content), S_OK);
    EXPECT_EQ(next.frame->get_Surface(surface.Put()), S_OK);
    EXPECT_EQ(surface.As(wgc::IID_IDirect3DDxgiInterfaceAccess, access), S_OK);
    EXPECT_EQ(access->GetInterface(IID_ID3D11Texture2D, next.texture.PutVoid()), S_OK);
    next.picture = card.Read(next.texture.Get());
    return next;
  }

  Card card;
  ComPtr<wgc::IDirect3DDevice> device;
  ComPtr<wgc::IDirect3D11CaptureFramePool> pool;
  ComPtr<wgc::IGraphicsCaptureSession> session;
};

class GraphicsCaptureTest : public DesktopTest {
 protected:
  void SetUp() override {
    DesktopTest::SetUp();
    SetVersion(kWindows11);
    OwnClock();
    SetCursorPosition(100, 50);
    SetCursorShape({.width = 1, .height = 1, .pixels = {0xFF112233}});
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
  }
  void TearDown() override {
    CoUninitialize();
    DesktopTest::TearDown();
  }
};

TEST_F(GraphicsCaptureTest, IsThereFromTheVersionThatBroughtIt) {
  ComPtr<IUnknown> factory;
  const IID& itemFactory = wgc::IID_IGraphicsCaptureItemInterop;
  EXPECT_EQ(activate(kItemClass, wgc::IID_IClosable, factory), E_NOINTERFACE);
  EXPECT_EQ(activate(L"Windows.Nothing", itemFactory, factory), REGDB_E_CLASSNOTREG);
  const Capture capture(itemOf(nullptr, PrimaryMonitor()), {200, 100});
  SetVersion(kWindows10);
  EXPECT_EQ(capture.session.As(wgc::IID_IGraphicsCaptureSession3, factory), E_NOINTERFACE);
  EXPECT_EQ(capture.session.As(wgc::IID_IGraphicsCaptureSession2, factory), S_OK);
  SetVersion({10, 0, 17763});
  EXPECT_EQ(capture.session.As(wgc::IID_IGraphicsCaptureSession2, factory), E_NOINTERFACE);
  EXPECT_EQ(activate(kItemClass, itemFactory, factory), REGDB_E_CLASSNOTREG);
  const auto load = [] { return LoadLibraryExW(L"combase.dll", nullptr, 2048); };
  EXPECT_TRUE(GetProcAddress(load(), "RoGetActivationFactory"));
  SetVersion(kWindows7);
  EXPECT_FALSE(load());
  SetVersion(kWindows11);
  CoUninitialize();
  EXPECT_EQ(activate(kItemClass, itemFactory, factory), CO_E_NOTINITIALIZED);
  ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
  wgc::HSTRING string = nullptr;
  EXPECT_EQ(WindowsCreateString(L"a", 1, &string), S_OK);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(WindowsDeleteString(string), S_OK);
  EXPECT_EQ(TakeMisuses().size(), 1u) << "deleted twice";
}

TEST_F(GraphicsCaptureTest, AMonitorGivesAFrameForEachChange) {
  const auto start = Now();
  SetCaptureStartTime(300ms);
  const Capture capture(itemOf(nullptr, PrimaryMonitor()), {200, 100});
  EXPECT_EQ(Now() - start, 300ms);
  EXPECT_EQ(capture.session->StartCapture(), E_ILLEGAL_METHOD_CALL);
  Frame frame = capture.Next();
  EXPECT_EQ(frame.picture.At(199, 99), kDesktopPixel | kOpaque);
  EXPECT_EQ(frame.picture.At(100, 50), 0xFF112233);
  open({.rect = {10, 20, 30, 40}, .color = kRed});
  EXPECT_FALSE(capture.Next()) << "the only buffer is out";
  frame.frame.Reset();
  EXPECT_EQ(capture.Next().picture.At(15, 25), kRedPixel | kOpaque);
  (void)capture.card.Read(frame.texture.Get());
  EXPECT_EQ(TakeMisuses().size(), 1u) << "what a frame gave goes with it";
  EXPECT_FALSE(capture.Next()) << "nothing new";
  ComPtr<wgc::IGraphicsCaptureSession2> cursor;
  ASSERT_EQ(capture.session.As(wgc::IID_IGraphicsCaptureSession2, cursor), S_OK);
  EXPECT_EQ(cursor->put_IsCursorCaptureEnabled(0), S_OK);
  EXPECT_EQ(capture.Next().picture.At(100, 50), kDesktopPixel | kOpaque);
  SetCursorPosition(90, 50);
  EXPECT_FALSE(capture.Next()) << "the cursor is not captured";
}

TEST_F(GraphicsCaptureTest, AWindowIsWholeWhateverCoversIt) {
  const HWND window =
      open({.rect = {190, 90, 210, 110}, .color = kRed, .invisibleFrame = {3, 0, 3, 3}});
  Fill(window, {3, 0, 5, 2}, kGreen);
  open({.rect = {0, 0, 200, 100}, .color = RGB(1, 2, 3)});
  itemOf(reinterpret_cast<HWND>(PrimaryMonitor()), nullptr, E_INVALIDARG);
  itemOf(open({.rect = {196, 97, 198, 99}, .color = kGreen, .parent = window}), nullptr,
         E_INVALIDARG);
  Minimise(window);
  const auto item = itemOf(window);
  wgc::SizeInt32 size{};
  EXPECT_EQ(item->get_Size(&size), S_OK);
  EXPECT_EQ(size, (wgc::SizeInt32{20, 20}));
  Restore(window);
  SetCursorPosition(195, 95);
  const Capture capture(item, {20, 20});
  const CardPicture picture = capture.Next().picture;
  EXPECT_EQ(picture.At(0, 0), kGreenPixel | kOpaque) << "begins with the visible frame";
  EXPECT_EQ(picture.At(3, 7), kGreenPixel | kOpaque) << "its child";
  EXPECT_EQ(picture.At(2, 5), kRedPixel | kOpaque) << "the cursor is over another window";
  EXPECT_EQ(picture.At(13, 16), kRedPixel | kOpaque) << "off the monitor";
  EXPECT_EQ(picture.At(14, 16) | picture.At(13, 17), 0u) << "where its invisible borders are";
  ToTop(window);
  EXPECT_EQ(capture.Next().picture.At(2, 5), 0xFF112233);

  Resize(window, 40, 30);
  {
    const Frame frame = capture.Next();
    EXPECT_EQ(frame.content, (wgc::SizeInt32{40, 30}));
    EXPECT_EQ(frame.picture.width, 20) << "the top left of it";
    EXPECT_EQ(capture.pool->Recreate(capture.device.Get(), kFormat, 1, {50, 30}), S_OK);
    EXPECT_EQ(capture.card.Read(frame.texture.Get()).width, 20) << "the frame in hand lives on";
    EXPECT_EQ(capture.Next().picture.At(33, 26), kRedPixel | kOpaque);
    EXPECT_EQ(capture.pool->Recreate(capture.device.Get(), kFormat, 1, {50, 30}), S_OK);
    EXPECT_TRUE(capture.Next()) << "what is in new textures is new";
  }
  for (const auto& [away, back] : {std::pair(&Minimise, &Restore), std::pair(&Hide, &Show)}) {
    away(window);
    Fill(window, {9, 9, 10, 10}, away == &Hide ? kGreen : RGB(9, 9, 9));
    EXPECT_FALSE(capture.Next());
    back(window);
    EXPECT_TRUE(capture.Next());
  }
  Maximise(window);
  EXPECT_EQ(capture.Next().content, (wgc::SizeInt32{194, 97})) << "its visible frame";
  EXPECT_EQ(CaptureSessions().at(0).poolSize.cx, 50);
  ComPtr<wgc::IClosable> closable;
  ASSERT_EQ(capture.session.As(wgc::IID_IClosable, closable), S_OK);
  EXPECT_EQ(closable->Close(), S_OK);
  Restore(window);
  EXPECT_FALSE(capture.Next());
  EXPECT_EQ(capture.session->StartCapture(), RO_E_CLOSED);
  EXPECT_TRUE(CaptureSessions().empty());
}

TEST_F(GraphicsCaptureTest, AnItemThatIsGoneTellsOnAnotherThread) {
  const HWND window = open({.rect = {0, 0, 20, 10}});
  Handler handler, removed, late, blunt(false);
  wgc::EventRegistrationToken token{};
  {
    const auto item = itemOf(window);
    const Capture capture(item, {20, 10});
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
