#include "win/util/Thread.h"

#include <utility>

#include "common/Logging.h"
#include "win/util/RunClosed.h"
#include "win/util/Wait.h"

namespace qx {

namespace {

// What a new thread takes over from its creator.
struct Launch {
  std::function<void()> body;
  std::shared_ptr<std::atomic<DWORD>> id;
  Module library;  // keeps the code that the thread runs loaded
};

DWORD WINAPI Enter(void* argument) {
  std::unique_ptr<Launch> launch(static_cast<Launch*>(argument));
  *launch->id = GetCurrentThreadId();
  RunClosed("a thread ended by an exception", launch->body);
  // Ids are used again for other threads.
  *launch->id = 0;
  const HMODULE library = launch->library.Release();
  launch.reset();
  FreeLibraryAndExitThread(library, 0);
}

KernelHandle Begin(std::function<void()> body, std::shared_ptr<std::atomic<DWORD>> id) {
  auto launch = std::make_unique<Launch>(Launch{std::move(body), std::move(id), {}});
  if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCWSTR>(&Enter),
                          launch->library.Put())) {
    QX_LOG_ERROR("can't start a thread,error:{}", static_cast<std::uint32_t>(GetLastError()));
    return {};
  }
  // With _beginthreadex some C runtimes would keep the library loaded as well, and for good:
  // they let go of it only where a thread ends in their own way.
  KernelHandle handle(CreateThread(nullptr, 0, Enter, launch.get(), 0, nullptr));
  if (!handle) {
    QX_LOG_ERROR("can't start a thread,error:{}", static_cast<std::uint32_t>(GetLastError()));
    return {};
  }
  static_cast<void>(launch.release());  // the thread owns it
  return handle;
}

}  // namespace

bool Thread::Start(std::function<void()> body) {
  m_id = std::make_shared<std::atomic<DWORD>>(0);
  m_handle = Begin(std::move(body), m_id);
  return IsStarted();
}

void Thread::Join() { static_cast<void>(JoinWithin(INFINITE)); }

bool Thread::JoinWithin(DWORD milliseconds) {
  const bool ended = !m_handle || WaitAnswering(m_handle.Get(), milliseconds);
  m_handle.Reset();
  return ended;
}

bool Thread::RunDetached(std::function<void()> body) {
  return static_cast<bool>(Begin(std::move(body), std::make_shared<std::atomic<DWORD>>(0)));
}

}  // namespace qx
