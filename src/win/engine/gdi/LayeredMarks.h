#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace qx {

// Keeps other programs' windows layered and opaque while somebody wants that, and then
// gives them their style back exactly. Shares that want the same window count: it is
// given back when the last of them lets go. A window that is layered by itself is never
// touched, and after a style that can't be read nothing is written.
//
// A change of style waits for the window's thread, so each window's runs on a thread of
// its own. One that takes too long is not waited for: it ends by itself, and takes the
// style back itself when nobody wants it any more by then.
//
// One object per engine, one thread at a time.
class LayeredMarks {
 public:
  LayeredMarks();
  LayeredMarks(const LayeredMarks&) = delete;
  LayeredMarks& operator=(const LayeredMarks&) = delete;
  ~LayeredMarks() { Clear(); }

  // Wants exactly these windows layered. To be called again for every picture: what
  // failed is tried again, and what a program has undone is done again. Waits for at
  // most kPatienceMs in any second. False: one of them is not layered, or may not be.
  bool Hide(const std::vector<HWND>& windows);

  // Wants none. Waits for at most kPatienceMs, and needs no memory of its own: the
  // change is made on the calling thread when the system has no thread to give.
  void Clear();

 private:
  class Registry;

  static const std::shared_ptr<Registry>& registry();
  void release(const std::vector<HWND>& kept);
  bool want(HWND window);
  void settlePending(std::uint32_t milliseconds);

  // Shared with all others, and with the threads at work.
  const std::shared_ptr<Registry> m_registry;
  std::vector<HWND> m_wanted;   // counted in the registry
  std::vector<HWND> m_pending;  // to be changed; as much room as both lists together
  std::int64_t m_secondBegan = 0;
  std::int64_t m_spentMicros = 0;  // waiting, since then
};

}  // namespace qx
