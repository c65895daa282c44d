// Thumbnails of the Desktop Window Manager: where one shows nothing, and what is refused.
#include <utility>
#include <vector>

#include "platform/control/Thumbnails.h"
#include "tests/platform/DesktopTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

constexpr COLORREF kHost = RGB(5, 6, 7);
constexpr std::uint32_t kHostPixel = 0x00050607;

class ThumbnailTest : public DesktopTest {
 protected:
  // The members that `flags` does not name are not to be looked at.
  static HRESULT update(HTHUMBNAIL thumbnail, DWORD flags, const RECT& rect) {
    DWM_THUMBNAIL_PROPERTIES properties{flags, {1, 1, 2, 2}, {1, 1, 2, 2}, 99, TRUE, 77};
    (flags & DWM_TNP_RECTDESTINATION ? properties.rcDestination : properties.rcSource) = rect;
    return DwmUpdateThumbnailProperties(thumbnail, &properties);
  }
  static HTHUMBNAIL shown(HWND host, HWND source) {
    HTHUMBNAIL thumbnail = nullptr;
    EXPECT_EQ(DwmRegisterThumbnail(host, source, &thumbnail), S_OK);
    EXPECT_EQ(update(thumbnail, DWM_TNP_RECTDESTINATION | DWM_TNP_VISIBLE, {0, 0, 80, 80}), S_OK);
    return thumbnail;
  }
  static std::uint32_t printed(HWND window, int x, int y) {
    TestBitmap picture(80, 80);
    EXPECT_TRUE(PrintWindow(window, picture.dc(), 0));
    return picture.At(x, y);
  }
  static HRESULT sizeOf(HTHUMBNAIL thumbnail) {
    SIZE size{};
    return DwmQueryThumbnailSourceSize(thumbnail, &size);
  }
};

TEST_F(ThumbnailTest, ShowNothingBeyondTheirSourceNorBeforeWindows81NorWithoutComposition) {
  TestWindow host({100, 0, 180, 80}, kHost);
  host.Show();
  const HWND source = OpenWindow({.rect = {10, 10, 50, 50}, .color = kRed});
  Fill(source, {0, 0, 40, 20}, kGreen);
  const HTHUMBNAIL thumbnail = shown(host, source);
  EXPECT_EQ(printed(host, 0, 0), kGreenPixel);
  EXPECT_EQ(printed(host, 79, 79), kRedPixel);
  EXPECT_EQ(update(thumbnail, DWM_TNP_RECTSOURCE, {20, 20, 60, 60}), S_OK);
  EXPECT_EQ(printed(host, 39, 0), kRedPixel);
  EXPECT_EQ(printed(host, 40, 0), kHostPixel) << "the host shows through";
  Hide(source);
  EXPECT_EQ(printed(host, 0, 0), kHostPixel);
  Show(source);
  SetVersion(vwin::kWindows8);
  EXPECT_EQ(printed(host, 0, 0), kHostPixel) << "the window draws itself";
  EXPECT_EQ(screenAt(100, 0), kRedPixel);
  SetVersion(kWindows7);
  SetComposition(false);
  EXPECT_EQ(screenAt(100, 0), kHostPixel);
  HTHUMBNAIL second = nullptr;
  EXPECT_EQ(DwmRegisterThumbnail(host, host, &second), DWM_E_COMPOSITIONDISABLED);
  EXPECT_EQ(sizeOf(thumbnail), DWM_E_COMPOSITIONDISABLED);
  EXPECT_EQ(update(thumbnail, DWM_TNP_RECTSOURCE, {}), DWM_E_COMPOSITIONDISABLED);
  EXPECT_EQ(DwmUnregisterThumbnail(thumbnail), S_OK);
}

TEST_F(ThumbnailTest, EndWithEitherWindow) {
  const HWND source = OpenWindow({.rect = {10, 10, 50, 50}, .color = kRed});
  HTHUMBNAIL ofClosed = nullptr;
  {
    TestWindow host({100, 0, 180, 80}, kHost);
    host.Show();
    HTHUMBNAIL none = nullptr;
    TestWindow child({0, 0, 5, 5}, kHost, 0, host, WS_CHILD);
    for (const auto& [to, from] : std::vector<std::pair<HWND, HWND>>{
             {source, source}, {child, source}, {host, child}, {host, nullptr}, {nullptr, source}})
      EXPECT_EQ(DwmRegisterThumbnail(to, from, &none), E_INVALIDARG);

    ofClosed = shown(host, source);
    Close(source);
    EXPECT_EQ(printed(host, 20, 20), kHostPixel);
    EXPECT_EQ(sizeOf(ofClosed), E_INVALIDARG);
    EXPECT_EQ(update(ofClosed, DWM_TNP_RECTSOURCE, {}), E_INVALIDARG);
    EXPECT_EQ(DwmRegisterThumbnail(host, source, &none), E_INVALIDARG);
    EXPECT_EQ(Thumbnails().size(), 1u);

    const HTHUMBNAIL unregistered = shown(host, OpenWindow({.color = kRed}));
    EXPECT_EQ(DwmUnregisterThumbnail(unregistered), S_OK);
    EXPECT_EQ(printed(host, 20, 20), kHostPixel);
    EXPECT_EQ(DwmUnregisterThumbnail(unregistered), E_INVALIDARG);
  }
  EXPECT_EQ(DwmUnregisterThumbnail(ofClosed), E_INVALIDARG) << "it went with its host";
  EXPECT_TRUE(Thumbnails().empty());
}

}  // namespace
}  // namespace qx::test
