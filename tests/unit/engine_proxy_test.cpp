// Which engines a share gets, in which order, and how it falls over from one to
// the next: with scripted engines on machines of every kind.
#include <gtest/gtest.h>

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "common/Logging.h"
#include "tests/support/ShareRecorder.h"
#include "win/engine/ScreenCaptureEngineProxy.h"

namespace qx {
namespace {

const auto kMonitor = reinterpret_cast<HMONITOR>(std::intptr_t{0x51});
const auto kWindow = reinterpret_cast<HWND>(std::intptr_t{0x52});

// What one kind of engine does, and what happened to it.
struct Script {
  bool starts = true;
  std::deque<CaptureResult> results;  // then Success
};

struct Journal {
  std::map<std::string, Script> scripts;
  std::vector<std::string> built;  // with the arguments
  std::vector<std::string> calls;  // "dxgi +" starts, "dxgi -" ends, "dxgi ~" is destroyed

  std::vector<std::string> TakeCalls() { return std::exchange(calls, {}); }
};

class ScriptedEngine : public ScreenCaptureEngine {
 public:
  ScriptedEngine(Journal& journal, std::string name, CaptureEngineType type)
      : m_journal(journal), m_name(std::move(name)), m_type(type) {}
  ~ScriptedEngine() override { note("~"); }

  bool Initialize() override {
    note("+");
    return m_journal.scripts[m_name].starts;
  }
  void UnInitialize() override { note("-"); }
  CaptureEngineType GetEngineType() const override { return m_type; }
  bool IsDesktopBased() const override {
    return m_type != IScreenCapture::CaptureEngineGDIPrintWindow;
  }
  bool Capture(std::int32_t, std::int32_t, std::int32_t, std::int32_t, ScreenCaptureFrame&,
               CaptureResult& result) override {
    auto& results = m_journal.scripts[m_name].results;
    result = CaptureResult::Success;
    if (!results.empty()) {
      result = results.front();
      results.pop_front();
    }
    return result == CaptureResult::Success;
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

std::string Flags(std::initializer_list<std::pair<const char*, bool>> flags) {
  std::string text;
  for (const auto& [name, on] : flags) {
    text += on ? std::string(" ") + name : "";
  }
  return text;
}

EngineFactories Scripted(Journal& journal) {
  const auto make = [&journal](std::string name, CaptureEngineType type, const std::string& flags) {
    journal.built.push_back(name + flags);
    return std::make_unique<ScriptedEngine>(journal, std::move(name), type);
  };
  EngineFactories factories;
  factories.dxgi = [=](HMONITOR monitor, bool check, bool dirty) {
    return make("dxgi", IScreenCapture::CaptureEngineDXGI,
                Flags({{"monitor", monitor == kMonitor}, {"check", check}, {"dirty", dirty}}));
  };
  factories.wgcMonitor = [=](HMONITOR monitor, bool check, bool dirty) {
    return make("wgc", IScreenCapture::CaptureEngineWGC,
                Flags({{"monitor", monitor == kMonitor}, {"check", check}, {"dirty", dirty}}));
  };
  factories.wgcWindow = [=](HWND window, FilterWindowProvider filter, bool check, bool dirty) {
    return make("wgc", IScreenCapture::CaptureEngineWGC,
                Flags({{"window", window == kWindow},
                       {"filter", static_cast<bool>(filter)},
                       {"check", check},
                       {"dirty", dirty}}));
  };
  factories.mag = [=](HMONITOR monitor, FilterWindowProvider filter, bool check, bool dirty,
                      bool newMouse) {
    return make("mag", IScreenCapture::CaptureEngineMag,
                Flags({{"monitor", monitor == kMonitor},
                       {"filter", static_cast<bool>(filter)},
                       {"check", check},
                       {"dirty", dirty},
                       {"mouse", newMouse}}));
  };
  factories.gdi = [=](HWND window, bool bitBlt, FilterWindowProvider filter) {
    return make(bitBlt ? "bitblt" : "print",
                bitBlt ? IScreenCapture::CaptureEngineGDIBitBlt
                       : IScreenCapture::CaptureEngineGDIPrintWindow,
                Flags({{"window", window == kWindow}, {"filter", static_cast<bool>(filter)}}));
  };
  return factories;
}

MachineFacts Windows11() { return {true, true, true, true, true, false, true}; }
MachineFacts Windows10() { return {true, true, true, false, true, false, true}; }
MachineFacts Windows7Basic() { return {true, false, false, false, false, false, true}; }

class EngineProxy : public testing::Test {
 protected:
  std::unique_ptr<ScreenCaptureEngineProxy> Monitor(const MachineFacts& facts) {
    return std::make_unique<ScreenCaptureEngineProxy>(kMonitor, settings, Scripted(journal), facts);
  }
  std::unique_ptr<ScreenCaptureEngineProxy> Window(const MachineFacts& facts) {
    return std::make_unique<ScreenCaptureEngineProxy>(kWindow, settings, Scripted(journal), facts);
  }
  std::vector<std::string> BuiltForMonitor(const MachineFacts& facts) {
    Monitor(facts);
    return std::exchange(journal.built, {});
  }
  std::vector<std::string> BuiltForWindow(const MachineFacts& facts) {
    Window(facts);
    return std::exchange(journal.built, {});
  }
  EngineProxySettings MakeSettings() {
    EngineProxySettings made;
    made.filterWindowManager = filters;
    made.filterWindows = [](const RECT&, std::vector<HWND>&) {};
    made.engineChanged = [this](CaptureEngineType type) { engines.push_back(type); };
    made.enableFilterWindow = false;
    return made;
  }
  bool Capture(ScreenCaptureEngine& engine) {
    result = CaptureResult::Failed;
    return engine.Capture(0, 0, 8, 8, frame, result);
  }
  void CaptureTimes(ScreenCaptureEngine& engine, int times) {
    for (int i = 0; i < times; ++i) {
      Capture(engine);
    }
  }

  Journal journal;
  std::vector<int> engines;  // as told by the callback
  const std::shared_ptr<FilterWindowManager> filters = std::make_shared<FilterWindowManager>();
  EngineProxySettings settings = MakeSettings();
  ScreenCaptureFrame frame;
  CaptureResult result = CaptureResult::Failed;
};

using Names = std::vector<std::string>;

TEST_F(EngineProxy, RanksTheEnginesOfAMonitor) {
  settings.dirtyInfo = true;
  EXPECT_EQ(BuiltForMonitor(Windows11()),
            (Names{"dxgi monitor check dirty", "wgc monitor check dirty",
                   "mag monitor filter check dirty", "bitblt"}));
  settings.wgcPriority = true;
  EXPECT_EQ(BuiltForMonitor(Windows11()),
            (Names{"wgc monitor check dirty", "dxgi monitor check dirty",
                   "mag monitor filter check dirty", "bitblt"}));
}

TEST_F(EngineProxy, PutsTheMagnifierFirstWhenWindowsAreToBeLeftOut) {
  settings.enableFilterWindow = true;
  settings.dirtyInfo = true;
  settings.newMouseCaptureWay = true;
  EXPECT_EQ(BuiltForMonitor(Windows11()),
            (Names{"mag monitor filter check dirty mouse", "dxgi monitor check",
                   "wgc monitor check dirty", "bitblt"}));
  settings.wgcPriority = true;
  EXPECT_EQ(BuiltForMonitor(Windows11()),
            (Names{"mag monitor filter check dirty mouse", "wgc monitor check dirty",
                   "dxgi monitor check", "bitblt"}));
}

TEST_F(EngineProxy, LeavesOutWhatTheMachineCanNotDo) {
  const Names onlyCopy = {"bitblt"};
  MachineFacts facts = Windows10();
  EXPECT_EQ(BuiltForMonitor(facts),
            (Names{"dxgi monitor check", "mag monitor filter check", "bitblt"}));
  facts.integrateGPU = false;
  EXPECT_EQ(BuiltForMonitor(facts), onlyCopy);
  EXPECT_EQ(BuiltForMonitor(Windows7Basic()), onlyCopy);

  facts = Windows10();
  facts.canUseMag = false;
  EXPECT_EQ(BuiltForMonitor(facts), (Names{"dxgi monitor check", "bitblt"}));
  EXPECT_EQ(BuiltForWindow(facts), (Names{"mag filter check", "print window", "bitblt window"}));

  facts = Windows11();
  facts.remoteSession = true;
  EXPECT_EQ(BuiltForMonitor(facts),
            (Names{"dxgi monitor check", "wgc monitor", "mag monitor filter", "bitblt"}));
}

TEST_F(EngineProxy, GivesTheCopyingEngineTheFilterOnlyWithoutComposition) {
  settings.enableFilterWindow = true;
  EXPECT_EQ(BuiltForMonitor(Windows7Basic()), (Names{"bitblt filter"}));
  EXPECT_EQ(BuiltForWindow(Windows7Basic()), (Names{"bitblt window filter", "print window"}));
  MachineFacts composed = Windows7Basic();
  composed.aeroEnabled = true;
  EXPECT_EQ(BuiltForMonitor(composed), (Names{"mag monitor filter", "bitblt"}));
  EXPECT_EQ(BuiltForWindow(composed), (Names{"mag filter", "bitblt window", "print window"}));
}

TEST_F(EngineProxy, RanksTheEnginesOfAWindow) {
  EXPECT_EQ(BuiltForWindow(Windows11()), (Names{"wgc window filter check", "mag filter check",
                                                "print window", "bitblt window"}));
  EXPECT_EQ(BuiltForWindow(Windows10()),
            (Names{"mag filter check", "print window", "bitblt window"}));
}

TEST_F(EngineProxy, BuildsOnlyWhatTheHostAllows) {
  settings.allowed = {IScreenCapture::CaptureEngineGDIBitBlt};
  EXPECT_EQ(BuiltForMonitor(Windows11()), (Names{"bitblt"}));
  EXPECT_EQ(BuiltForWindow(Windows11()), (Names{"bitblt window"}));
  settings.allowed = {IScreenCapture::CaptureEngineWGC, IScreenCapture::CaptureEngineMag};
  EXPECT_EQ(BuiltForMonitor(Windows11()), (Names{"wgc monitor check", "mag monitor filter check"}));

  settings.allowed = {IScreenCapture::CaptureEngineGDIPrintWindow};
  const auto nothing = Monitor(Windows11());
  EXPECT_FALSE(nothing->Initialize());
  EXPECT_EQ(nothing->GetEngineType(), IScreenCapture::CaptureEngineNone);
  EXPECT_TRUE(nothing->IsDesktopBased());
  EXPECT_TRUE(engines.empty());
}

TEST_F(EngineProxy, StartsTheFirstEngineThatWorks) {
  journal.scripts["dxgi"].starts = false;
  journal.scripts["wgc"].starts = false;
  const test::LogRecorder log;
  const auto proxy = Monitor(Windows11());
  proxy->SetTargetSize(640, 360);
  proxy->ShowCursor(false);
  proxy->SetUseBasicGraphics(true);
  journal.TakeCalls();
  ASSERT_TRUE(proxy->Initialize());
  EXPECT_EQ(journal.TakeCalls(),
            (Names{"dxgi +", "dxgi ~", "wgc +", "wgc ~", "mag +", "mag source monitor",
                   "mag basic on", "mag cursor off", "mag target 640x360"}));
  EXPECT_EQ(engines, (std::vector<int>{IScreenCapture::CaptureEngineMag}));
  EXPECT_TRUE(log.Has(LogLevelWarn, "ScreenCaptureEngineDXGI init failed")) << log.Dump();
  EXPECT_TRUE(log.Has(LogLevelWarn, "ScreenCaptureEngineWGC init failed")) << log.Dump();
}

TEST_F(EngineProxy, RestartsAFailingEngineThreeTimesAndGivesItUpAtTheTenthFailure) {
  journal.scripts["dxgi"].results.assign(10, CaptureResult::Failed);
  const auto proxy = Monitor(Windows10());
  ASSERT_TRUE(proxy->Initialize());
  const Names settled = {"dxgi source monitor", "dxgi basic off", "dxgi cursor on",
                         "dxgi target 0x0"};
  Names restarted = {"dxgi -", "dxgi +"};
  restarted.insert(restarted.end(), settled.begin(), settled.end());
  journal.TakeCalls();
  for (int failure = 1; failure <= 9; ++failure) {
    EXPECT_FALSE(Capture(*proxy));
    EXPECT_EQ(journal.TakeCalls(), failure % 3 == 0 ? restarted : Names()) << "failure " << failure;
  }
  EXPECT_EQ(engines, (std::vector<int>{IScreenCapture::CaptureEngineDXGI}));

  EXPECT_FALSE(Capture(*proxy));
  const Names changed = journal.TakeCalls();
  ASSERT_GE(changed.size(), 3u);
  EXPECT_EQ(Names(changed.begin(), changed.begin() + 3), (Names{"dxgi -", "dxgi ~", "mag +"}));
  EXPECT_EQ(engines, (std::vector<int>{IScreenCapture::CaptureEngineDXGI,
                                       IScreenCapture::CaptureEngineMag}));
  EXPECT_TRUE(Capture(*proxy));
}

TEST_F(EngineProxy, OneSuccessForgivesAllFailures) {
  auto& results = journal.scripts["dxgi"].results;
  results.assign(9, CaptureResult::Failed);
  results.push_back(CaptureResult::Success);
  results.insert(results.end(), 9, CaptureResult::Failed);
  const auto proxy = Monitor(Windows10());
  ASSERT_TRUE(proxy->Initialize());
  CaptureTimes(*proxy, 19);
  EXPECT_TRUE(results.empty());
  EXPECT_EQ(proxy->GetEngineType(), IScreenCapture::CaptureEngineDXGI);
}

TEST_F(EngineProxy, GivesAnEngineUpThatDoesNotRestart) {
  journal.scripts["dxgi"].results.assign(3, CaptureResult::Failed);
  const auto proxy = Monitor(Windows10());
  ASSERT_TRUE(proxy->Initialize());
  journal.scripts["dxgi"].starts = false;
  CaptureTimes(*proxy, 3);
  EXPECT_EQ(proxy->GetEngineType(), IScreenCapture::CaptureEngineMag);
}

TEST_F(EngineProxy, ChangesAtOnceFromALostEngineAndFromABlackMagnifierOnly) {
  journal.scripts["dxgi"].results = {CaptureResult::BlackFrame, CaptureResult::EngineLost};
  journal.scripts["mag"].results = {CaptureResult::BlackFrame};
  const auto proxy = Monitor(Windows10());
  ASSERT_TRUE(proxy->Initialize());
  EXPECT_FALSE(Capture(*proxy));
  EXPECT_EQ(result, CaptureResult::BlackFrame);
  EXPECT_EQ(proxy->GetEngineType(), IScreenCapture::CaptureEngineDXGI);
  EXPECT_FALSE(Capture(*proxy));
  EXPECT_EQ(proxy->GetEngineType(), IScreenCapture::CaptureEngineMag);
  EXPECT_FALSE(Capture(*proxy));
  EXPECT_EQ(proxy->GetEngineType(), IScreenCapture::CaptureEngineGDIBitBlt);
}

TEST_F(EngineProxy, NeitherStillPicturesNorFilterTroubleCountAsFailures) {
  auto& results = journal.scripts["dxgi"].results;
  for (int i = 0; i < 1000; ++i) {
    results.push_back(CaptureResult::NoChange);
    results.push_back(CaptureResult::BlackFrame);
    results.push_back(CaptureResult::FilterFailed);
    results.push_back(CaptureResult::FilterChanged);
  }
  const auto proxy = Monitor(Windows10());
  ASSERT_TRUE(proxy->Initialize());
  journal.TakeCalls();
  CaptureTimes(*proxy, 4000);
  EXPECT_TRUE(results.empty());
  EXPECT_EQ(journal.TakeCalls(), Names());
  EXPECT_EQ(proxy->GetEngineType(), IScreenCapture::CaptureEngineDXGI);
}

TEST_F(EngineProxy, SaysNoneWhenTheLastEngineIsGone) {
  settings.allowed = {IScreenCapture::CaptureEngineGDIBitBlt};
  journal.scripts["bitblt"].results = {CaptureResult::EngineLost};
  const test::LogRecorder log;
  const auto proxy = Monitor(Windows10());
  ASSERT_TRUE(proxy->Initialize());
  EXPECT_FALSE(Capture(*proxy));
  EXPECT_EQ(engines, (std::vector<int>{IScreenCapture::CaptureEngineGDIBitBlt,
                                       IScreenCapture::CaptureEngineNone}));
  EXPECT_EQ(log.Count("m_captureEngine are all failed"), 1) << log.Dump();

  result = CaptureResult::FilterFailed;
  EXPECT_FALSE(proxy->Capture(0, 0, 8, 8, frame, result));
  EXPECT_EQ(result, CaptureResult::FilterFailed) << "touched without an engine";
  EXPECT_TRUE(proxy->IsDesktopBased());
  proxy->ShowCursor(true);
  proxy->UnInitialize();
}

TEST_F(EngineProxy, HandsEverySettingToTheEngineInUseAndToTheNext) {
  journal.scripts["dxgi"].results = {CaptureResult::EngineLost};
  const auto proxy = Monitor(Windows10());
  ASSERT_TRUE(proxy->Initialize());
  journal.TakeCalls();
  proxy->ShowCursor(false);
  proxy->SetTargetSize(320, 200);
  proxy->SetSource(reinterpret_cast<HMONITOR>(std::intptr_t{0x99}));
  proxy->SetDynamicCheck(false);
  EXPECT_EQ(journal.TakeCalls(), (Names{"dxgi cursor off", "dxgi target 320x200",
                                        "dxgi source other", "dxgi check off"}));
  Capture(*proxy);
  // The dynamic check was the lost engine's alone.
  EXPECT_EQ(journal.TakeCalls(), (Names{"dxgi -", "dxgi ~", "mag +", "mag source other",
                                        "mag basic off", "mag cursor off", "mag target 320x200"}));
}

TEST_F(EngineProxy, AWindowShareFollowsTheIncludeList) {
  IScreenCapture::FilterWindowInfo included;
  included.type = 1;
  included.processId = 4711;
  filters->AddIncludeWindow(included);
  const auto proxy = Window(Windows11());
  ASSERT_TRUE(proxy->Initialize());
  EXPECT_EQ(proxy->GetEngineType(), IScreenCapture::CaptureEngineMag) << "WGC can't include";

  filters->ClearIncludeWindows();
  EXPECT_TRUE(Capture(*proxy));
  EXPECT_EQ(proxy->GetEngineType(), IScreenCapture::CaptureEngineWGC);

  filters->AddIncludeWindow(included);
  journal.TakeCalls();
  EXPECT_TRUE(Capture(*proxy));
  EXPECT_EQ(proxy->GetEngineType(), IScreenCapture::CaptureEngineMag);
  const Names calls = journal.TakeCalls();
  ASSERT_GE(calls.size(), 3u);
  EXPECT_EQ(Names(calls.begin(), calls.begin() + 3), (Names{"wgc -", "mag +", "mag source none"}));
  EXPECT_EQ(engines,
            (std::vector<int>{IScreenCapture::CaptureEngineMag, IScreenCapture::CaptureEngineWGC,
                              IScreenCapture::CaptureEngineMag}));

  // WGC is left, but can't serve the share while a window is to be included.
  journal.scripts["print"].starts = false;
  journal.scripts["bitblt"].starts = false;
  journal.scripts["mag"].results = {CaptureResult::EngineLost};
  EXPECT_FALSE(Capture(*proxy));
  EXPECT_EQ(proxy->GetEngineType(), IScreenCapture::CaptureEngineNone);
  EXPECT_FALSE(Capture(*proxy));
}

TEST_F(EngineProxy, AMonitorShareDoesNotCareForTheIncludeList) {
  IScreenCapture::FilterWindowInfo included;
  included.type = 1;
  filters->AddIncludeWindow(included);
  const auto proxy = Monitor(Windows11());
  ASSERT_TRUE(proxy->Initialize());
  EXPECT_TRUE(Capture(*proxy));
  EXPECT_EQ(proxy->GetEngineType(), IScreenCapture::CaptureEngineDXGI);
}

TEST_F(EngineProxy, TellsTheTwoGdiModesApart) {
  settings.allowed = {IScreenCapture::CaptureEngineGDIBitBlt,
                      IScreenCapture::CaptureEngineGDIPrintWindow};
  journal.scripts["print"].results = {CaptureResult::EngineLost};
  const auto proxy = Window(Windows10());
  ASSERT_TRUE(proxy->Initialize());
  EXPECT_FALSE(proxy->IsDesktopBased());
  Capture(*proxy);
  EXPECT_TRUE(proxy->IsDesktopBased());
  EXPECT_EQ(engines, (std::vector<int>{IScreenCapture::CaptureEngineGDIPrintWindow,
                                       IScreenCapture::CaptureEngineGDIBitBlt}));
}

}  // namespace
}  // namespace qx
