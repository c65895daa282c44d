#pragma once

#include <windows.h>

#include <mutex>

#include "win/util/Handles.h"

namespace qx {

// A mutex whose holder may take it again, and for which a thread waits without leaving
// unanswered what is sent to its windows: the holder may need that answer first. So it may
// be held across calls to the host. For std::lock_guard and std::unique_lock.
class AnsweringMutex {
 public:
  AnsweringMutex();
  AnsweringMutex(const AnsweringMutex&) = delete;
  AnsweringMutex& operator=(const AnsweringMutex&) = delete;

  void lock();
  bool try_lock();
  void unlock();
  // Whether the calling thread holds it.
  bool IsMine();

 private:
  std::mutex m_mutex;  // over the next two; held for moments
  DWORD m_thread = 0;  // the holder, or 0
  int m_depth = 0;
  const KernelHandle m_free;  // auto-reset; null without memory
};

}  // namespace qx
