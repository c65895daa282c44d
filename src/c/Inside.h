#pragma once

namespace qx::c {

class SharingObject;

// Where the calling thread is: inside a call to the host for `owner`, inside the end of its
// share, or, with null, inside the host's log callback, which may run anywhere. As long as it
// is there it can't end that share: it would wait for itself, or promise what another one has
// still to do. They nest, since a host may run messages, or use another object.
class Inside {
 public:
  explicit Inside(const SharingObject* owner) : m_owner(owner), m_outer(t_innermost) {
    t_innermost = this;
  }
  Inside(const Inside&) = delete;
  Inside& operator=(const Inside&) = delete;
  ~Inside() { t_innermost = m_outer; }

  static bool MayEndShareOf(const SharingObject& owner) {
    const Inside* place = t_innermost;
    while (place && place->m_owner && place->m_owner != &owner) {
      place = place->m_outer;
    }
    return place == nullptr;
  }

 private:
  static thread_local const Inside* t_innermost;

  const SharingObject* const m_owner;
  const Inside* const m_outer;
};

}  // namespace qx::c
