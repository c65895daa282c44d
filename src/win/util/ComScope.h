#pragma once

#include <objbase.h>

namespace qx {

// COM on this thread, for a scope. Who uses it copes with a refusal.
class ComScope {
 public:
  explicit ComScope(DWORD model = COINIT_MULTITHREADED)
      : m_entered(SUCCEEDED(CoInitializeEx(nullptr, model))) {}
  ComScope(const ComScope&) = delete;
  ComScope& operator=(const ComScope&) = delete;
  ~ComScope() {
    if (m_entered) {
      CoUninitialize();
    }
  }

 private:
  const bool m_entered;
};

}  // namespace qx
