// Binary interfaces as they are compiled for this target: the slots of their functions, and
// the identifiers of those of Windows.Graphics.Capture.
#include <gtest/gtest.h>
#include <qx-screen-capture.h>
#include <windows_graphics_capture.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

// Later headers of the compiler have some of it.
#if __has_include(<windows.graphics.capture.h>)
#include <windows.graphics.capture.h>
#endif

// Within it, so that its names come before the same ones of the compiler's headers.
namespace wgc {
namespace {

std::string textOf(const IID& iid) {
  const auto* const d = iid.Data4;
  char text[40];
  std::snprintf(text, sizeof(text), "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x",
                static_cast<unsigned>(iid.Data1), unsigned{iid.Data2}, unsigned{iid.Data3},
                unsigned{d[0]}, unsigned{d[1]}, unsigned{d[2]}, unsigned{d[3]}, unsigned{d[4]},
                unsigned{d[5]}, unsigned{d[6]}, unsigned{d[7]});
  return text;
}

// A pointer to a virtual function holds its place in the table, in bytes, and 1.
template <typename Function>
std::size_t slotOf(Function function) {
  std::uintptr_t place = 0;
  std::memcpy(&place, &function, sizeof(place));
  return (place - 1) / sizeof(void*);
}

// Whether these functions stand one behind the other, the first one in this slot.
template <typename... Functions>
testing::AssertionResult StandFrom(std::size_t first, Functions... functions) {
  std::size_t expected = first;
  for (const std::size_t slot : {slotOf(functions)...}) {
    if (slot != expected) {
      return testing::AssertionFailure() << "slot " << slot << " instead of " << expected;
    }
    ++expected;
  }
  return testing::AssertionSuccess();
}

TEST(GraphicsCaptureInterface, IdentifiersAreThePlatforms) {
  const std::vector<std::pair<IID, const char*>> table = {
      {IID_IInspectable, "af86e2e0-b12d-4c6a-9c5a-d7aa65101e90"},
      {IID_IAgileObject, "94ea2b94-e9cc-49e0-c0ff-ee64ca8f5b90"},
      {IID_IClosable, "30d5a829-7fa4-4026-83bb-d75bae4ea99e"},
      {IID_IDirect3DDevice, "a37624ab-8d5f-4650-9d3e-9eae3d9bc670"},
      {IID_IDirect3DSurface, "0bf4a146-13c1-4694-bee3-7abf15eaf586"},
      {IID_IDirect3DDxgiInterfaceAccess, "a9b3d012-3df2-4ee3-b8d1-8695f457d3c1"},
      {IID_IClosedHandler, "e9c610c0-a68c-5bd9-8021-8589346eeee2"},
      {IID_IGraphicsCaptureItem, "79c3f95b-31f7-4ec2-a464-632ef5d30760"},
      {IID_IGraphicsCaptureItemInterop, "3628e81b-3cac-4c60-b7f4-23ce0e0c3356"},
      {IID_IGraphicsCaptureSession, "814e42a9-f70f-4ad7-939b-fddcc6eb880d"},
      {IID_IGraphicsCaptureSession2, "2c39ae40-7d2e-5044-804e-8b6799d4cf9e"},
      {IID_IGraphicsCaptureSession3, "f2cdd966-22ae-5ea1-9596-3a289344c3be"},
      {IID_IDirect3D11CaptureFrame, "fa50c623-38da-4b32-acf3-fa9734ad800e"},
      {IID_IDirect3D11CaptureFramePool, "24eb6d22-1975-422e-82e7-780dbd8ddf24"},
      {IID_IDirect3D11CaptureFramePoolStatics, "7784056a-67aa-4d53-ae54-1088d5a8ca21"},
      {IID_IDirect3D11CaptureFramePoolStatics2, "589b103f-6bbc-5df5-a991-02e28b3b66d5"},
  };
  for (const auto& [iid, text] : table) EXPECT_EQ(textOf(iid), text);
}

TEST(GraphicsCaptureInterface, FunctionsStandWhereThePlatformHasThem) {
  EXPECT_TRUE(StandFrom(3, &IInspectable::GetIids, &IInspectable::GetRuntimeClassName,
                        &IInspectable::GetTrustLevel, &IClosable::Close));
  EXPECT_TRUE(StandFrom(6, &IDirect3DDevice::Trim));
  EXPECT_TRUE(StandFrom(6, &IDirect3DSurface::get_Description));
  EXPECT_TRUE(StandFrom(3, &IDirect3DDxgiInterfaceAccess::GetInterface));
  EXPECT_TRUE(StandFrom(3, &IClosedHandler::Invoke));
  using Item = IGraphicsCaptureItem;
  EXPECT_TRUE(StandFrom(6, &Item::get_DisplayName, &Item::get_Size, &Item::add_Closed,
                        &Item::remove_Closed));
  EXPECT_TRUE(StandFrom(3, &IGraphicsCaptureItemInterop::CreateForWindow,
                        &IGraphicsCaptureItemInterop::CreateForMonitor));
  EXPECT_TRUE(StandFrom(6, &IGraphicsCaptureSession::StartCapture));
  EXPECT_TRUE(StandFrom(6, &IGraphicsCaptureSession2::get_IsCursorCaptureEnabled,
                        &IGraphicsCaptureSession2::put_IsCursorCaptureEnabled));
  EXPECT_TRUE(StandFrom(6, &IGraphicsCaptureSession3::get_IsBorderRequired,
                        &IGraphicsCaptureSession3::put_IsBorderRequired));
  using Frame = IDirect3D11CaptureFrame;
  EXPECT_TRUE(
      StandFrom(6, &Frame::get_Surface, &Frame::get_SystemRelativeTime, &Frame::get_ContentSize));
  using Pool = IDirect3D11CaptureFramePool;
  EXPECT_TRUE(StandFrom(6, &Pool::Recreate, &Pool::TryGetNextFrame, &Pool::add_FrameArrived,
                        &Pool::remove_FrameArrived, &Pool::CreateCaptureSession,
                        &Pool::get_DispatcherQueue));
  EXPECT_TRUE(StandFrom(6, &IDirect3D11CaptureFramePoolStatics::Create));
  EXPECT_TRUE(StandFrom(6, &IDirect3D11CaptureFramePoolStatics2::CreateFreeThreaded));
  EXPECT_EQ(sizeof(SizeInt32), 8u);
  EXPECT_EQ(sizeof(EventRegistrationToken), 8u);
}

#ifdef ____x_ABI_CWindows_CGraphics_CCapture_CIGraphicsCaptureSession3_INTERFACE_DEFINED__
TEST(GraphicsCaptureInterface, IsThatOfTheCompilersHeaders) {
  namespace theirs = ABI::Windows::Graphics::Capture;
  EXPECT_EQ(textOf(IID_IGraphicsCaptureSession2),
            textOf(__uuidof(theirs::IGraphicsCaptureSession2)));
  EXPECT_EQ(textOf(IID_IGraphicsCaptureSession3),
            textOf(__uuidof(theirs::IGraphicsCaptureSession3)));
  EXPECT_TRUE(StandFrom(7, &theirs::IGraphicsCaptureSession2::put_IsCursorCaptureEnabled));
  EXPECT_TRUE(StandFrom(7, &theirs::IGraphicsCaptureSession3::put_IsBorderRequired));
}
#endif

}  // namespace
}  // namespace wgc

namespace qx {
namespace {

// The function that was called last, and the slot that it has in hosts.
struct Called {
  int slot = 0;
  const char* name = "nothing";
};

// Implementations whose functions note that they were called. They stand in the order that
// hosts were compiled with, behind the destructor, which has two slots.
#define NOTED(result, name, ...)             \
  result name(__VA_ARGS__) override {        \
    called = {__COUNTER__ - kBefore, #name}; \
    return result();                         \
  }

struct NotedCapture final : IScreenCapture {
  using Text = const char*;
  using WideText = const wchar_t*;

  static constexpr int kBefore = __COUNTER__ - 1;
  NOTED(void, EnableFilterWindowWhenShareDesktop, bool)
  NOTED(void, SetExcludeWindows, const FilterWindowInfo*, const int&)
  NOTED(void, AddExcludeWindow, const FilterWindowInfo&)
  NOTED(void, RemoveExcludeWindow, const FilterWindowInfo&)
  NOTED(void, ClearExcludeWindows)
  NOTED(void, SetIncludeWindows, const FilterWindowInfo*, const int&)
  NOTED(void, AddIncludeWindow, const FilterWindowInfo&)
  NOTED(void, RemoveIncludeWindow, const FilterWindowInfo&)
  NOTED(void, ClearIncludeWindows)
  NOTED(void, GetDesktopList, DesktopListCallback, void*)
  NOTED(void, GetDesktopListAsync, DesktopListCallback, void*)
  NOTED(Text, GetDesktopThumbnail, int, int, int)
  NOTED(void, GetDesktopThumbnailAll, int, int, ThumbnailListCallback, void*)
  NOTED(void, GetDesktopThumbnailAllAsync, int, int, ThumbnailListCallback, void*)
  NOTED(void, GetWindowList, WindowListCallback, void*)
  NOTED(void, GetWindowListAsync, WindowListCallback, void*)
  NOTED(Text, GetWindowThumbnail, int, int, int)
  NOTED(void, GetWindowThumbnailAll, int, int, ThumbnailListCallback, void*)
  NOTED(void, GetWindowThumbnailAllAsync, int, int, ThumbnailListCallback, void*)
  NOTED(void, SetCanUseMagCapture, bool)
  NOTED(Text, GetWindowIcon, int)
  NOTED(WideText, GetWindowTitle, int)
  NOTED(void, EnableCaptureCursor, bool)
  NOTED(void, EnableActiveShareWindow, bool)
  NOTED(void, EnablePromptWindow, bool)
  NOTED(void, SetDynamicCheck, bool)
  NOTED(void, SetCaptureEngineConfig, const CaptureEngineType*, int, bool)
  NOTED(void, SetPromptWindowInfo, const PromptWindowInfo*)
  NOTED(void, SetCaptureFrameResolutionLimit, const ScreenFrameResolutionLimit&)
  NOTED(void, SetScreenFrameFormatType, const ScreenFrameFormat&)
  NOTED(void, SetScreenCaptureConfig, const ScreenCaptureConfig&)
  NOTED(void, SetLivingScreenCaptureConfig, const LivingScreenCaptureConfig&)
  NOTED(void, SetCaptureFPS, int)
  NOTED(void, SetWindows, int*, int)
  NOTED(bool, ShareDesktop, void*, int, ShareListener*, ShareError&)
  NOTED(bool, ShareWindow, void*, int, ShareListener*, ShareError&)
  NOTED(bool, ShareWindows, void*, int*, int, ShareListener*, ShareError&)
  NOTED(void, SharePause)
  NOTED(void, ShareResume)
  NOTED(void, ShareStop)
  NOTED(void, GetCaptureRect, CaptureRect&)
  static constexpr int kEnd = __COUNTER__ - kBefore;

  Called called;
};

struct NotedListener final : IScreenCapture::ShareListener {
  using Capture = IScreenCapture;

  static constexpr int kBefore = __COUNTER__ - 1;
  NOTED(void, OnStart, void*)
  NOTED(void, OnPause, void*, Capture::SharePauseReason)
  NOTED(void, OnResume, void*)
  NOTED(void, OnStop, void*)
  NOTED(void, OnFirstFrame, void*)
  NOTED(void, OnFrame, void*, const Capture::ScreenFrameData*)
  NOTED(void, OnFrameDirtyInfo, void*, bool, std::uint64_t, double)
  NOTED(void, OnShareWindowChanged, void*, int, int)
  NOTED(void, OnShareDesktopChanged, void*, int)
  NOTED(void, OnCaptureEngineName, void*, Capture::CaptureEngineType&, int&, bool, int)
  NOTED(void, OnFrameStatistics, void*, const Capture::ScreenFrameStatistics*)
  NOTED(void, OnShareRectChanged, void*, int, int, int, int)
  static constexpr int kEnd = __COUNTER__ - kBefore;

  Called called;
};

#undef NOTED

// Calls what stands in this slot, as a compiled host does. Nobody looks at the arguments;
// there are as many as the longest list has.
#if defined(__clang__)
__attribute__((no_sanitize("function")))
#endif
void CallSlot(void* object, int slot) {
  using Entry = void (*)(void*, void*, void*, void*, void*, void*);
  void** const table = *static_cast<void***>(object);
  reinterpret_cast<Entry>(table[slot])(object, nullptr, nullptr, nullptr, nullptr, nullptr);
}

template <typename Interface, typename Noted>
void ExpectEachInItsSlot() {
  Noted noted;
  for (int slot = 2; slot < Noted::kEnd; ++slot) {
    CallSlot(static_cast<Interface*>(&noted), slot);
    EXPECT_EQ(noted.called.slot, slot) << noted.called.name;
  }
}

TEST(PublicInterface, FunctionsStandInTheSlotsThatHostsWereCompiledWith) {
  ExpectEachInItsSlot<IScreenCapture, NotedCapture>();
  ExpectEachInItsSlot<IScreenCapture::ShareListener, NotedListener>();
}

}  // namespace
}  // namespace qx
