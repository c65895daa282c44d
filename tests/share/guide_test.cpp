// The streams of events that docs/guide.md shows are those of real shares.
#include <fstream>
#include <functional>
#include <iterator>

#include "tests/share/WindowShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;

// What a listener hears from the start on, a line each; frames in a row are one line.
class GuideTest : public WindowShareTest {
 protected:
  GuideTest() { allowEngines({}); }

  std::string heard() const {
    std::string text;
    std::string last;
    for (const std::string& event : host.Events(true)) {
      const std::string line = event == "frame" ? "frames" : event;
      if (line != last && line.find("statistics") != 0) {
        text += line + "\n";
        last = line;
      }
    }
    return text;
  }

  // The block under the heading, as it stands in the guide.
  static std::string written(const std::string& heading) {
    std::ifstream file(QX_GUIDE);
    const std::string guide((std::istreambuf_iterator<char>(file)), {});
    const std::string fence = "```\n";
    const std::size_t begin = guide.find(fence, guide.find("### " + heading + "\n"));
    if (begin == std::string::npos) {
      return "";
    }
    const std::size_t first = begin + fence.size();
    return guide.substr(first, guide.find("```", first) - first);
  }
};

TEST_F(GuideTest, ShowsWhatListenersHear) {
  struct Situation {
    const char* heading;
    bool sharesWindow;
    std::function<void()> happens;
  };
  const Situation situations[] = {
      {"The screen is locked, and unlocked later", false,
       [&] {
         LockSession(true);
         SetSecureDesktop(true);
         Advance(10s);
         SetSecureDesktop(false);
         LockSession(false);
         Advance(3s);
       }},
      {"A UAC prompt comes and goes", false,
       [&] {
         SetSecureDesktop(true);
         Advance(5s);
         SetSecureDesktop(false);
         Advance(3s);
       }},
      {"The monitor gets another mode", false,
       [&] {
         SetMonitorRect(monitor(), {0, 0, 400, 300});
         Advance(1s);
       }},
      {"The window is dragged, minimised and restored", true,
       [&] {
         MoveTo(window, 60, 50);
         Advance(1s);
         Minimise(window);
         Advance(2s);
         Restore(window);
         Advance(1s);
       }},
      {"The window closes", true,
       [&] {
         Close(window);
         Advance(1s);
       }},
  };
  for (const Situation& situation : situations) {
    situation.sharesWindow ? startWindow() : start();
    Advance(1s);
    situation.happens();
    capture.ShareStop();
    EXPECT_EQ(heard(), written(situation.heading)) << situation.heading;
    host.Forget();
  }
}

}  // namespace
}  // namespace qx::test
