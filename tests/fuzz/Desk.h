#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

#include "tests/fuzz/Bytes.h"

namespace qx::fuzz {

// The machine of one input, and all that its user, other programs and the system do on it. Any
// thread, also in the middle of a call.
class Desk {
 public:
  // No other window has the colour of this one, nor one that mixes with others to it.
  static constexpr std::uint32_t kSecretColor = 0xFA00FA;
  static constexpr std::uint32_t kSecretProcess = 7300;

  // Two small monitors and three windows. The bytes decide the rest.
  explicit Desk(Bytes& bytes);
  Desk(const Desk&) = delete;
  Desk& operator=(const Desk&) = delete;
  // Leaves a machine as a new one is, after Calm.
  ~Desk();

  void Act(Bytes& bytes);
  // From now on nothing fails or hangs any more.
  void Calm();

  HWND Secret() const { return m_secret; }
  std::int32_t SecretId() const;
  // Whether copies of the screen leave windows out, and always did.
  bool CopiesHide() const { return m_copiesHide; }
  // Of a window or a monitor, one that is gone, or of nothing.
  HWND AnyWindow(Bytes& bytes);
  std::int32_t AnyWindowId(Bytes& bytes);
  std::int32_t AnyMonitorId(Bytes& bytes);

 private:
  void act(Bytes& bytes);
  void open(Bytes& bytes);
  void actOnWindow(Bytes& bytes);
  void setComposition(bool enabled);
  void fail(Bytes& bytes);

  HWND m_secret = nullptr;
  std::atomic<bool> m_copiesHide = false;
  std::atomic<bool> m_calm = false;
  std::mutex m_mutex;  // over the next; held for moments only
  std::vector<HWND> m_windows;
};

// What a machine has once and for all: the version of Windows, an owned clock.
void PrepareProcess();

}  // namespace qx::fuzz
