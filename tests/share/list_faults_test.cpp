// Every call that lists, their thumbnails and an icon make fails once, one after the other.
#include <objbase.h>

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "data_url.h"
#include "platform/control/Icons.h"
#include "tests/share/ListAnswers.h"
#include "tests/support/PngReader.h"

namespace qx::test {
namespace {

using namespace vwin::control;

struct Lists {
  WindowList windows;
  ThumbnailList windowThumbnails;
  ThumbnailList monitorThumbnails;
  std::string icon;  // of the last window
};

constexpr int kParts = 8;  // of the sweep, for tests that take seconds

class FailingLists : public ShareTest, public testing::WithParamInterface<std::tuple<bool, int>> {
 protected:
  // So that virtual desktops are asked about, on this thread at least.
  FailingLists() {
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    // The Mag engine takes the pictures, or a host window shows them.
    SetVersion(isAsync() ? kWindows8 : kWindows10);
    AddProcess(7000, L"C:\\notes.exe");
    HWND owner = nullptr;
    for (int i = 0; i < 6; ++i) {
      const std::wstring title = i == 5 ? L"" : L"Window " + std::to_wstring(i);
      const RECT rect = {i * 60, 0, i * 60 + 50, 40};
      owner = OpenWindow({.title = title,
                          .rect = rect,
                          .exStyle = i % 5 == 2 ? WS_EX_TOPMOST : 0u,
                          .owner = title.empty() ? owner : nullptr});
      if (i % 5 == 0) {
        Minimise(owner);
      }
      all.push_back({idOf(owner), 7000, L"notes", title, rect});
    }
    // Its content is that of another program, whose icon has no alpha.
    AddProcess(8000, L"C:\\content.exe");
    OpenWindow({.rect = {}, .parent = owner, .processId = 8000});
    SetProgramIcon(L"C:\\content.exe", MakeIcon({2, 1, {0x102030, 0x405060}, {0, 0xFFFFFF}}));
    capture.AddExcludeWindow({.type = 1, .titleRule = 1, .processId = 7000, .title = "Nothing"});
    list();
  }
  ~FailingLists() override { CoUninitialize(); }

  static bool isAsync() { return std::get<0>(GetParam()); }

  Lists listAll() {
    Lists lists;
    if (isAsync()) {
      capture.GetWindowListAsync(WindowList::Take, &lists.windows);
      Settle();
      capture.GetWindowThumbnailAllAsync(16, 9, ThumbnailList::Take, &lists.windowThumbnails);
      capture.GetDesktopThumbnailAllAsync(16, 9, ThumbnailList::Take, &lists.monitorThumbnails);
      Advance(5s);
    } else {
      capture.GetWindowList(WindowList::Take, &lists.windows);
      capture.GetWindowThumbnailAll(16, 9, ThumbnailList::Take, &lists.windowThumbnails);
      capture.GetDesktopThumbnailAll(16, 9, ThumbnailList::Take, &lists.monitorThumbnails);
    }
    lists.icon = capture.GetWindowIcon(all.back().id);
    EXPECT_EQ(lists.windows.calls, 1);
    EXPECT_EQ(lists.windowThumbnails.calls, 1);
    EXPECT_EQ(lists.monitorThumbnails.calls, 1);
    return lists;
  }

  // What could not be read is empty, and never half of it.
  bool isWhole(WindowList::Window window) const {
    return std::ranges::any_of(all, [&](const WindowList::Window& wanted) {
      if (window.processId == 0 && window.processName.empty()) {
        window.processId = wanted.processId;
      }
      if (window.processName.empty()) {
        window.processName = wanted.processName;
      }
      return window == wanted;
    });
  }

  std::vector<WindowList::Window> all;
};

TEST_P(FailingLists, GiveWholeRecordsAndEachIdOnceAndLeaveNothing) {
  const Lists good = listAll();
  ASSERT_EQ(good.windows.windows.size(), all.size());
  ASSERT_EQ(good.windowThumbnails.Failed() + good.monitorThumbnails.Failed(), 0u) << log.Dump();
  ASSERT_EQ(ReadPng(DecodePngDataUrl(good.icon)).width, 2);
  const std::set<std::string> noList = {"EnumWindows", "CreateThread", "GetModuleHandleExW"};
  const LedgerSnapshot before = Snapshot();
  int call = std::get<1>(GetParam());
  for (; !HasFailure(); call += kParts) {
    ASSERT_LT(call, 5000);
    FailNthOfAll(static_cast<std::uint64_t>(call));
    const Lists lists = listAll();
    const std::optional<std::string> injected = InjectedInto();
    ClearFaults();
    if (!injected) {
      break;
    }
    SCOPED_TRACE("after call " + std::to_string(call) + ", " + *injected);
    const std::vector<WindowList::Window>& windows = lists.windows.windows;
    EXPECT_TRUE(lists.windows.isNull ? noList.contains(*injected)
                                     : windows.size() >= all.size() - 1);
    EXPECT_TRUE(std::ranges::all_of(windows, [&](const auto& window) { return isWhole(window); }));
    const ThumbnailList& thumbnails = lists.windowThumbnails;
    EXPECT_TRUE(thumbnails.isNull || thumbnails.texts.size() >= all.size() - 1);
    EXPECT_TRUE(lists.monitorThumbnails.isNull || lists.monitorThumbnails.texts.size() == 1);
    for (const auto& [id, text] : thumbnails.texts) {
      EXPECT_TRUE(text.empty() || ReadPng(DecodePngDataUrl(text)).width == 16);
    }
    EXPECT_TRUE(lists.icon.empty() || ReadPng(DecodePngDataUrl(lists.icon)).width > 0);
    EXPECT_TRUE(LibraryWindows(L"ThumbnailWindow").empty());
    EXPECT_EQ(Difference(before), "");
    EXPECT_EQ(HeldModules(), 0);
    EXPECT_TRUE(Misuses().empty()) << Misuses().front();
  }
  EXPECT_GT(call, 200) << "the sweep went through all lists";
}

INSTANTIATE_TEST_SUITE_P(Forms, FailingLists,
                         testing::Combine(testing::Bool(), testing::Range(1, kParts + 1)),
                         [](const auto& test) {
                           return std::string(std::get<0>(test.param) ? "AsyncFrom" : "SyncFrom") +
                                  std::to_string(std::get<1>(test.param));
                         });

}  // namespace
}  // namespace qx::test
