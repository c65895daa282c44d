// Which windows the exclude and the include list name.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <vector>

#include "platform/control/Desktop.h"
#include "platform/control/Faults.h"
#include "tests/support/ShareRecorder.h"
#include "win/prompt/FilterWindowManager.h"
#include "win/util/Thread.h"

namespace qx {
namespace {

using namespace vwin::control;
using Info = IScreenCapture::FilterWindowInfo;

Info ByWindow(HWND window) {
  Info info;
  info.window = window;
  return info;
}

Info ByProcess(std::uint32_t processId, std::uint32_t titleRule = 0,
               const std::string& title = {}) {
  Info info;
  info.type = 1;
  info.titleRule = titleRule;
  info.processId = processId;
  std::copy_n(title.data(), std::min(title.size(), sizeof(info.title)), info.title);
  return info;
}

class FilterWindowManagerTest : public testing::Test {
 protected:
  HWND notes = OpenWindow({.title = L"Notes \U0001F600", .processId = 7100});
  HWND untitled = OpenWindow({.processId = 7100});
  HWND other = OpenWindow({.title = L"Notes \U0001F600", .processId = 7200});
  const std::string title = "Notes \xF0\x9F\x98\x80";
  FilterWindowManager manager;
};

TEST_F(FilterWindowManagerTest, WindowsAreNamedByHandleOrProcessAndTitle) {
  const HWND longTitle = OpenWindow({.title = std::wstring(300, L'a'), .processId = 7100});
  const HWND wideTitle = OpenWindow({.title = std::wstring(259, L'\u20AC'), .processId = 7300});
  std::string euros;
  for (int i = 0; i < 259; ++i) euros += "\xE2\x82\xAC";
  Info strange = ByProcess(7100);
  strange.type = 2;
  strange.window = notes;
  struct Row {
    Info info;
    std::vector<HWND> named;
  };
  const Row rows[] = {
      {ByWindow(notes), {notes}},
      {ByProcess(7100), {notes, untitled, longTitle}},
      {ByProcess(7100, 1, title), {notes}},
      {ByProcess(7100, 1, "notes \xF0\x9F\x98\x80"), {}},  // case counts
      {ByProcess(7100, 1), {untitled}},                    // no title is the empty one
      {ByProcess(7100, 1, std::string(259, 'a')), {longTitle}},
      {ByProcess(7100, 1, std::string(300, 'a')), {}},
      {ByProcess(7100, 1, std::string(5000, 'a')), {}},  // a field without an end
      {ByProcess(7300, 1, euros), {wideTitle}},
      {ByProcess(7100, 2, title), {untitled, longTitle}},
      {ByProcess(7100, 2), {notes, longTitle}},
      {ByProcess(7100, 3), {}},
      {strange, {}},
  };
  for (const Row& row : rows) {
    FilterWindowManager one;
    one.AddIncludeWindow(row.info);
    std::vector<HWND> named;
    for (const HWND window : {notes, untitled, other, longTitle, wideTitle}) {
      if (one.IsIncludedWindow(window)) named.push_back(window);
      EXPECT_FALSE(one.IsExcludedWindow(window)) << "the lists are two";
    }
    EXPECT_EQ(named, row.named) << "row " << &row - rows;
  }
}

TEST_F(FilterWindowManagerTest, ListsAreSets) {
  manager.SetExcludeWindows({ByWindow(notes)});
  manager.SetExcludeWindows({ByWindow(other), ByWindow(other)});
  EXPECT_TRUE(manager.IsExcludedWindow(notes)) << "Set adds";
  manager.AddExcludeWindow(ByWindow(other));
  manager.RemoveExcludeWindow(ByWindow(other));
  EXPECT_FALSE(manager.IsExcludedWindow(other)) << "one removal is enough";

  // What does not matter for matching still tells entries apart.
  for (const auto& change :
       {+[](Info& info) { info.reserved = 1; }, +[](Info& info) { info.titleRule = 1; },
        +[](Info& info) { info.processId = 7; }, +[](Info& info) { info.title[0] = 'x'; }}) {
    Info twin = ByWindow(notes);
    change(twin);
    manager.AddExcludeWindow(twin);
    manager.RemoveExcludeWindow(ByWindow(notes));
    EXPECT_TRUE(manager.IsExcludedWindow(notes));
    manager.RemoveExcludeWindow(twin);
    EXPECT_FALSE(manager.IsExcludedWindow(notes));
    manager.AddExcludeWindow(ByWindow(notes));
  }
  manager.ClearIncludeWindows();
  EXPECT_TRUE(manager.IsExcludedWindow(notes));
  manager.ClearExcludeWindows();
  EXPECT_FALSE(manager.IsExcludedWindow(notes));
}

TEST_F(FilterWindowManagerTest, EveryEntryIsLoggedAlsoWithoutEffect) {
  const test::LogRecorder log;
  Info info = ByProcess(12, 1, "Title");
  info.window = reinterpret_cast<void*>(std::intptr_t{0x1234});
  info.reserved = 3;
  const std::string text = "filter window info:1,0x001234,1,12,Title,3";
  manager.SetIncludeWindows({info, info});
  EXPECT_EQ(log.Count(text), 2) << log.Dump();
  manager.RemoveExcludeWindow(info);
  EXPECT_EQ(log.Count(text), 3) << log.Dump();
  EXPECT_TRUE(log.Has(3, text));
  EXPECT_TRUE(log.Has(3, "entry FilterWindowManager::SetIncludeWindows"));
  EXPECT_TRUE(log.Has(3, "entry FilterWindowManager::RemoveExcludeWindow"));
}

TEST_F(FilterWindowManagerTest, DeadWindowsLeaveTheIncludeListOnly) {
  EXPECT_FALSE(manager.NeedIncludeWindow());
  manager.SetIncludeWindows({ByWindow(notes), ByWindow(other)});
  manager.AddExcludeWindow(ByWindow(notes));
  Close(notes);
  EXPECT_TRUE(manager.NeedIncludeWindow());
  EXPECT_FALSE(manager.IsIncludedWindow(notes));
  EXPECT_TRUE(manager.IsIncludedWindow(other));
  EXPECT_TRUE(manager.IsExcludedWindow(notes));
  Close(other);
  EXPECT_FALSE(manager.NeedIncludeWindow());
  EXPECT_FALSE(manager.IsIncludedWindow(other));
  manager.AddIncludeWindow(ByProcess(99999));
  EXPECT_TRUE(manager.NeedIncludeWindow()) << "processes are not asked about";
}

TEST_F(FilterWindowManagerTest, QuestionsAskTheSystemOnceAndOnlyWhenNeeded) {
  manager.AddExcludeWindow(ByWindow(other));
  ResetCounts();
  EXPECT_TRUE(manager.IsExcludedWindow(other));
  EXPECT_FALSE(manager.IsExcludedWindow(notes));
  EXPECT_EQ(Count("GetWindowThreadProcessId"), 0u);

  manager.SetExcludeWindows({ByProcess(7100, 1, "a"), ByProcess(7100, 1, "b"), ByProcess(7300),
                             ByProcess(7100, 2, title)});
  EXPECT_FALSE(manager.IsExcludedWindow(notes));
  EXPECT_EQ(Count("GetWindowThreadProcessId"), 1u);
  EXPECT_EQ(Count("InternalGetWindowText"), 1u);
  EXPECT_TRUE(manager.IsExcludedWindow(other));
  EXPECT_EQ(Count("GetWindowThreadProcessId"), 1u);
  manager.AddExcludeWindow(ByProcess(7100, 1, title));
  EXPECT_TRUE(manager.IsExcludedWindow(notes)) << "any of the process's rules will do";
}

TEST_F(FilterWindowManagerTest, ChangesShowWhileOtherThreadsAsk) {
  manager.AddIncludeWindow(ByWindow(notes));
  std::atomic<bool> done = false;
  std::atomic<int> wrong = 0;
  Thread reader;
  ASSERT_TRUE(reader.Start([&] {
    while (!done) {
      wrong += manager.IsIncludedWindow(notes) && manager.NeedIncludeWindow() ? 0 : 1;
    }
  }));
  for (int i = 0; i < 200; ++i) {
    manager.AddIncludeWindow(ByWindow(other));
    EXPECT_TRUE(manager.IsIncludedWindow(other));
    manager.RemoveIncludeWindow(ByWindow(other));
    EXPECT_FALSE(manager.IsIncludedWindow(other));
  }
  done = true;
  reader.Join();
  EXPECT_EQ(wrong, 0) << "an entry that stays is always seen";
}

}  // namespace
}  // namespace qx
