// Functions of the stand-in that can be redirected, as the code of any function can be
// on Windows.
//
// A function that can be redirected is two: its entry, which everybody calls, and its
// body. The entry calls what is in force.
#pragma once

#include <atomic>

namespace vwin::patches {

// One such function, of static storage. It is known from its construction on, and stays
// so; what redirects it stays in force until the process ends.
class PatchPoint {
 public:
  // `entry` is the address that callers know, `body` what runs unless redirected. A
  // function of a COM object has its object as the first argument.
  PatchPoint(void* entry, void* body);
  PatchPoint(const PatchPoint&) = delete;
  PatchPoint& operator=(const PatchPoint&) = delete;

  template <typename Function>
  Function InForce() const {
    return reinterpret_cast<Function>(m_inForce.load());
  }

 private:
  friend bool Redirect(std::atomic<void*>& function, void* detour);

  void* const m_entry;
  void* const m_body;
  std::atomic<void*> m_inForce;
  PatchPoint* m_next;
};

// False for an address that is no patch point's, or one that is redirected already.
// `function` holds the body from then on, before a call reaches `detour`.
bool Redirect(std::atomic<void*>& function, void* detour);

}  // namespace vwin::patches
