// The binary interface of Windows.Graphics.Capture, as it is compiled for this target:
// the identifiers of its interfaces, and the places of their functions.
#include <gtest/gtest.h>
#include <windows.h>
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
template <typename... Functions>
std::vector<std::size_t> slotsOf(Functions... functions) {
  const auto slotOf = [](auto function) {
    std::uintptr_t place = 0;
    std::memcpy(&place, &function, sizeof(place));
    return (place - 1) / sizeof(void*);
  };
  return {slotOf(functions)...};
}

using Slots = std::vector<std::size_t>;

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
  const Slots one = {6}, two = {6, 7}, bare = {3};
  EXPECT_EQ(slotsOf(&IInspectable::GetIids, &IInspectable::GetRuntimeClassName,
                    &IInspectable::GetTrustLevel),
            (Slots{3, 4, 5}));
  EXPECT_EQ(slotsOf(&IClosable::Close), one);
  EXPECT_EQ(slotsOf(&IDirect3DDevice::Trim), one);
  EXPECT_EQ(slotsOf(&IDirect3DSurface::get_Description), one);
  EXPECT_EQ(slotsOf(&IDirect3DDxgiInterfaceAccess::GetInterface), bare);
  EXPECT_EQ(slotsOf(&IClosedHandler::Invoke), bare);
  EXPECT_EQ(slotsOf(&IGraphicsCaptureItem::get_DisplayName, &IGraphicsCaptureItem::get_Size,
                    &IGraphicsCaptureItem::add_Closed, &IGraphicsCaptureItem::remove_Closed),
            (Slots{6, 7, 8, 9}));
  EXPECT_EQ(slotsOf(&IGraphicsCaptureItemInterop::CreateForWindow,
                    &IGraphicsCaptureItemInterop::CreateForMonitor),
            (Slots{3, 4}));
  EXPECT_EQ(slotsOf(&IGraphicsCaptureSession::StartCapture), one);
  EXPECT_EQ(slotsOf(&IGraphicsCaptureSession2::get_IsCursorCaptureEnabled,
                    &IGraphicsCaptureSession2::put_IsCursorCaptureEnabled),
            two);
  EXPECT_EQ(slotsOf(&IGraphicsCaptureSession3::get_IsBorderRequired,
                    &IGraphicsCaptureSession3::put_IsBorderRequired),
            two);
  EXPECT_EQ(slotsOf(&IDirect3D11CaptureFrame::get_Surface,
                    &IDirect3D11CaptureFrame::get_SystemRelativeTime,
                    &IDirect3D11CaptureFrame::get_ContentSize),
            (Slots{6, 7, 8}));
  using Pool = IDirect3D11CaptureFramePool;
  EXPECT_EQ(
      slotsOf(&Pool::Recreate, &Pool::TryGetNextFrame, &Pool::add_FrameArrived,
              &Pool::remove_FrameArrived, &Pool::CreateCaptureSession, &Pool::get_DispatcherQueue),
      (Slots{6, 7, 8, 9, 10, 11}));
  EXPECT_EQ(slotsOf(&IDirect3D11CaptureFramePoolStatics::Create), one);
  EXPECT_EQ(slotsOf(&IDirect3D11CaptureFramePoolStatics2::CreateFreeThreaded), one);
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
  EXPECT_EQ(slotsOf(&IGraphicsCaptureSession2::put_IsCursorCaptureEnabled,
                    &IGraphicsCaptureSession3::put_IsBorderRequired),
            slotsOf(&theirs::IGraphicsCaptureSession2::put_IsCursorCaptureEnabled,
                    &theirs::IGraphicsCaptureSession3::put_IsBorderRequired));
}
#endif

}  // namespace
}  // namespace wgc
