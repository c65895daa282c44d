#pragma once

#include <windows.h>

#include <utility>

namespace qx {

// Owns one handle of the system and closes it. A policy names the type and the
// way to close it, and carries what closing needs beside the handle:
//
//   KernelHandle event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
//   WindowDc screen(GetDC(nullptr), {nullptr});
//   SelectedObject selection(SelectObject(dc, bitmap), {dc});
//
// Null means no handle. Declare in the order of making: a selection goes before
// its DC and its bitmap do.
template <typename Policy>
class Handle {
 public:
  using Value = typename Policy::Value;

  Handle() = default;
  explicit Handle(Value value, Policy policy = {}) : m_value(value), m_policy(policy) {}
  Handle(Handle&& other) noexcept
      : m_value(std::exchange(other.m_value, nullptr)), m_policy(other.m_policy) {}
  Handle& operator=(Handle&& other) noexcept {
    Handle taken(std::move(other));
    std::swap(m_value, taken.m_value);
    std::swap(m_policy, taken.m_policy);
    return *this;
  }
  ~Handle() { Reset(); }

  Value Get() const { return m_value; }
  explicit operator bool() const { return m_value != nullptr; }

  // Gives the handle to the caller, who closes it.
  Value Release() { return std::exchange(m_value, nullptr); }

  void Reset() {
    if (Value old = std::exchange(m_value, nullptr)) {
      m_policy.Close(old);
    }
  }

  // For a function that hands out a handle. What was held is closed first.
  Value* Put() {
    Reset();
    return &m_value;
  }

 private:
  Value m_value = nullptr;
  Policy m_policy = {};
};

// Closing a handle that was valid can't usefully fail: the closers ignore the
// answer.

struct KernelHandlePolicy {
  using Value = HANDLE;
  void Close(HANDLE handle) const { CloseHandle(handle); }
};
// Event, thread or process.
using KernelHandle = Handle<KernelHandlePolicy>;

struct DesktopHandlePolicy {
  using Value = HDESK;
  void Close(HDESK desktop) const { CloseDesktop(desktop); }
};
using DesktopHandle = Handle<DesktopHandlePolicy>;

struct RegistryKeyPolicy {
  using Value = HKEY;
  void Close(HKEY key) const { RegCloseKey(key); }
};
using RegistryKey = Handle<RegistryKeyPolicy>;

struct ModulePolicy {
  using Value = HMODULE;
  void Close(HMODULE module) const { FreeLibrary(module); }
};
// A counted reference to a loaded module.
using Module = Handle<ModulePolicy>;

struct WindowDcPolicy {
  using Value = HDC;
  HWND window = nullptr;  // the one that GetDC or GetWindowDC was called for
  void Close(HDC dc) const { ReleaseDC(window, dc); }
};
using WindowDc = Handle<WindowDcPolicy>;

struct MemoryDcPolicy {
  using Value = HDC;
  void Close(HDC dc) const { DeleteDC(dc); }
};
using MemoryDc = Handle<MemoryDcPolicy>;

template <typename T>
struct GdiObjectPolicy {
  using Value = T;
  void Close(T object) const { DeleteObject(object); }
};
// Must not be selected into a DC any more when they are closed.
using GdiBitmap = Handle<GdiObjectPolicy<HBITMAP>>;
using GdiBrush = Handle<GdiObjectPolicy<HBRUSH>>;

struct SelectedObjectPolicy {
  using Value = HGDIOBJ;
  HDC dc = nullptr;
  void Close(HGDIOBJ previous) const { SelectObject(dc, previous); }
};
// What SelectObject replaced. Selects it again, so that the DC lets go of ours.
using SelectedObject = Handle<SelectedObjectPolicy>;

struct IconPolicy {
  using Value = HICON;
  bool borrowed = false;  // a window's, a class's or the system's: not to be destroyed
  void Close(HICON icon) const {
    if (!borrowed) {
      DestroyIcon(icon);
    }
  }
};
using IconHandle = Handle<IconPolicy>;

struct CursorPolicy {
  using Value = HCURSOR;
  void Close(HCURSOR cursor) const { DestroyCursor(cursor); }
};
using CursorHandle = Handle<CursorPolicy>;

struct LockedMemoryPolicy {
  using Value = void*;
  HGLOBAL memory = nullptr;
  void Close(void*) const { GlobalUnlock(memory); }
};
// What GlobalLock gave: the address of global memory that can't move meanwhile.
using LockedMemory = Handle<LockedMemoryPolicy>;

}  // namespace qx
