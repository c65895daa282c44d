// What a thread can wait for by a handle, threads themselves, and the locks.
//
// All of them wait through the scheduler, so that a thread that is blocked on any of
// them counts as waiting.
#pragma once

#include <windows.h>

#include <memory>
#include <optional>
#include <thread>

#include "platform/model/HandleTable.h"

namespace vwin {

struct Waitable : Object {
  virtual bool Signalled() const = 0;
  // A wait for it has succeeded.
  virtual void Taken() {}
};

struct Event : Waitable {
  Event(bool manualReset_, bool set_) : manualReset(manualReset_), set(set_) {}
  bool Signalled() const override { return set; }
  void Taken() override { set = set && manualReset; }

  const bool manualReset;
  bool set;
};

struct ThreadObject : Waitable {
  explicit ThreadObject(std::uint32_t id_) : id(id_) {}
  ~ThreadObject() override;
  bool Signalled() const override { return ended; }

  const std::uint32_t id;
  bool ended = false;
  std::thread thread;  // joined by the first who waits for the end
};

namespace threads {

// Deadline of a Windows time-out in milliseconds; none for INFINITE.
std::optional<Micros> Deadline(Lock& lock, DWORD milliseconds);

// Starts a thread of the machine. Null when the system has no more.
void* Start(Lock& lock, unsigned (*body)(void*), void* argument, std::uint32_t& id,
            const char* call);

// Null for what can't be waited for.
std::shared_ptr<Waitable> FindWaitable(Lock& lock, const void* handle);
// After a wait for a thread has succeeded; without the lock.
void Join(Waitable& object);

// Waits without the lock held by the caller. False after the time-out, nothing when
// `handle` is not one that can be waited for.
std::optional<bool> Wait(const void* handle, DWORD milliseconds);

// Ends the calling thread, one that Start started, by an exception that its own code
// must let through.
[[noreturn]] void Exit();

// An SRWLOCK holds its owner's thread id, a CONDITION_VARIABLE how often it was
// woken; both in place of the pointer.
void Acquire(Lock& lock, SRWLOCK& srw);
void Release(Lock& lock, SRWLOCK& srw);
bool SleepOn(Lock& lock, CONDITION_VARIABLE& condition, SRWLOCK& srw, DWORD milliseconds);
void WakeAll(Lock& lock, CONDITION_VARIABLE& condition);

}  // namespace threads
}  // namespace vwin
