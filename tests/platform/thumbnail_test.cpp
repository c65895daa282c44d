// Thumbnails of the Desktop Window Manager.
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
  // 40 x 40, red and green halves.
  HWND openSource() {
    const HWND source = open({.rect = {10, 10, 50, 50}, .color = kRed});
    Fill(source, {20, 0, 40, 40}, kGreen);
    return source;
  }
  static HTHUMBNAIL registered(HWND host, HWND source) {
    HTHUMBNAIL thumbnail = nullptr;
    EXPECT_EQ(DwmRegisterThumbnail(host, source, &thumbnail), S_OK);
    return thumbnail;
  }
  // The members that `flags` does not name are not to be looked at.
  static HRESULT update(HTHUMBNAIL thumbnail, DWORD flags, const RECT& rect, bool visible = false) {
    DWM_THUMBNAIL_PROPERTIES properties{flags, {1, 1, 2, 2}, {1, 1, 2, 2}, 99, visible, 77};
    (flags & DWM_TNP_RECTDESTINATION ? properties.rcDestination : properties.rcSource) = rect;
    return DwmUpdateThumbnailProperties(thumbnail, &properties);
  }
  static HTHUMBNAIL shown(HWND host, HWND source, const RECT& to) {
    const HTHUMBNAIL thumbnail = registered(host, source);
    EXPECT_EQ(update(thumbnail, DWM_TNP_RECTDESTINATION | DWM_TNP_VISIBLE, to, true), S_OK);
    return thumbnail;
  }
  // What PrintWindow makes of a row of the window.
  static std::vector<std::uint32_t> printed(HWND window, int y, std::vector<int> columns,
                                            UINT flags = 0) {
    TestBitmap picture(100, 100);
    EXPECT_TRUE(PrintWindow(window, picture.dc(), flags));
    std::vector<std::uint32_t> pixels;
    for (const int x : columns) pixels.push_back(picture.At(x, y));
    return pixels;
  }
  static SIZE sizeOf(HTHUMBNAIL thumbnail) {
    SIZE size{};
    EXPECT_EQ(DwmQueryThumbnailSourceSize(thumbnail, &size), S_OK);
    return size;
  }
};

using Pixels = std::vector<std::uint32_t>;

TEST_F(ThumbnailTest, ShowASourceInWhateverStateItIs) {
  const HWND source = openSource();
  open({.rect = {0, 0, 90, 90}, .color = RGB(1, 1, 1)});  // covers it
  TestWindow host({100, 0, 180, 80}, kHost);
  host.Show();
  const HTHUMBNAIL thumbnail = registered(host, source);
  const std::vector<int> edges = {9, 10, 29, 30, 49, 50};
  const Pixels asItIs = {kHostPixel, kRedPixel, kRedPixel, kGreenPixel, kGreenPixel, kHostPixel};
  update(thumbnail, DWM_TNP_RECTDESTINATION, {10, 10, 50, 50});
  EXPECT_EQ(printed(host, 10, {10}), Pixels{kHostPixel}) << "not visible yet";
  update(thumbnail, DWM_TNP_VISIBLE, {}, true);
  EXPECT_EQ(printed(host, 49, edges), asItIs) << "covered";
  EXPECT_EQ(printed(host, 10, edges, PW_RENDERFULLCONTENT), asItIs);
  EXPECT_EQ(screenAt(110, 10), kRedPixel);

  const HWND child = open({.rect = {10, 10, 20, 20}, .color = RGB(9, 9, 9), .parent = source});
  Minimise(source);
  EXPECT_EQ(printed(host, 49, edges), asItIs) << "minimised";
  EXPECT_EQ(printed(host, 10, {10}), Pixels{0x00090909u}) << "with its child";
  Close(child);
  Restore(source);
  SetCloaked(source, true);
  SetLayered(source, std::nullopt, std::uint8_t{40});
  EXPECT_EQ(printed(host, 49, edges), asItIs) << "cloaked";
  Fill(source, {0, 0, 20, 40}, RGB(1, 2, 3));
  EXPECT_EQ(printed(host, 20, {10}), Pixels{0x00010203u}) << "a live picture";
  Hide(source);
  EXPECT_EQ(printed(host, 20, {10}), Pixels{kHostPixel}) << "hidden";
  EXPECT_EQ(DwmUnregisterThumbnail(thumbnail), S_OK);
}

TEST_F(ThumbnailTest, StretchAPartOfTheSource) {
  TestWindow host({100, 0, 180, 80}, kHost);
  host.Show();
  const HTHUMBNAIL thumbnail = shown(host, openSource(), {0, 0, 80, 20});
  EXPECT_EQ(printed(host, 19, {0, 39, 40, 79}),
            (Pixels{kRedPixel, kRedPixel, kGreenPixel, kGreenPixel}));
  EXPECT_EQ(printed(host, 20, {0}), Pixels{kHostPixel});
  update(thumbnail, DWM_TNP_RECTSOURCE, {20, 0, 60, 40});
  EXPECT_EQ(printed(host, 0, {0, 39, 40}), (Pixels{kGreenPixel, kGreenPixel, kHostPixel}))
      << "beyond the source the host shows through";
  EXPECT_EQ(Thumbnails().at(0).from->right, 60);
  update(thumbnail, DWM_TNP_RECTDESTINATION, {-40, -10, 40, 10});
  update(thumbnail, DWM_TNP_RECTSOURCE, {0, 0, 40, 40});
  EXPECT_EQ(printed(host, 9, {0, 39, 40}), (Pixels{kGreenPixel, kGreenPixel, kHostPixel}));
  EXPECT_EQ(printed(host, 10, {0}), Pixels{kHostPixel});

  SetVersion(vwin::kWindows8);
  EXPECT_EQ(printed(host, 9, {0}), Pixels{kHostPixel}) << "the window draws itself";
  EXPECT_EQ(screenAt(100, 9), kGreenPixel);
  SetVersion(kWindows81);
  EXPECT_EQ(printed(host, 9, {0}), Pixels{kGreenPixel});
  SetVersion(kWindows7);
  SetComposition(false);
  EXPECT_EQ(screenAt(100, 9), kHostPixel);
  SIZE size{};
  HTHUMBNAIL second = nullptr;
  EXPECT_EQ(DwmRegisterThumbnail(host, host, &second), DWM_E_COMPOSITIONDISABLED);
  EXPECT_EQ(DwmQueryThumbnailSourceSize(thumbnail, &size), DWM_E_COMPOSITIONDISABLED);
  EXPECT_EQ(update(thumbnail, DWM_TNP_RECTSOURCE, {}), DWM_E_COMPOSITIONDISABLED);
  EXPECT_EQ(DwmUnregisterThumbnail(thumbnail), S_OK);
}

TEST_F(ThumbnailTest, EndWithEitherWindow) {
  const HWND source = openSource();
  HTHUMBNAIL ofClosed = nullptr;
  {
    TestWindow host({100, 0, 180, 80}, kHost);
    host.Show();
    HTHUMBNAIL none = nullptr;
    TestWindow child({0, 0, 5, 5}, kHost, 0, host, WS_CHILD);
    for (const auto& [to, from] : std::vector<std::pair<HWND, HWND>>{
             {source, source}, {child, source}, {host, child}, {host, nullptr}, {nullptr, source}})
      EXPECT_EQ(DwmRegisterThumbnail(to, from, &none), E_INVALIDARG);

    ofClosed = shown(host, source, {0, 0, 80, 80});
    Close(source);
    EXPECT_EQ(printed(host, 20, {20}), Pixels{kHostPixel});
    SIZE size{};
    EXPECT_EQ(DwmQueryThumbnailSourceSize(ofClosed, &size), E_INVALIDARG);
    EXPECT_EQ(update(ofClosed, DWM_TNP_RECTSOURCE, {}), E_INVALIDARG);
    EXPECT_EQ(DwmRegisterThumbnail(host, source, &none), E_INVALIDARG);
    EXPECT_EQ(Thumbnails().size(), 1u);

    const HTHUMBNAIL unregistered = shown(host, openSource(), {0, 0, 80, 80});
    EXPECT_EQ(DwmUnregisterThumbnail(unregistered), S_OK);
    EXPECT_EQ(printed(host, 20, {20}), Pixels{kHostPixel});
    EXPECT_EQ(DwmUnregisterThumbnail(unregistered), E_INVALIDARG);
  }
  EXPECT_EQ(DwmUnregisterThumbnail(ofClosed), E_INVALIDARG) << "it went with its host";
  EXPECT_TRUE(Thumbnails().empty());
}

TEST_F(ThumbnailTest, KnowTheSizeOfWhatTheyShow) {
  AddMonitor({200, 0, 500, 300}, {.workArea = RECT{220, 40, 500, 300}});
  TestWindow host({100, 0, 180, 80}, kHost);
  host.Show();
  const HWND source = open({.rect = {240, 60, 280, 90},
                            .color = kRed,
                            .style = WS_POPUP | WS_THICKFRAME,
                            .invisibleFrame = {7, 0, 7, 7}});
  const HTHUMBNAIL thumbnail = shown(host, source, {0, 0, 80, 80});
  const auto expectSize = [&](LONG width, LONG height, const char* what) {
    const SIZE size = sizeOf(thumbnail);
    EXPECT_EQ(size.cx, width) << what;
    EXPECT_EQ(size.cy, height) << what;
  };
  expectSize(40, 30, "with the invisible frame");
  WINDOWPLACEMENT placement{};
  placement.length = 44;
  Minimise(source);
  ASSERT_TRUE(GetWindowPlacement(source, &placement));
  EXPECT_EQ(placement.showCmd, static_cast<UINT>(SW_SHOWMINIMIZED));
  EXPECT_EQ(placement.rcNormalPosition.left, 220) << "counts from the work area";
  EXPECT_EQ(placement.rcNormalPosition.bottom, 50);
  expectSize(40, 30, "where Restore leads");
  SetThumbnailSourceSize(source, SIZE{20, 60});
  expectSize(20, 60, "as a test wants it");
  EXPECT_EQ(printed(host, 39, {0, 79}), (Pixels{kRedPixel, kRedPixel}));
  EXPECT_EQ(printed(host, 40, {0, 79}), (Pixels{kHostPixel, kHostPixel})) << "30 rows of 60";
  SetThumbnailSourceSize(source, std::nullopt);

  Maximise(source);
  RECT rect{};
  GetWindowRect(source, &rect);
  EXPECT_EQ(rect.right - rect.left, 296);
  expectSize(280, 260, "16 less than its rectangle");
  Fill(source, {8, 8, 288, 268}, kGreen);
  EXPECT_EQ(printed(host, 0, {0, 79}), (Pixels{kGreenPixel, kGreenPixel}))
      << "counts from the work area";
  Minimise(source);
  expectSize(280, 260, "Restore leads to the work area");
  DwmUnregisterThumbnail(thumbnail);
}

}  // namespace
}  // namespace qx::test
