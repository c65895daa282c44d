// Which engines a share gets, in which order, and how it falls over from one to
// the next: with scripted engines on machines of every kind.
#include <gtest/gtest.h>

#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "win/engine/ScreenCaptureEngineProxy.h"

namespace qx {
namespace {

const auto kMonitor = reinterpret_cast<HMONITOR>(std::intptr_t{0x51});
const auto kWindow = reinterpret_cast<HWND>(std::intptr_t{0x52});

using Names = std::vector<std::string>;

// What the engines do, by their names, and what happened to them.
struct Journal {
  std::set<std::string> unable;                               // don't start
  std::map<std::string, std::deque<CaptureResult>> failures;  // then Success
  std::string built;                                          // with the arguments
  Names calls;  // "dxgi +" starts, "dxgi -" ends, "dxgi ~" is destroyed

  Names TakeCalls() { return std::exchange(calls, {}); }
};

class ScriptedEngine : public ScreenCaptureEngine {
 public:
  ScriptedEngine(Journal& journal, std::string name, CaptureEngineType type)
      : m_journal(journal), m_name(std::move(name)), m_type(type) {}
  ~ScriptedEngine() override { note("~"); }

  bool Initialize() override { return note("+"), !m_journal.unable.contains(m_name); }
  void UnInitialize() override { note("-"); }
  CaptureEngineType GetEngineType() const override { return m_type; }
  bool IsDesktopBased() const override { return true; }
  bool Capture(std::int32_t, std::int32_t, std::int32_t, std::int32_t, ScreenCaptureFrame&,
               CaptureResult& result) override {
    auto& failures = m_journal.failures[m_name];
    if (failures.empty()) return true;
    result = failures.front();
    failures.pop_front();
    return false;
  }
  void SetSource(HMONITOR source) override {
    note(source == kMonitor ? "source monitor" : source ? "source other" : "source none");
  }
  void ShowCursor(bool show) override { note(show ? "cursor on" : "cursor off"); }
  void SetUseBasicGraphics(bool use) override { note(use ? "basic on" : "basic off"); }
  void SetTargetSize(std::int32_t width, std::int32_t height) override {
    note("target " + std::to_string(width) + "x" + std::to_string(height));
  }
  void SetDynamicCheck(bool check) override { note(check ? "check on" : "check off"); }

 private:
  void note(const std::string& what) { m_journal.calls.push_back(m_name + " " + what); }

  Journal& m_journal;
  const std::string m_name;
  const CaptureEngineType m_type;
};

EngineFactories Scripted(Journal& journal) {
  using Flags = std::initializer_list<std::pair<const char*, bool>>;
  const auto make = [&journal](std::string name, CaptureEngineType type, Flags flags) {
    journal.built += (journal.built.empty() ? "" : ", ") + name;
    for (const auto& [flag, on] : flags) {
      journal.built += on ? std::string(" ") + flag : "";
    }
    return std::make_unique<ScriptedEngine>(journal, std::move(name), type);
  };
  EngineFactories factories;
  factories.dxgi = [=](HMONITOR monitor, bool check, bool dirty) {
    return make("dxgi", IScreenCapture::CaptureEngineDXGI,
                {{"monitor", monitor == kMonitor}, {"check", check}, {"dirty", dirty}});
  };
  factories.wgcMonitor = [=](HMONITOR monitor, bool check, bool dirty) {
    return make("wgc", IScreenCapture::CaptureEngineWGC,
                {{"monitor", monitor == kMonitor}, {"check", check}, {"dirty", dirty}});
  };
  factories.wgcWindow = [=](HWND window, const FilterWindowProvider& filter, bool check,
                            bool dirty) {
    return make(
        "wgc", IScreenCapture::CaptureEngineWGC,
        {{"window", window == kWindow}, {"filter", !!filter}, {"check", check}, {"dirty", dirty}});
  };
  factories.mag = [=](HMONITOR monitor, const FilterWindowProvider& filter, bool check, bool dirty,
                      bool newMouse) {
    return make("mag", IScreenCapture::CaptureEngineMag,
                {{"monitor", monitor == kMonitor},
                 {"filter", !!filter},
                 {"check", check},
                 {"dirty", dirty},
                 {"mouse", newMouse}});
  };
  factories.gdi = [=](HWND window, bool bitBlt, const FilterWindowProvider& filter) {
    return make(bitBlt ? "bitblt" : "print",
                bitBlt ? IScreenCapture::CaptureEngineGDIBitBlt
                       : IScreenCapture::CaptureEngineGDIPrintWindow,
                {{"window", window == kWindow}, {"filter", !!filter}});
  };
  return factories;
}

constexpr MachineFacts kWindows11 = {true, true, true, true, true, false, true};
constexpr MachineFacts kWindows10 = {true, true, true, false, true, false, true};

class EngineProxy : public testing::Test {
 protected:
  std::unique_ptr<ScreenCaptureEngineProxy> Monitor(const MachineFacts& facts) {
    return std::make_unique<ScreenCaptureEngineProxy>(kMonitor, settings, Scripted(journal), facts);
  }
  std::unique_ptr<ScreenCaptureEngineProxy> Window(const MachineFacts& facts) {
    return std::make_unique<ScreenCaptureEngineProxy>(kWindow, settings, Scripted(journal), facts);
  }
  bool Capture(ScreenCaptureEngine& engine) {
    auto result = CaptureResult::Failed;
    return engine.Capture(0, 0, 8, 8, frame, result);
  }

  Journal journal;
  std::vector<int> engines;  // as told by the callback
  EngineProxySettings settings = {
      .filterWindowManager = std::make_shared<FilterWindowManager>(),
      .filterWindows = [](const RECT&, std::vector<HWND>&) {},
      .engineChanged = [this](CaptureEngineType type) { engines.push_back(type); },
      .allowed = {},
      .enableFilterWindow = false};
  ScreenCaptureFrame frame;
};

TEST_F(EngineProxy, RanksTheEnginesThatTheMachineAndTheHostAllow) {
  constexpr MachineFacts kBasic7 = {true, false, false, false, false, false, true};
  constexpr MachineFacts kComposed7 = {true, false, false, false, true, false, true};
  constexpr MachineFacts kWithoutGpu = {false, true, true, false, true, false, true};
  constexpr MachineFacts kWithoutMag = {true, true, true, false, true, false, false};
  constexpr MachineFacts kRemote = {true, true, true, true, true, true, true};
  struct Wishes {
    bool filter = false;
    bool dirty = false;
    bool wgcFirst = false;
    bool newMouse = false;
    EngineTypeSet allowed = {};
  };
  struct Row {
    MachineFacts facts;
    Wishes wishes;
    const char* forMonitor;
    const char* forWindow;
  };
  const Row rows[] = {
      {kWindows11,
       {},
       "dxgi monitor check, wgc monitor check, mag monitor filter check, bitblt",
       "wgc window filter check, mag filter check, print window, bitblt window"},
      {kWindows11,
       {.dirty = true},
       "dxgi monitor check dirty, wgc monitor check dirty, mag monitor filter check dirty, bitblt",
       "wgc window filter check dirty, mag filter check dirty, print window, bitblt window"},
      {kWindows11,
       {.dirty = true, .wgcFirst = true},
       "wgc monitor check dirty, dxgi monitor check dirty, mag monitor filter check dirty, bitblt",
       "wgc window filter check dirty, mag filter check dirty, print window, bitblt window"},
      {kWindows11,
       {.filter = true, .dirty = true, .newMouse = true},
       "mag monitor filter check dirty mouse, dxgi monitor check, wgc monitor check dirty, bitblt",
       "wgc window filter check dirty, mag filter check dirty mouse, print window, bitblt window"},
      {kWindows11,
       {.filter = true, .wgcFirst = true},
       "mag monitor filter check, wgc monitor check, dxgi monitor check, bitblt",
       "wgc window filter check, mag filter check, print window, bitblt window"},
      {kRemote,
       {},
       "dxgi monitor check, wgc monitor, mag monitor filter, bitblt",
       "wgc window filter, mag filter, print window, bitblt window"},
      {kWindows10,
       {},
       "dxgi monitor check, mag monitor filter check, bitblt",
       "mag filter check, print window, bitblt window"},
      {kWithoutGpu, {}, "bitblt", "print window, bitblt window"},
      {kWithoutMag,
       {},
       "dxgi monitor check, bitblt",
       "mag filter check, print window, bitblt window"},
      {kBasic7, {.filter = true}, "bitblt filter", "bitblt window filter, print window"},
      {kComposed7,
       {.filter = true},
       "mag monitor filter, bitblt",
       "mag filter, bitblt window, print window"},
      {kWindows11,
       {.allowed = {IScreenCapture::CaptureEngineGDIBitBlt}},
       "bitblt",
       "bitblt window"},
      {kWindows11,
       {.allowed = {IScreenCapture::CaptureEngineWGC, IScreenCapture::CaptureEngineMag}},
       "wgc monitor check, mag monitor filter check",
       "wgc window filter check, mag filter check"},
  };
  for (const auto& [facts, wishes, forMonitor, forWindow] : rows) {
    settings.enableFilterWindow = wishes.filter;
    settings.dirtyInfo = wishes.dirty;
    settings.wgcPriority = wishes.wgcFirst;
    settings.newMouseCaptureWay = wishes.newMouse;
    settings.allowed = wishes.allowed;
    Monitor(facts);
    EXPECT_EQ(std::exchange(journal.built, {}), forMonitor);
    Window(facts);
    EXPECT_EQ(std::exchange(journal.built, {}), forWindow);
  }
}

TEST_F(EngineProxy, HandsEverySettingToTheEngineInUseRestartedOrNext) {
  journal.failures["dxgi"].assign(6, CaptureResult::Failed);
  const auto proxy = Monitor(kWindows10);
  ASSERT_TRUE(proxy->Initialize());
  journal.TakeCalls();
  proxy->ShowCursor(false);
  proxy->SetUseBasicGraphics(true);
  proxy->SetTargetSize(320, 200);
  proxy->SetSource(reinterpret_cast<HMONITOR>(std::intptr_t{0x99}));
  proxy->SetDynamicCheck(false);
  EXPECT_EQ(journal.TakeCalls(), (Names{"dxgi cursor off", "dxgi basic on", "dxgi target 320x200",
                                        "dxgi source other", "dxgi check off"}));
  for (int i = 0; i < 3; ++i) EXPECT_FALSE(Capture(*proxy));
  EXPECT_EQ(journal.TakeCalls(), (Names{"dxgi -", "dxgi +"})) << "which has them already";
  journal.unable = {"dxgi"};
  for (int i = 0; i < 3; ++i) EXPECT_FALSE(Capture(*proxy));
  // The dynamic check was the lost engine's alone.
  EXPECT_EQ(journal.TakeCalls(),
            (Names{"dxgi -", "dxgi +", "dxgi -", "dxgi ~", "mag source other", "mag basic on",
                   "mag cursor off", "mag target 320x200", "mag +"}));
}

TEST_F(EngineProxy, AWindowShareFollowsTheIncludeList) {
  IScreenCapture::FilterWindowInfo included;
  included.type = 1;
  included.processId = 4711;
  FilterWindowManager& filters = *settings.filterWindowManager;
  filters.AddIncludeWindow(included);
  const auto monitorShare = Monitor(kWindows11);
  ASSERT_TRUE(monitorShare->Initialize());
  EXPECT_TRUE(Capture(*monitorShare));
  EXPECT_EQ(monitorShare->GetEngineType(), IScreenCapture::CaptureEngineDXGI) << "doesn't care";
  engines.clear();
  const auto proxy = Window(kWindows11);
  ASSERT_TRUE(proxy->Initialize());
  filters.ClearIncludeWindows();
  EXPECT_TRUE(Capture(*proxy));
  filters.AddIncludeWindow(included);
  journal.TakeCalls();
  EXPECT_TRUE(Capture(*proxy));
  const Names calls = journal.TakeCalls();
  ASSERT_GE(calls.size(), 3u);
  EXPECT_EQ(Names(calls.begin(), calls.begin() + 3),
            (Names{"wgc -", "mag source none", "mag basic off"}));

  // WGC is left, but can't serve the share while a window is to be included.
  journal.unable = {"print", "bitblt"};
  journal.failures["mag"] = {CaptureResult::EngineLost};
  EXPECT_FALSE(Capture(*proxy));
  EXPECT_FALSE(Capture(*proxy));
  EXPECT_EQ(engines, (std::vector<int>{
                         IScreenCapture::CaptureEngineMag, IScreenCapture::CaptureEngineWGC,
                         IScreenCapture::CaptureEngineMag, IScreenCapture::CaptureEngineNone}));
}

}  // namespace
}  // namespace qx
