#pragma once

#include <windows.h>

#include <memory>
#include <string>

namespace qx::c {

// A text of each thread, which goes with its thread. One that is thread_local would be
// destroyed by the C++ library inside this DLL, which MinGW lets free the memory first, and
// which keeps the DLL loaded as long as the thread lives.
class ThreadText {
 public:
  ThreadText() : m_slot(FlsAlloc(&destroy)) {}
  ThreadText(const ThreadText&) = delete;
  ThreadText& operator=(const ThreadText&) = delete;
  ~ThreadText() { FlsFree(m_slot); }

  // The calling thread's; null when the system has no room for it.
  std::string* Get() {
    if (void* const own = FlsGetValue(m_slot)) {
      return static_cast<std::string*>(own);
    }
    auto made = std::make_unique<std::string>();
    return FlsSetValue(m_slot, made.get()) ? made.release() : nullptr;
  }

 private:
  static void WINAPI destroy(void* text) { delete static_cast<std::string*>(text); }

  const DWORD m_slot;
};

}  // namespace qx::c
