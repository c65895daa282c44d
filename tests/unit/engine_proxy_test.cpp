// Which engines a share gets, in which order, and how it falls over from one to
// the next: with scripted engines on machines of every kind.
#include <gtest/gtest.h>

#include <deque>
#include <functional>
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
  std::string built;               // with the arguments
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

TEST_F(EngineProxy, RanksTheEnginesThatTheMachineAndTheHostAllow) {
  const MachineFacts composed7 = {true, false, false, false, true, false, true};
  const MachineFacts withoutGpu = {false, true, true, false, true, false, true};
  const MachineFacts withoutMag = {true, true, true, false, true, false, false};
  const MachineFacts remote = {true, true, true, true, true, true, true};
  const auto plain = [](EngineProxySettings&) {};
  const auto dirty = [](EngineProxySettings& s) { s.dirtyInfo = true; };
  const auto wgcFirst = [](EngineProxySettings& s) { s.dirtyInfo = s.wgcPriority = true; };
  const auto filter = [](EngineProxySettings& s) { s.enableFilterWindow = true; };
  const auto filterAll = [](EngineProxySettings& s) {
    s.enableFilterWindow = s.dirtyInfo = s.newMouseCaptureWay = true;
  };
  const auto filterWgcFirst = [](EngineProxySettings& s) {
    s.enableFilterWindow = s.wgcPriority = true;
  };
  const auto onlyGdi = [](EngineProxySettings& s) {
    s.allowed = {IScreenCapture::CaptureEngineGDIBitBlt};
  };
  const auto onlyNew = [](EngineProxySettings& s) {
    s.allowed = {IScreenCapture::CaptureEngineWGC, IScreenCapture::CaptureEngineMag};
  };
  struct Row {
    MachineFacts facts;
    std::function<void(EngineProxySettings&)> set;
    const char* forMonitor;
    const char* forWindow;
  };
  const Row rows[] = {
      {Windows11(), plain,
       "dxgi monitor check, wgc monitor check, mag monitor filter check, bitblt",
       "wgc window filter check, mag filter check, print window, bitblt window"},
      {Windows11(), dirty,
       "dxgi monitor check dirty, wgc monitor check dirty, mag monitor filter check dirty, bitblt",
       "wgc window filter check dirty, mag filter check dirty, print window, bitblt window"},
      {Windows11(), wgcFirst,
       "wgc monitor check dirty, dxgi monitor check dirty, mag monitor filter check dirty, bitblt",
       "wgc window filter check dirty, mag filter check dirty, print window, bitblt window"},
      {Windows11(), filterAll,
       "mag monitor filter check dirty mouse, dxgi monitor check, wgc monitor check dirty, bitblt",
       "wgc window filter check dirty, mag filter check dirty mouse, print window, bitblt window"},
      {Windows11(), filterWgcFirst,
       "mag monitor filter check, wgc monitor check, dxgi monitor check, bitblt",
       "wgc window filter check, mag filter check, print window, bitblt window"},
      {remote, plain, "dxgi monitor check, wgc monitor, mag monitor filter, bitblt",
       "wgc window filter, mag filter, print window, bitblt window"},
      {Windows10(), plain, "dxgi monitor check, mag monitor filter check, bitblt",
       "mag filter check, print window, bitblt window"},
      {withoutGpu, plain, "bitblt", "print window, bitblt window"},
      {withoutMag, plain, "dxgi monitor check, bitblt",
       "mag filter check, print window, bitblt window"},
      {Windows7Basic(), filter, "bitblt filter", "bitblt window filter, print window"},
      {composed7, filter, "mag monitor filter, bitblt", "mag filter, bitblt window, print window"},
      {Windows11(), onlyGdi, "bitblt", "bitblt window"},
      {Windows11(), onlyNew, "wgc monitor check, mag monitor filter check",
       "wgc window filter check, mag filter check"},
  };
  for (const Row& row : rows) {
    settings = MakeSettings();
    row.set(settings);
    Monitor(row.facts);
    EXPECT_EQ(std::exchange(journal.built, {}), row.forMonitor);
    Window(row.facts);
    EXPECT_EQ(std::exchange(journal.built, {}), row.forWindow);
  }
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

TEST_F(EngineProxy, ChangesAtOnceFromALostEngineAndFromABlackMagnifierOnly) {
  auto& results = journal.scripts["dxgi"].results;
  for (const CaptureResult harmless : {CaptureResult::NoChange, CaptureResult::BlackFrame,
                                       CaptureResult::FilterFailed, CaptureResult::FilterChanged}) {
    results.insert(results.end(), 10, harmless);
  }
  results.push_back(CaptureResult::EngineLost);
  journal.scripts["mag"].results = {CaptureResult::BlackFrame};
  const auto proxy = Monitor(Windows10());
  ASSERT_TRUE(proxy->Initialize());
  journal.TakeCalls();
  CaptureTimes(*proxy, 40);
  EXPECT_EQ(journal.TakeCalls(), Names()) << "no failures";
  EXPECT_FALSE(Capture(*proxy));
  EXPECT_EQ(proxy->GetEngineType(), IScreenCapture::CaptureEngineMag);
  EXPECT_FALSE(Capture(*proxy));
  EXPECT_EQ(proxy->GetEngineType(), IScreenCapture::CaptureEngineGDIBitBlt);
}

TEST_F(EngineProxy, HandsEverySettingToTheEngineInUseRestartedOrNext) {
  journal.scripts["dxgi"].results.assign(6, CaptureResult::Failed);
  const auto proxy = Monitor(Windows10());
  ASSERT_TRUE(proxy->Initialize());
  journal.TakeCalls();
  proxy->ShowCursor(false);
  proxy->SetTargetSize(320, 200);
  proxy->SetSource(reinterpret_cast<HMONITOR>(std::intptr_t{0x99}));
  proxy->SetDynamicCheck(false);
  EXPECT_EQ(journal.TakeCalls(), (Names{"dxgi cursor off", "dxgi target 320x200",
                                        "dxgi source other", "dxgi check off"}));
  CaptureTimes(*proxy, 3);
  EXPECT_EQ(journal.TakeCalls(), (Names{"dxgi -", "dxgi +", "dxgi source other", "dxgi basic off",
                                        "dxgi cursor off", "dxgi target 320x200"}));
  journal.scripts["dxgi"].starts = false;
  CaptureTimes(*proxy, 3);
  // The dynamic check was the lost engine's alone.
  EXPECT_EQ(journal.TakeCalls(),
            (Names{"dxgi -", "dxgi +", "dxgi -", "dxgi ~", "mag +", "mag source other",
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
  const auto monitorShare = Monitor(Windows11());
  ASSERT_TRUE(monitorShare->Initialize());
  EXPECT_EQ(monitorShare->GetEngineType(), IScreenCapture::CaptureEngineDXGI) << "doesn't care";
  engines = {IScreenCapture::CaptureEngineMag};

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

}  // namespace
}  // namespace qx
