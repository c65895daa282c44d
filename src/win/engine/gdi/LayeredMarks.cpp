#include "win/engine/gdi/LayeredMarks.h"

#include <algorithm>
#include <list>
#include <mutex>
#include <optional>

#include "common/Logging.h"
#include "win/util/Clock.h"
#include "win/util/Errand.h"
#include "win/util/RunClosed.h"
#include "win/util/Thread.h"
#include "win/util/WindowHelpers.h"

namespace qx {
namespace {

constexpr std::int64_t kMicrosPerMilli = 1000;
constexpr std::int64_t kMicrosPerSecond = 1'000'000;

bool Contains(const std::vector<HWND>& windows, HWND window) {
  return std::find(windows.begin(), windows.end(), window) != windows.end();
}

bool IsLayered(std::uint32_t exStyle) { return WindowsUtil::HasAllBitsOf(exStyle, WS_EX_LAYERED); }

// In doubt it does.
bool ShowsInCopy(HWND window) {
  const std::optional<std::uint32_t> exStyle = WindowsUtil::ReadStyle(window, GWL_EXSTYLE);
  return exStyle ? !IsLayered(*exStyle) : IsWindow(window) != FALSE;
}

// Waits for the window's thread, as the window is told about it.
bool WriteExStyle(HWND window, std::uint32_t exStyle) {
  SetLastError(ERROR_SUCCESS);
  return SetWindowLongPtrW(window, GWL_EXSTYLE, static_cast<LONG_PTR>(exStyle)) != 0 ||
         GetLastError() == ERROR_SUCCESS;
}

// The window is not ours, and nobody else would give its style back: what failed gets a
// second chance. False: it is still layered, or may be.
bool MakePlain(HWND window) {
  constexpr int kAttempts = 2;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const std::optional<std::uint32_t> exStyle = WindowsUtil::ReadStyle(window, GWL_EXSTYLE);
    if (exStyle ? !IsLayered(*exStyle) : !IsWindow(window)) {
      return true;
    }
    if (exStyle && WriteExStyle(window, *exStyle & ~std::uint32_t{WS_EX_LAYERED})) {
      constexpr UINT kAll = RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN | RDW_FRAME;
      static_cast<void>(RedrawWindow(window, nullptr, nullptr, kAll) ||
                        RedrawWindow(window, nullptr, nullptr, kAll));
      return true;
    }
  }
  return false;
}

// Whether the window bears the style because of us.
bool MakeLayered(HWND window) {
  const std::optional<std::uint32_t> exStyle = WindowsUtil::ReadStyle(window, GWL_EXSTYLE);
  if (!exStyle || IsLayered(*exStyle) || !WriteExStyle(window, *exStyle | WS_EX_LAYERED)) {
    return false;
  }
  // Without attributes the user would not see it either.
  return SetLayeredWindowAttributes(window, 0, 255, LWA_ALPHA) || !MakePlain(window);
}

}  // namespace

// The marks of the whole process. Its lock is never held across a call to a window.
class LayeredMarks::Registry {
 public:
  enum class Answer { NotOurs, Wanted, Pending };

  // One more who wants the window, or, if `held`, one who wanted it before. NotOurs: he
  // counts no more, as the window is layered by itself or unreadable. Pending: the
  // caller has to settle it.
  Answer Want(HWND window, std::optional<std::uint32_t> exStyle, bool held) {
    const std::scoped_lock lock(m_mutex);
    const auto mark = find(window);
    if (!exStyle) {
      return held ? Answer::Wanted : Answer::NotOurs;
    }
    if (mark == m_marks.end()) {
      if (IsLayered(*exStyle)) {
        return Answer::NotOurs;
      }
      m_marks.push_back({window, 1, false, true});
      return Answer::Pending;
    }
    if (!mark->underWay && !mark->given && IsLayered(*exStyle)) {
      mark->wanted -= held ? 1 : 0;
      eraseIfIdle(mark);
      return Answer::NotOurs;
    }
    mark->wanted += held ? 0 : 1;
    if (mark->underWay) {
      return Answer::Wanted;
    }
    // The program may have taken the style back.
    mark->given = mark->given && IsLayered(*exStyle);
    mark->underWay = !mark->given;
    return mark->underWay ? Answer::Pending : Answer::Wanted;
  }

  // One less who wants it. True: the caller has to settle it.
  bool Release(HWND window) {
    const std::scoped_lock lock(m_mutex);
    const auto mark = find(window);
    --mark->wanted;
    if (mark->wanted > 0 || mark->underWay) {
      return false;
    }
    if (!mark->given) {
      m_marks.erase(mark);
      return false;
    }
    mark->underWay = true;
    return true;
  }

  // Appends those that nobody wants and that could not be given back, to be settled.
  void TakeLeftovers(std::vector<HWND>& pending) {
    const std::scoped_lock lock(m_mutex);
    for (Mark& mark : m_marks) {
      if (mark.wanted == 0 && !mark.underWay) {
        pending.push_back(mark.window);
        mark.underWay = true;
      }
    }
  }

  // Does with a pending window what is wanted of it, also what is wanted meanwhile.
  void Settle(HWND window) {
    while (const std::optional<bool> layered = nextStep(window)) {
      const bool given = *layered ? MakeLayered(window) : !MakePlain(window);
      if (given != *layered) {
        QX_LOG_LIMITED(LogLevelWarn, "window {:#08x} can't be made {},last Error:{}",
                       reinterpret_cast<std::uintptr_t>(window), *layered ? "layered" : "plain",
                       static_cast<std::uint32_t>(GetLastError()));
      }
      if (!note(window, *layered, given)) {
        return;
      }
    }
  }

  // Leaves a pending window as it is.
  void GiveUp(HWND window) {
    const std::scoped_lock lock(m_mutex);
    const auto mark = find(window);
    mark->underWay = false;
    eraseIfIdle(mark);
  }

 private:
  struct Mark {
    HWND window;
    int wanted;     // by so many
    bool given;     // it bears the style because of us
    bool underWay;  // somebody settles it; only he changes `given`, and it is not erased
  };
  using Marks = std::vector<Mark>;

  Marks::iterator find(HWND window) {
    return std::find_if(m_marks.begin(), m_marks.end(),
                        [window](const Mark& mark) { return mark.window == window; });
  }

  void eraseIfIdle(Marks::iterator mark) {
    if (mark->wanted == 0 && !mark->given && !mark->underWay) {
      m_marks.erase(mark);
    }
  }

  // Nothing: it is as wanted, and settled.
  std::optional<bool> nextStep(HWND window) {
    const std::scoped_lock lock(m_mutex);
    const auto mark = find(window);
    const bool layered = mark->wanted > 0;
    if (layered != mark->given) {
      return layered;
    }
    mark->underWay = false;
    eraseIfIdle(mark);
    return std::nullopt;
  }

  // False: the step failed, and that is all for this time.
  bool note(HWND window, bool layered, bool given) {
    const std::scoped_lock lock(m_mutex);
    const auto mark = find(window);
    mark->given = given;
    if (given == layered) {
      return true;
    }
    mark->underWay = false;
    eraseIfIdle(mark);
    return false;
  }

  std::mutex m_mutex;
  Marks m_marks;
};

const std::shared_ptr<LayeredMarks::Registry>& LayeredMarks::registry() {
  static const auto registry = std::make_shared<Registry>();
  return registry;
}

LayeredMarks::LayeredMarks() : m_registry(registry()) {}

bool LayeredMarks::Hide(const std::vector<HWND>& windows) {
  // What comes behind these lines must not fail halfway.
  m_pending.reserve(m_wanted.size() + windows.size());
  m_wanted.reserve(m_wanted.size() + windows.size());
  release(windows);
  bool hidden = true;
  for (const HWND window : windows) {
    hidden = want(window) && hidden;
  }
  m_registry->TakeLeftovers(m_pending);
  if (m_pending.empty() && hidden) {
    return true;
  }
  const std::int64_t began = MonotonicMicros();
  if (began - m_secondBegan >= kMicrosPerSecond) {
    m_secondBegan = began;
    m_spentMicros = 0;
  }
  const std::int64_t left = kPatienceMs - m_spentMicros / kMicrosPerMilli;
  settlePending(static_cast<std::uint32_t>(std::max<std::int64_t>(left, 0)));
  m_spentMicros += MonotonicMicros() - began;
  return hidden || std::none_of(windows.begin(), windows.end(), ShowsInCopy);
}

void LayeredMarks::Clear() {
  release({});
  settlePending(kPatienceMs);
}

void LayeredMarks::release(const std::vector<HWND>& kept) {
  std::erase_if(m_wanted, [&](HWND window) {
    if (Contains(kept, window)) {
      return false;
    }
    if (m_registry->Release(window)) {
      m_pending.push_back(window);
    }
    return true;
  });
}

// Whether it is layered already.
bool LayeredMarks::want(HWND window) {
  const bool held = Contains(m_wanted, window);
  const std::optional<std::uint32_t> exStyle = WindowsUtil::ReadStyle(window, GWL_EXSTYLE);
  const bool layered = exStyle && IsLayered(*exStyle);
  const auto answer = m_registry->Want(window, exStyle, held);
  if (answer == Registry::Answer::NotOurs) {
    if (held) {
      std::erase(m_wanted, window);
    }
    return layered;
  }
  if (!held) {
    m_wanted.push_back(window);
  }
  if (answer == Registry::Answer::Pending) {
    m_pending.push_back(window);
  }
  return layered;
}

void LayeredMarks::settlePending(std::uint32_t milliseconds) {
  const Deadline deadline(milliseconds);
  std::list<Thread> threads;
  const auto settleOnThread = [&](HWND window) {
    bool started = false;
    RunClosed("no thread for a window's style", [&] {
      started = threads.emplace_back().Start(
          [registry = m_registry, window] { registry->Settle(window); });
    });
    return started;
  };
  for (const HWND window : m_pending) {
    if (settleOnThread(window)) {
      continue;
    }
    // Only a window that answers can be changed from here.
    DWORD_PTR answer = 0;
    if (!IsWindow(window) || SendMessageTimeoutW(window, WM_NULL, 0, 0, SMTO_ABORTIFHUNG,
                                                 deadline.MillisLeft(), &answer)) {
      m_registry->Settle(window);
    } else {
      m_registry->GiveUp(window);
    }
  }
  m_pending.clear();
  for (Thread& thread : threads) {
    static_cast<void>(thread.JoinWithin(deadline.MillisLeft()));
  }
}

}  // namespace qx
