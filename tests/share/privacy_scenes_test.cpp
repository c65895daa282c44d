// Random scenes: windows come, go and change while a monitor or a window is shared, and
// rules come and go. Every window has a colour of its own, and no frame shows that of a
// window which was to be left out before its capture began.
//
// QX_SCENES says how many scenes each test plays, QX_SEED which is the first; a failure
// names the scene's seed.
#include <algorithm>
#include <cstdlib>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/share/ShareTest.h"

namespace qx::test {
namespace {

using namespace vwin::control;
using FilterWindowInfo = IScreenCapture::FilterWindowInfo;
using Colours = std::set<std::uint32_t>;

struct Setting {
  const char* name;
  vwin::Version version;
  bool composition;
  bool window;                      // shared; or else the monitor
  std::set<int> hiding;             // the engines that leave windows out here
  bool others;                      // may take over
  std::vector<const char*> faults;  // calls whose failure an engine has to cope with
};

std::vector<Setting> Settings() {
  const std::vector<const char*> gdi = {"BitBlt", "PrintWindow", "CreateDIBSection"};
  const std::vector<const char*> mag = {"MagSetWindowSource",
                                        "MagSetWindowFilterList",
                                        "IDirect3DDevice9::StretchRect",
                                        "IDirect3DDevice9::GetRenderTargetData",
                                        "IDirect3DDevice9::CreateRenderTarget",
                                        "IDirect3DSurface9::LockRect"};
  return {
      {"Windows7ClassicMonitor", kWindows7, false, false, {kBitBlt}, false, gdi},
      {"Windows7ClassicWindow", kWindows7, false, true, {kBitBlt, kPrint}, false, gdi},
      {"Windows10PrintedWindow", kWindows10, true, true, {kPrint}, false, gdi},
      {"Windows8MagMonitor", kWindows8, true, false, {kMag}, false, mag},
      {"Windows10MagMonitor", kWindows10, true, false, {kMag}, true, mag},
      {"Windows10MagWindow", kWindows10, true, true, {kMag}, false, mag},
  };
}

int ReadNumber(const char* variable, int otherwise) {
  const char* const text = std::getenv(variable);
  return text != nullptr ? std::atoi(text) : otherwise;
}

struct Actor {
  HWND handle;
  std::wstring title;
  DWORD processId;
  std::uint32_t rgb;
  HWND owner;
};

std::string Narrow(const std::wstring& text) { return {text.begin(), text.end()}; }

bool Matches(const FilterWindowInfo& rule, const Actor& actor) {
  if (rule.type == 0) {
    return rule.window == actor.handle;
  }
  const bool sameTitle = Narrow(actor.title) == rule.title;
  return rule.processId == actor.processId &&
         (rule.titleRule == 0 || sameTitle == (rule.titleRule == 1));
}

// One scene: the windows and rules as the test knows them, and what may happen to them.
class Scene {
 public:
  Scene(const Setting& setting, unsigned seed, ScreenCapture& capture)
      : m_setting(setting), m_random(seed), m_capture(capture) {
    for (int i = pick(2, 6); i > 0; --i) {
      open();
    }
  }
  ~Scene() {
    for (const Actor& actor : m_actors) {
      if (IsWindow(actor.handle)) {
        Close(actor.handle);
      }
    }
    m_capture.ClearExcludeWindows();
    m_capture.ClearIncludeWindows();
  }
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;

  int pick(int from, int to) { return std::uniform_int_distribution<int>(from, to)(m_random); }

  const Actor& Shared() const { return m_actors.front(); }

  // The colours that a frame must not show as things are.
  Colours Hidden() const {
    Colours hidden;
    for (const Actor& actor : m_actors) {
      const bool wanted = m_setting.window
                              ? actor.handle == Shared().handle || actor.owner == Shared().handle
                              : !isOn(m_exclude, actor);
      if (!wanted && !isOn(m_include, actor)) {
        hidden.insert(actor.rgb);
      }
    }
    return hidden;
  }

  void Act() {
    if (m_actors.size() < 2) {
      return open();
    }
    switch (pick(0, 9)) {
      case 0:
        return open();
      case 1:
      case 2:
        return changeRules();
      case 3:
        return rename(any());
      case 4:
        return closeOne();
      default:
        return change(any());
    }
  }

  void Tell(const std::string& what) { m_story += what + '\n'; }
  const std::string& Story() const { return m_story; }

 private:
  using Rules = std::vector<FilterWindowInfo>;

  static bool isOn(const Rules& rules, const Actor& actor) {
    return std::any_of(rules.begin(), rules.end(),
                       [&](const FilterWindowInfo& rule) { return Matches(rule, actor); });
  }

  void tell(const std::string& what, const Actor& actor) {
    std::ostringstream line;
    line << what << ' ' << actor.handle << std::hex << " #" << actor.rgb << '\n';
    m_story += line.str();
  }

  RECT anyRect() {
    const int left = pick(-40, 300);
    const int top = pick(-40, 180);
    return {left, top, left + pick(1, 200), top + pick(1, 150)};
  }
  std::wstring anyTitle() { return std::wstring(1, static_cast<wchar_t>(L'A' + pick(0, 3))); }
  Actor& any() { return m_actors[static_cast<std::size_t>(pick(0, int(m_actors.size()) - 1))]; }
  bool isShared(const Actor& actor) const {
    return m_setting.window && actor.handle == Shared().handle;
  }

  void open() {
    if (m_actors.size() > 40) {
      return;
    }
    const auto number = static_cast<unsigned>(m_opened++);
    const std::uint32_t rgb = (16 + number % 6 * 40) << 16 | (16 + number / 6 % 6 * 40) << 8 |
                              (16 + number / 36 % 6 * 40);
    const HWND owner = !m_actors.empty() && pick(0, 3) == 0 ? any().handle : nullptr;
    WindowSpec wanted = {.title = anyTitle(),
                         .rect = m_actors.empty() ? RECT{60, 50, 260, 170} : anyRect(),
                         .color = RGB(rgb >> 16, rgb >> 8 & 0xFF, rgb & 0xFF),
                         .exStyle = pick(0, 4) == 0 ? DWORD{WS_EX_TOPMOST} : 0,
                         .owner = owner,
                         .processId = static_cast<DWORD>(7000 + pick(0, 2))};
    m_actors.push_back({OpenWindow(wanted), wanted.title, wanted.processId, rgb, owner});
    tell("open", m_actors.back());
  }

  // A window goes with those it owns.
  void closeOne() {
    const Actor& victim = any();
    if (isShared(victim)) {
      return;
    }
    tell("close", victim);
    Close(victim.handle);
    std::erase_if(m_actors, [](const Actor& actor) { return !IsWindow(actor.handle); });
  }

  void rename(Actor& actor) {
    actor.title = anyTitle();
    SetTitle(actor.handle, actor.title);
    tell("rename", actor);
  }

  void changeRules() {
    Rules& rules = pick(0, 2) == 0 ? m_include : m_exclude;
    const bool include = &rules == &m_include;
    if (!rules.empty() && pick(0, 1) == 0) {
      const FilterWindowInfo rule = rules.back();
      rules.pop_back();
      Tell("rule gone");
      return include ? m_capture.RemoveIncludeWindow(rule) : m_capture.RemoveExcludeWindow(rule);
    }
    const Actor& actor = any();
    FilterWindowInfo rule;
    if (pick(0, 1) == 0) {
      rule.window = actor.handle;
    } else {
      rule.type = 1;
      rule.processId = actor.processId;
      rule.titleRule = static_cast<std::uint32_t>(pick(0, 2));
      Narrow(anyTitle()).copy(rule.title, sizeof(rule.title) - 1);
    }
    const bool known = std::any_of(rules.begin(), rules.end(), [&](const FilterWindowInfo& r) {
      return r.type == rule.type && r.window == rule.window && r.processId == rule.processId &&
             r.titleRule == rule.titleRule && std::string(r.title) == rule.title;
    });
    if (known) {
      return;
    }
    rules.push_back(rule);
    tell((include ? "include by type " : "exclude by type ") + std::to_string(rule.type) +
             " title rule " + std::to_string(rule.titleRule) + ' ' + rule.title,
         actor);
    include ? m_capture.AddIncludeWindow(rule) : m_capture.AddExcludeWindow(rule);
  }

  void change(Actor& actor) {
    static const std::pair<const char*, void (*)(Scene&, HWND)> kChanges[] = {
        {"move", [](Scene& s, HWND w) { MoveTo(w, s.pick(-40, 300), s.pick(-40, 180)); }},
        {"size", [](Scene& s, HWND w) { Resize(w, s.pick(1, 200), s.pick(1, 150)); }},
        {"top", [](Scene&, HWND w) { ToTop(w); }},
        {"bottom", [](Scene&, HWND w) { ToBottom(w); }},
        {"hide", [](Scene&, HWND w) { Hide(w); }},
        {"show", [](Scene&, HWND w) { Show(w); }},
        {"minimise", [](Scene&, HWND w) { Minimise(w); }},
        {"restore", [](Scene&, HWND w) { Restore(w); }},
        {"layer", [](Scene&, HWND w) { SetLayered(w, std::nullopt, std::uint8_t{255}); }},
        {"cloak", [](Scene& s, HWND w) {
           if (s.m_setting.composition) {
             SetCloaked(w, s.pick(0, 1) == 0);
           }
         }}};
    const auto& [name, act] = kChanges[pick(0, 9)];
    tell(name, actor);
    act(*this, actor.handle);
  }

  const Setting& m_setting;
  std::mt19937 m_random;
  ScreenCapture& m_capture;
  std::vector<Actor> m_actors;
  Rules m_exclude;
  Rules m_include;
  int m_opened = 0;
  std::string m_story;
};

class PrivacyScenes : public ShareTest, public testing::WithParamInterface<Setting> {
 protected:
  static constexpr int kSteps = 25;

  PrivacyScenes() {
    SetVersion(setting().version);
    SetComposition(setting().composition);
    std::vector<IScreenCapture::CaptureEngineType> engines;
    for (const int engine : setting().hiding) {
      if (!setting().others) {
        engines.push_back(static_cast<IScreenCapture::CaptureEngineType>(engine));
      }
    }
    capture.SetCaptureEngineConfig(engines.data(), static_cast<int>(engines.size()), false);
    host.onEvent = [this](const std::string& event) {
      if (event == "frame" && setting().hiding.contains(host.Engines().back())) {
        note(host.LastFrame());
      } else if (event == "resume" || event.starts_with("pause")) {
        paused = event != "resume";
      }
    };
  }

  const Setting& setting() const { return GetParam(); }

  void note(Frame frame) {
    ++frames;
    // While it is paused a share repeats its last picture.
    if (paused && frame.argb == lastPicture) {
      return;
    }
    const std::uint32_t redder = host.Engines().back() == kMag ? kRedder : 0;
    std::uint32_t last = 0;
    for (int y = 0; y < frame.height; ++y) {
      for (int x = 0; x < frame.width; ++x) {
        const std::uint32_t rgb = frame.At(x, y) - redder;
        if (rgb != last) {
          seen.insert(last = rgb);
        }
      }
    }
    lastPicture.swap(frame.argb);
  }

  void play(unsigned seed) {
    Scene scene(setting(), seed, capture);
    capture.SetScreenCaptureConfig({.scDynamicCheck = scene.pick(0, 1) == 0});
    const bool started = setting().window ? shareWindow(scene.Shared().handle) : share(monitor());
    if (!started) {
      return;  // such as a window that is on no monitor
    }
    Settle();
    const bool faults = scene.pick(0, 1) == 0;
    for (int step = 0; step < kSteps && !HasFailure(); ++step) {
      for (int i = scene.pick(0, 3); i > 0; --i) {
        scene.Act();
      }
      if (faults && scene.pick(0, 4) == 0) {
        const auto& calls = setting().faults;
        const char* const call =
            calls[static_cast<std::size_t>(scene.pick(0, int(calls.size()) - 1))];
        scene.Tell(std::string("fault of ") + call);
        FailNth(call, 1);
      }
      if (scene.pick(0, 1) == 0) {
        OnNthCall(static_cast<std::uint64_t>(scene.pick(1, 60)), [&] {
          scene.Tell("in the middle of a tick:");
          scene.Act();
        });
      }
      seen.clear();
      const Colours before = scene.Hidden();
      tick();
      ClearFaults();
      const Colours after = scene.Hidden();
      for (const std::uint32_t rgb : seen) {
        // What came on a list in the middle of a capture may still be seen.
        EXPECT_FALSE(before.contains(rgb) && after.contains(rgb))
            << "seed " << seed << ", step " << step << ": a frame shows #" << std::hex << rgb
            << "; what had happened:\n"
            << scene.Story() << log.Dump();
      }
    }
    capture.ShareStop();
  }

  Colours seen;
  int frames = 0;
  bool paused = false;
  std::vector<std::uint8_t> lastPicture;
};

TEST_P(PrivacyScenes, NoFrameShowsWhatIsLeftOut) {
  const int first = ReadNumber("QX_SEED", 1);
  const int scenes = ReadNumber("QX_SCENES", 60);
  for (int i = 0; i < scenes && !HasFailure(); ++i) {
    play(static_cast<unsigned>(first + i));
  }
  EXPECT_GT(frames, scenes * 3);
}

INSTANTIATE_TEST_SUITE_P(Settings, PrivacyScenes, testing::ValuesIn(Settings()),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace qx::test
