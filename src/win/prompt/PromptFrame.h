#pragma once

#include <qx-screen-capture.h>
#include <windows.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

#include "common/Logging.h"
#include "win/util/Handles.h"
#include "win/util/Thread.h"

namespace qx {

// What the frames around a monitor (PromptDesktop) and around a window (PromptWindow)
// have in common: a click-through, half-transparent popup with a thread of its own,
// which paints strips along its edges. White is its transparent colour.
//
// The frame's thread makes all calls for the window, as each of them can make it wait:
// for another thread's window, or for the host that a message is logged to. So the
// caller only says what he wants, and waits in Start and Stop alone.
//
// One life: Start, Stop. All calls come from one thread, the share's capture thread.
class PromptFrame {
 public:
  // What the two kinds differ in, beside their lives.
  struct Kind {
    const wchar_t* className;
    const char* logName;
    LogRateLimiter& emptyClientLog;
  };

  // In pixels of the virtual screen.
  struct Place {
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    bool operator==(const Place&) const = default;
  };

  struct Look {
    bool painted;  // or nothing but white
    COLORREF color;
    std::int32_t width;
    bool operator==(const Look&) const = default;
  };

  struct Wish {
    Place place;
    Look look;
    bool placed = false;  // it follows a window
    bool visible = true;
    bool topmost = false;
    bool operator==(const Wish&) const = default;
  };

  class Life;

  PromptFrame(const Kind& kind, const Place& place, bool painted);
  PromptFrame(const PromptFrame&) = delete;
  PromptFrame& operator=(const PromptFrame&) = delete;
  ~PromptFrame() { Stop(); }

  // Runs `life` on the frame's thread and returns when the window is up (true) or can't
  // be (false). `life` must own all that it uses.
  bool Start(std::function<void(Life&)> life);
  // Returns when window and thread are gone. When that takes longer than kPatienceMs they
  // go by themselves later. Needs neither the window, which may have been destroyed from
  // outside, nor memory. Does nothing when not started.
  void Stop();

  // Costs a comparison when it is what was asked for last.
  void Ask(const Wish& wish);
  void AskForLook(const IScreenCapture::PromptWindowInfo& info);
  const Wish& Asked() const { return m_asked; }

  // Null while there is no window.
  HWND GetHwnd() const;

 private:
  Wish m_asked;
  bool m_owesWake = false;  // the thread doesn't know yet what was asked for
  const std::shared_ptr<Life> m_life;
  Thread m_thread;
};

// The frame as its own thread sees it, which holds it until the end. A life is: Open, what
// the window needs to be up, EnterUp, Serve, and an end for the window if it is still there.
class PromptFrame::Life {
 public:
  // Does what is new in `wish`, `before` being the last one. The look is seen to already.
  using Arrange = std::function<void(HWND window, const Wish& before, const Wish& wish)>;

  Life(const Kind& kind, const Wish& first) : m_kind(kind), m_wish(first) {}

  // Makes the window, still hidden, in its place; null when there can't be one.
  HWND Open();
  // Lets Start return. From here on the thread may come to wait for others.
  void EnterUp() { enter(Phase::Up); }
  // Handles messages and wishes until Stop or until the window is destroyed.
  void Serve(const Arrange& arrange);

  // Null when the window is gone.
  HWND GetWindow() const { return m_window; }

 private:
  friend class PromptFrame;
  enum class Phase { NotStarted, Starting, Up, Down };

  static LRESULT CALLBACK windowProcedure(HWND window, UINT message, WPARAM wParam,
                                          LPARAM lParam) noexcept;

  void enter(Phase phase);
  void end();
  bool attachTo(HWND window);
  void fulfil(const Arrange& arrange);
  bool paint(HWND window);
  void paintStrips(HDC dc, const RECT& client);

  const Kind m_kind;
  std::atomic<Phase> m_phase = Phase::NotStarted;
  std::atomic<bool> m_stopping = false;
  std::atomic<HWND> m_window = nullptr;
  KernelHandle m_phaseChanged;  // auto-reset; the thread enters Up and Down
  Wish m_present;               // the thread's: what was done last

  std::mutex m_mutex;
  Wish m_wish;
};

}  // namespace qx
