// Windows of this process: the foreground, and what is noted as misuse.
#include "platform/control/Desktop.h"
#include "platform/control/Ledger.h"
#include "tests/platform/TestWindow.h"

namespace qx::test {
namespace {

using namespace vwin::control;

TEST(OwnWindows, ForegroundIsTheUsersOrOfThoseWhoShareInput) {
  const HWND editor = OpenWindow({.rect = {0, 0, 50, 50}, .threadId = 7001});
  const HWND other = OpenWindow({.rect = {0, 0, 50, 50}, .threadId = 7002});
  SetForeground(other);
  EXPECT_TRUE(BringWindowToTop(editor));
  EXPECT_EQ(WindowsInOrder(), (std::vector<HWND>{editor, other}));
  EXPECT_EQ(GetForegroundWindow(), other) << "that is for its user to decide";

  const DWORD self = GetCurrentThreadId();
  const LedgerSnapshot before = Snapshot();
  EXPECT_TRUE(AttachThreadInput(7002, self, TRUE));
  EXPECT_NE(Difference(before), "") << "never detached";
  EXPECT_TRUE(BringWindowToTop(editor));
  EXPECT_EQ(GetForegroundWindow(), editor);
  EXPECT_TRUE(AttachThreadInput(7002, self, FALSE));
  EXPECT_EQ(Difference(before), "");
  EXPECT_FALSE(AttachThreadInput(7002, self, FALSE)) << "twice";
  EXPECT_FALSE(AttachThreadInput(self, self, TRUE));
  EXPECT_FALSE(AttachThreadInput(0, self, TRUE));
  EXPECT_FALSE(AttachThreadInput(self, 7003, TRUE)) << "no such thread";
  Close(editor);
  EXPECT_EQ(GetForegroundWindow(), other);
}

TEST(OwnWindows, MisuseIsNoted) {
  const auto noted = [](const std::string& call) {
    const std::vector<std::string> all = TakeMisuses();
    return all.size() == 1 && all[0].rfind(call, 0) == 0;
  };
  TestWindow window({0, 0, 10, 10});
  TestThread([&] { EXPECT_FALSE(DestroyWindow(window)); }).Join();
  EXPECT_TRUE(noted("DestroyWindow"));
  EXPECT_TRUE(IsWindow(window));

  const HDC dc = GetDC(window);
  ReleaseDC(nullptr, dc);
  EXPECT_TRUE(noted("ReleaseDC"));
  ReleaseDC(window, dc);
  EXPECT_TRUE(noted("ReleaseDC")) << "twice";

  const HDC screen = GetDC(nullptr);
  const HDC memory = CreateCompatibleDC(screen);
  const HBITMAP bitmap = CreateCompatibleBitmap(screen, 4, 4);
  const HGDIOBJ previous = SelectObject(memory, bitmap);
  EXPECT_FALSE(DeleteDC(screen));
  EXPECT_TRUE(noted("DeleteDC"));
  ReleaseDC(nullptr, screen);
  DeleteObject(bitmap);
  EXPECT_TRUE(noted("DeleteObject"));
  SelectObject(memory, previous);
  EXPECT_FALSE(SelectObject(memory, bitmap)) << "it went when it was deselected";
  DeleteDC(memory);
  DeleteObject(bitmap);
  EXPECT_TRUE(noted("DeleteObject")) << "twice";
}

}  // namespace
}  // namespace qx::test
