// Binary interfaces as they are compiled for this target: the places of their functions, and
// the identifiers of those of Windows.Graphics.Capture.
#include <gtest/gtest.h>
#include <windows.h>
// After windows.h.
#include <d3d9.h>
#include <qx-screen-capture.h>
#include <windows_graphics_capture.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "win/engine/ScreenCaptureEngine.h"

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

// The library goes by the numbers where it redirects them.
TEST(Direct3D9Interface, HasTheRedirectedFunctionsWhereTheyAreLookedFor) {
  EXPECT_TRUE(StandFrom(20, &IDirect3D9Ex::CreateDeviceEx));
  EXPECT_TRUE(StandFrom(34, &IDirect3DDevice9::StretchRect));
}

// Behind the destructor, which has two places here. A host was compiled with this order.
TEST(PublicInterface, OperationsStandInTheOrderThatHostsWereCompiledWith) {
  using I = IScreenCapture;
  EXPECT_TRUE(StandFrom(
      2, &I::EnableFilterWindowWhenShareDesktop, &I::SetExcludeWindows, &I::AddExcludeWindow,
      &I::RemoveExcludeWindow, &I::ClearExcludeWindows, &I::SetIncludeWindows, &I::AddIncludeWindow,
      &I::RemoveIncludeWindow, &I::ClearIncludeWindows, &I::GetDesktopList, &I::GetDesktopListAsync,
      &I::GetDesktopThumbnail, &I::GetDesktopThumbnailAll, &I::GetDesktopThumbnailAllAsync,
      &I::GetWindowList, &I::GetWindowListAsync, &I::GetWindowThumbnail, &I::GetWindowThumbnailAll,
      &I::GetWindowThumbnailAllAsync, &I::SetCanUseMagCapture, &I::GetWindowIcon,
      &I::GetWindowTitle, &I::EnableCaptureCursor, &I::EnableActiveShareWindow,
      &I::EnablePromptWindow, &I::SetDynamicCheck, &I::SetCaptureEngineConfig,
      &I::SetPromptWindowInfo, &I::SetCaptureFrameResolutionLimit, &I::SetScreenFrameFormatType,
      &I::SetScreenCaptureConfig, &I::SetLivingScreenCaptureConfig, &I::SetCaptureFPS,
      &I::SetWindows, &I::ShareDesktop, &I::ShareWindow, &I::ShareWindows, &I::SharePause,
      &I::ShareResume, &I::ShareStop, &I::GetCaptureRect));
  using L = IScreenCapture::ShareListener;
  EXPECT_TRUE(StandFrom(2, &L::OnStart, &L::OnPause, &L::OnResume, &L::OnStop, &L::OnFirstFrame,
                        &L::OnFrame, &L::OnFrameDirtyInfo, &L::OnShareWindowChanged,
                        &L::OnShareDesktopChanged, &L::OnCaptureEngineName, &L::OnFrameStatistics,
                        &L::OnShareRectChanged));
  using E = qx::ScreenCaptureEngine;
  EXPECT_TRUE(StandFrom(2, &E::Initialize, &E::UnInitialize, &E::GetEngineType, &E::SetSource,
                        &E::Capture, &E::SetTargetSize, &E::SetUseBasicGraphics, &E::ShowCursor,
                        &E::SetDynamicCheck, &E::IsDesktopBased));
}

}  // namespace
}  // namespace wgc
