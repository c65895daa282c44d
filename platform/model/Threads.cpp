#include "platform/model/Threads.h"

#include <system_error>

#include "platform/model/Ledger.h"
#include "platform/model/OwnWindows.h"

namespace vwin {

ThreadObject::~ThreadObject() {
  if (thread.joinable()) thread.detach();
}

namespace threads {
namespace {

struct ThreadExit {};

void* OwnId() { return reinterpret_cast<void*>(std::uintptr_t{scheduler::CurrentThreadId()}); }

void Run(const std::shared_ptr<ThreadObject>& object, unsigned (*body)(void*), void* argument) {
  scheduler::EnterThread(object->id);
  try {
    body(argument);
  } catch (const ThreadExit&) {
  }
  own_windows::EndThread(object->id);
  Lock lock;
  object->ended = true;
  ledger::Return(lock, "thread", object->id);
  scheduler::Changed();
  scheduler::WithdrawThread(lock, object->id);
}

}  // namespace

std::optional<Micros> Deadline(Lock& lock, DWORD milliseconds) {
  if (milliseconds == INFINITE) return std::nullopt;
  return scheduler::Now(lock) + Micros{milliseconds} * 1000;
}

void* Start(Lock& lock, unsigned (*body)(void*), void* argument, std::uint32_t& id,
            const char* call) {
  id = scheduler::NewThreadId(lock);
  const auto object = std::make_shared<ThreadObject>(id);
  scheduler::AnnounceThread(lock, id);
  ledger::Take(lock, "thread", id, call);
  try {
    object->thread = std::thread([=] { Run(object, body, argument); });
  } catch (const std::system_error&) {
    ledger::Return(lock, "thread", id);
    scheduler::WithdrawThread(lock, id);
    return nullptr;
  }
  return handles::Add(lock, HandleKind::kThread, object, call);
}

std::shared_ptr<Waitable> FindWaitable(Lock& lock, const void* handle) {
  const HandleKind kind = handles::KindOf(lock, handle);
  if (kind != HandleKind::kEvent && kind != HandleKind::kThread) return nullptr;
  return handles::Get<Waitable>(lock, kind, handle);
}

void Join(Waitable& object) {
  std::thread ended;
  {
    Lock lock;
    if (auto* const thread = dynamic_cast<ThreadObject*>(&object))
      ended = std::move(thread->thread);
  }
  if (ended.joinable()) ended.join();
}

std::optional<bool> Wait(const void* handle, DWORD milliseconds) {
  std::shared_ptr<Waitable> object;
  {
    Lock lock;
    object = FindWaitable(lock, handle);
    if (!object) return std::nullopt;
    const bool signalled = scheduler::WaitUntil(
        lock, "WaitForSingleObject", [&] { return object->Signalled(); },
        Deadline(lock, milliseconds));
    if (!signalled) return false;
    object->Taken();
  }
  Join(*object);
  return true;
}

void Exit() { throw ThreadExit{}; }

void Acquire(Lock& lock, SRWLOCK& srw) {
  if (srw.Ptr == OwnId()) {
    ledger::Misuse(lock, "AcquireSRWLockExclusive: the thread holds the lock, and waits for ever");
  }
  scheduler::WaitUntil(lock, "AcquireSRWLockExclusive", [&] { return srw.Ptr == nullptr; });
  srw.Ptr = OwnId();
}

void Release(Lock& lock, SRWLOCK& srw) {
  if (srw.Ptr != OwnId()) {
    ledger::Misuse(lock, "ReleaseSRWLockExclusive: the thread does not hold the lock");
    return;
  }
  srw.Ptr = nullptr;
  scheduler::Changed();
}

bool SleepOn(Lock& lock, CONDITION_VARIABLE& condition, SRWLOCK& srw, DWORD milliseconds) {
  const void* const before = condition.Ptr;
  const std::optional<Micros> deadline = Deadline(lock, milliseconds);
  Release(lock, srw);
  const bool woken = scheduler::WaitUntil(
      lock, "SleepConditionVariableSRW", [&] { return condition.Ptr != before; }, deadline);
  Acquire(lock, srw);
  return woken;
}

void WakeAll(Lock&, CONDITION_VARIABLE& condition) {
  condition.Ptr = reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(condition.Ptr) + 1);
  scheduler::Changed();
}

}  // namespace threads
}  // namespace vwin
