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

}  // namespace qx
