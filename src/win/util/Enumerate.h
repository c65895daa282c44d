#pragma once

#include <windows.h>

#include <exception>

// The system's enumerations as loops: `visit` gets one handle after the other
// until it answers false. What it throws is thrown by the loop, after the
// system's own code has returned.
namespace qx {

namespace detail {

template <typename Visit>
struct Visitor {
  Visit& visit;
  std::exception_ptr failure = nullptr;
  bool ended = false;  // by the visit

  BOOL operator()(auto handle) noexcept {
    try {
      ended = !visit(handle);
    } catch (...) {
      failure = std::current_exception();
      ended = true;
    }
    return ended ? FALSE : TRUE;
  }

  static BOOL CALLBACK OnWindow(HWND window, LPARAM self) {
    return (*reinterpret_cast<Visitor*>(self))(window);
  }
  static BOOL CALLBACK OnMonitor(HMONITOR monitor, HDC, LPRECT, LPARAM self) {
    return (*reinterpret_cast<Visitor*>(self))(monitor);
  }

  LPARAM AsParameter() { return reinterpret_cast<LPARAM>(this); }
  void Rethrow() const {
    if (failure) {
      std::rethrow_exception(failure);
    }
  }
};

}  // namespace detail

// Topmost first. False when the system failed: then windows may be missing.
template <typename Visit>
bool ForEachTopLevelWindow(Visit visit) {
  detail::Visitor<Visit> visitor{visit};
  const BOOL complete = EnumWindows(&detail::Visitor<Visit>::OnWindow, visitor.AsParameter());
  visitor.Rethrow();
  return complete || visitor.ended;
}

// The top-level windows of one thread.
template <typename Visit>
void ForEachThreadWindow(DWORD thread, Visit visit) {
  detail::Visitor<Visit> visitor{visit};
  EnumThreadWindows(thread, &detail::Visitor<Visit>::OnWindow, visitor.AsParameter());
  visitor.Rethrow();
}

// All descendants.
template <typename Visit>
void ForEachChildWindow(HWND window, Visit visit) {
  detail::Visitor<Visit> visitor{visit};
  EnumChildWindows(window, &detail::Visitor<Visit>::OnWindow, visitor.AsParameter());
  visitor.Rethrow();
}

template <typename Visit>
void ForEachMonitor(Visit visit) {
  detail::Visitor<Visit> visitor{visit};
  EnumDisplayMonitors(nullptr, nullptr, &detail::Visitor<Visit>::OnMonitor, visitor.AsParameter());
  visitor.Rethrow();
}

// A walk by `behind`, which answers the window of a kind that stands behind another one,
// and the first for null. What stands behind a window that closed meanwhile can't be
// found: then the walk starts over, and `visit` sees some windows again.
template <typename Behind, typename Visit>
void ForEachWindowBehind(Behind behind, Visit visit) {
  // More than a session has: windows that close or change places all the time must not
  // keep anybody here.
  constexpr int kMostSteps = 65536;
  HWND window = nullptr;
  for (int step = 0; step < kMostSteps; ++step) {
    const HWND next = behind(window);
    if (next ? !visit(next) : !window || IsWindow(window)) {
      return;
    }
    window = next;
  }
}

}  // namespace qx
