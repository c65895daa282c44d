#include "win/util/AnsweringMutex.h"

#include "win/util/Wait.h"

namespace qx {

AnsweringMutex::AnsweringMutex() : m_free(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}

void AnsweringMutex::lock() {
  while (!try_lock()) {
    if (m_free) {
      static_cast<void>(WaitAnswering(m_free.Get(), kPollMs));
    } else {
      Sleep(1);
    }
  }
}

bool AnsweringMutex::try_lock() {
  const DWORD self = GetCurrentThreadId();
  const std::lock_guard lock(m_mutex);
  if (m_thread != 0 && m_thread != self) {
    return false;
  }
  m_thread = self;
  ++m_depth;
  return true;
}

void AnsweringMutex::unlock() {
  const std::lock_guard lock(m_mutex);
  if (--m_depth == 0) {
    m_thread = 0;
    if (m_free) {
      SetEvent(m_free.Get());
    }
  }
}

bool AnsweringMutex::IsMine() {
  const std::lock_guard lock(m_mutex);
  return m_thread == GetCurrentThreadId();
}

}  // namespace qx
