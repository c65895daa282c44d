// Which engines a share gets, in which order, and how it falls over from one to
// the next: with scripted engines on machines of every kind.
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "win/engine/ScreenCaptureEngineProxy.h"

namespace qx {
namespace {

const auto kMonitor = reinterpret_cast<HMONITOR>(std::intptr_t{0x51});
const auto kRenewedMonitor = reinterpret_cast<HMONITOR>(std::intptr_t{0x53});
const auto kWindow = reinterpret_cast<HWND>(std::intptr_t{0x52});

// What the engines do, and which were made.
struct Script {
  std::set<CaptureEngineType> broken;  // they neither start nor go on
  std::string built;                   // names with the arguments
  std::string settings;                // of the last capture
};

class ScriptedEngine : public ScreenCaptureEngine {
 public:
  ScriptedEngine(Script& script, CaptureEngineType type) : m_script(script), m_type(type) {}

  bool Initialize() override { return works(); }
  void UnInitialize() override {}
  CaptureEngineType GetEngineType() const override { return m_type; }
  bool IsDesktopBased() const override { return true; }
  bool Capture(std::int32_t, std::int32_t, std::int32_t, std::int32_t, ScreenCaptureFrame&,
               CaptureResult& result) override {
    m_script.settings = std::to_string(m_targetWidth) + "x" + std::to_string(m_targetHeight) +
                        (m_source == kRenewedMonitor ? " renewed" : "") +
                        (m_showCursor ? "" : " bare") + (m_useBasicGraphics ? " basic" : "");
    result = works() ? CaptureResult::Success : CaptureResult::EngineLost;
    return works();
  }

 private:
  bool works() const { return !m_script.broken.contains(m_type); }

  Script& m_script;
  const CaptureEngineType m_type;
};

EngineFactories Scripted(Script& script) {
  using Flags = std::initializer_list<std::pair<const char*, bool>>;
  const auto make = [&script](const std::string& name, CaptureEngineType type, Flags flags) {
    script.built += (script.built.empty() ? "" : ", ") + name;
    for (const auto& [flag, on] : flags) {
      script.built += on ? std::string(" ") + flag : "";
    }
    return std::make_unique<ScriptedEngine>(script, type);
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
    return std::make_unique<ScreenCaptureEngineProxy>(kMonitor, settings, Scripted(script), facts);
  }
  std::unique_ptr<ScreenCaptureEngineProxy> Window(const MachineFacts& facts) {
    return std::make_unique<ScreenCaptureEngineProxy>(kWindow, settings, Scripted(script), facts);
  }
  bool Capture(ScreenCaptureEngine& engine) {
    auto result = CaptureResult::Failed;
    return engine.Capture(0, 0, 8, 8, frame, result);
  }

  Script script;
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
    EXPECT_EQ(std::exchange(script.built, {}), forMonitor);
    Window(facts);
    EXPECT_EQ(std::exchange(script.built, {}), forWindow);
  }
}

TEST_F(EngineProxy, HandsEverySettingToTheEngineInUseAndToTheNext) {
  const auto proxy = Monitor(kWindows10);
  ASSERT_TRUE(proxy->Initialize());
  proxy->ShowCursor(false);
  proxy->SetUseBasicGraphics(true);
  proxy->SetTargetSize(320, 200);
  proxy->SetSource(kRenewedMonitor);
  EXPECT_TRUE(Capture(*proxy));
  EXPECT_EQ(std::exchange(script.settings, {}), "320x200 renewed bare basic");
  script.broken = {IScreenCapture::CaptureEngineDXGI};
  EXPECT_FALSE(Capture(*proxy));
  EXPECT_TRUE(Capture(*proxy));
  EXPECT_EQ(script.settings, "320x200 renewed bare basic");
}

TEST_F(EngineProxy, AWindowShareFollowsTheIncludeList) {
  FilterWindowManager& filters = *settings.filterWindowManager;
  const IScreenCapture::FilterWindowInfo included = {.type = 1, .processId = 4711};
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
  EXPECT_TRUE(Capture(*proxy));

  // WGC is left, but can't serve the share while a window is to be included.
  script.broken = {IScreenCapture::CaptureEngineMag, IScreenCapture::CaptureEngineGDIPrintWindow,
                   IScreenCapture::CaptureEngineGDIBitBlt};
  EXPECT_FALSE(Capture(*proxy));
  EXPECT_FALSE(Capture(*proxy));
  EXPECT_EQ(engines, (std::vector<int>{
                         IScreenCapture::CaptureEngineMag, IScreenCapture::CaptureEngineWGC,
                         IScreenCapture::CaptureEngineMag, IScreenCapture::CaptureEngineNone}));
}

}  // namespace
}  // namespace qx
