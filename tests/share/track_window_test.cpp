// Applications that open a second window for a slide show: the share moves over to it
// and back.
#include "tests/share/AllocationHook.h"
#include "tests/share/WindowShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

constexpr DWORD kFramed = WS_CAPTION | WS_SYSMENU | WS_MINIMIZEBOX | WS_MAXIMIZEBOX;
constexpr DWORD kShowProcess = 7100;
constexpr std::uint32_t kShowColor = 0x28C80A;

struct Application {
  int rule;
  const wchar_t* mainClass;
  DWORD mainStyle;
  const wchar_t* showClass;
  const wchar_t* image;
};

class TrackTest : public WindowShareTest {
 protected:
  explicit TrackTest(const Application& used = {0, L"PPTFrameClass", kFramed, L"screenClass",
                                                L"C:\\Apps\\powerpnt.exe"})
      : application(used) {
    AddProcess(kShowProcess, application.image);
    main = openMain(L"Report - Draft - Slides");
  }

  HWND openMain(const std::wstring& title) const {
    const HWND opened = openShared({.className = application.mainClass,
                                    .style = application.mainStyle,
                                    .processId = kShowProcess});
    SetTitle(opened, title);
    return opened;
  }

  HWND openShow(const std::wstring& title = L"Slide Show - [Report - Draft]") const {
    return OpenWindow({.title = title,
                       .className = application.showClass,
                       .rect = {0, 0, 320, 200},
                       .color = RGB(0x28, 0xC8, 0x0A),
                       .processId = kShowProcess});
  }

  static std::string changedTo(HWND target) {
    return "windowChanged " + std::to_string(idOf(target));
  }

  bool showsShow() const { return Shows(host.LastFrame(), kShowColor, {}); }

  // Time for the search, which comes once a second, and for the new window to settle.
  static void search() { Advance(1600ms); }

  const Application application;
  HWND main;
};

class KnownApplicationTest : public TrackTest, public testing::WithParamInterface<Application> {
 protected:
  KnownApplicationTest() : TrackTest(GetParam()) {}
};

TEST_P(KnownApplicationTest, ShareMovesOverAndBack) {
  Close(window);
  startWindow(main);
  EXPECT_TRUE(log.Has(3, "get main track window:" + std::to_string(GetParam().rule))) << log.Dump();
  search();
  for (int round = 0; round < 2; ++round) {
    host.Forget();
    const HWND show = openShow();
    search();
    EXPECT_EQ(host.Events(),
              (Events{changedTo(show), "engine 5", "rect 0,0 320x200", "pause 4", "resume"}));
    EXPECT_TRUE(showsShow());
    const auto searches = Count("FindWindowExA");
    search();
    EXPECT_EQ(Count("FindWindowExA"), searches) << "nothing to look for meanwhile";

    host.Forget();
    Close(show);
    search();
    EXPECT_EQ(host.Events(),
              (Events{changedTo(main), "engine 5", "rect 40,30 100x80", "pause 4", "resume"}));
    EXPECT_EQ(host.LastFrame().width, 100);
  }
}

constexpr wchar_t kWpp[] = L"D:\\Office\\Wpp.exe";
INSTANTIATE_TEST_SUITE_P(
    Rules, KnownApplicationTest,
    testing::Values(
        Application{0, L"PPTFrameClass", kFramed, L"protectedViewScreenClass", L"\\POWERPNT.EXE"},
        Application{1, L"PP12FrameClass", kFramed, L"screenClass", L"C:\\x.y\\PowerPnt"},
        Application{2, L"PP11FrameClass", kFramed, L"screenClass", L"C:\\powerpnt.exe"},
        Application{3, L"PP12FrameClass", WS_BORDER, L"Qt5QWindowIcon", kWpp},
        Application{4, L"QWidget", kFramed, L"QWidget", kWpp},
        Application{5, L"PP11FrameClass", WS_POPUP, L"QWidget", kWpp},
        Application{6, L"TfmMain.UnicodeClass", kFramed, L"TSlideShowDlg.UnicodeClass", kWpp},
        Application{7, L"OpusApp", kFramed, L"Qt5QWindowIcon", kWpp},
        Application{8, L"XLMAIN", kFramed, L"Qt5QWindowIcon", kWpp}),
    [](const auto& test) { return "Rule" + std::to_string(test.param.rule); });

TEST_F(TrackTest, OnlyTheSlideShowOfTheSharedDocumentCounts) {
  startWindow(main);
  host.Forget();
  openShow(L"Slide Show - Other");
  openShow(L"Slide Show - report - draft");
  openShow(L"Report - Draft");
  const HWND framed = openShow();
  SetStyle(framed, WS_POPUP | WS_MAXIMIZEBOX);
  AddProcess(7200, L"C:\\viewer.exe");
  OpenWindow({.title = L"Slide Show - Report - Draft",
              .className = L"screenClass",
              .rect = {0, 0, 320, 200},
              .processId = 7200});
  search();
  EXPECT_EQ(host.Events(), Events{});
  SetStyle(framed, WS_POPUP);
  search();
  EXPECT_EQ(host.Events().front(), changedTo(framed));
}

TEST_F(TrackTest, TitleWithoutAnApplicationTakesAnySlideShow) {
  SetTitle(main, L"Report");
  startWindow(main);
  host.Forget();
  const HWND show = openShow(L"whatever");
  search();
  EXPECT_EQ(host.Events().front(), changedTo(show));
}

TEST_F(TrackTest, WindowOfNoKnownApplicationAndOneThatFitsItsOwnRuleAreNeverLeft) {
  startWindow(window);
  openShow();
  search();
  EXPECT_EQ(host.Events(), (Events{"engine 5", "start", "firstFrame"}));
  EXPECT_EQ(Count("FindWindowExA"), 0u);
  EXPECT_EQ(log.Count("get main track window"), 0);
  capture.ShareStop();

  AddProcess(7300, L"C:\\wpp.exe");
  host.Forget();
  startWindow(openShared({.className = L"QWidget", .style = WS_POPUP, .processId = 7300}));
  search();
  EXPECT_EQ(host.Events(), (Events{"engine 5", "start", "firstFrame"}));
  EXPECT_EQ(log.Count("get main track window:4"), 1);
}

TEST_F(TrackTest, MainWindowsEndDuringTheShowEndsTheShareWithTheShow) {
  startWindow(main);
  const HWND show = openShow();
  search();
  Close(main);
  search();
  EXPECT_TRUE(showsShow());
  EXPECT_EQ(host.Count("stop"), 0);
  host.Forget();
  Close(show);
  search();
  EXPECT_EQ(host.Events(), Events{"stop"});
  EXPECT_TRUE(log.Has(3, "back capture failed"));
}

TEST_F(TrackTest, WindowThatDiesDuringTheSearchIsNotFollowedByAnotherShow) {
  startWindow(main);
  host.Forget();
  openShow(L"Slide Show - Other");
  AtNth("GetClassNameA", 1, [this] { Close(main); });
  search();
  EXPECT_EQ(host.Events().back(), "stop");
  EXPECT_EQ(log.Count("find track window"), 0);
}

TEST_F(TrackTest, FrameMovesOverAndMinimisedMainWindowIsRestored) {
  useClassicWindows7();
  capture.EnablePromptWindow(true);
  startWindow(main);
  const HWND show = openShow();
  SetTopmost(show, true);
  SetTopmost(window, true);
  ToTop(window);
  search();
  auto prompts = LibraryWindows(L"OrvaSSPromptWindow");
  ASSERT_EQ(prompts.size(), 1u);
  EXPECT_EQ(prompts[0].rect.right, 320);
  EXPECT_EQ(prompts[0].owner, show);
  EXPECT_TRUE(prompts[0].exStyle & WS_EX_TOPMOST);
  EXPECT_EQ(WindowsInOrder().at(1), show) << "raised, with its frame";

  Minimise(main);
  Close(show);
  search();
  EXPECT_FALSE(IsIconic(main));
  prompts = LibraryWindows(L"OrvaSSPromptWindow");
  ASSERT_EQ(prompts.size(), 1u);
  EXPECT_EQ(prompts[0].owner, main);
  EXPECT_EQ(prompts[0].rect.left, 36);
}

// Each allocation of a move fails once, one after the other.
TEST_F(TrackTest, LackOfMemoryInAMoveEndsTheShareAtOnceOrLeavesTheWayBack) {
  capture.EnablePromptWindow(true);
  int moved = 0;
  bool failed = true;
  for (int n = 1; failed; ++n) {
    startWindow(main);
    host.Forget();
    const HWND show = openShow();
    {
      const FailNthAllocation noMemory(n);
      search();
      failed = noMemory.failed();
    }
    if (host.Count("stop") == 0) {
      search();
      EXPECT_TRUE(showsShow()) << n;
      Close(show);
      search();
      EXPECT_EQ(captureRect(), "40,30 100x80") << n;
      EXPECT_EQ(host.Count("stop"), 0) << n;
      ++moved;
    } else {
      Close(show);
    }
    capture.ShareStop();
  }
  EXPECT_GT(moved, 5);
}

}  // namespace
}  // namespace qx::test
