#pragma once

#include <atomic>

#include "common/Singleton.h"

namespace qx {

// What the host asked of the magnification engine's Direct3D 9 hooks. It may ask
// before there is any engine.
class Direct3D9Hook : public Singleton<Direct3D9Hook> {
 public:
  // Keeps the hooks working beside Direct3D 12 content.
  void EnableCompatibleFix() { m_compatibleFix = true; }
  bool IsCompatibleFixEnabled() const { return m_compatibleFix; }

 private:
  friend class Singleton<Direct3D9Hook>;
  Direct3D9Hook() = default;

  std::atomic<bool> m_compatibleFix = false;
};

}  // namespace qx
