#include "win/util/Thread.h"

#include <process.h>

#include <cerrno>
#include <exception>
#include <memory>
#include <utility>

#include "common/Logging.h"

namespace qx {

namespace {

// What a new thread takes over from its creator.
struct Launch {
  std::function<void()> body;
  std::atomic<DWORD>* id;  // null for a detached thread
  Module library;          // of a detached thread: keeps the code that it runs loaded
};

unsigned __stdcall Enter(void* argument) {
  std::unique_ptr<Launch> launch(static_cast<Launch*>(argument));
  if (launch->id) {
    *launch->id = GetCurrentThreadId();
  }
  try {
    launch->body();
  } catch (const std::exception& error) {
    QX_LOG_ERROR("a thread ended by an exception:{}", error.what());
  } catch (...) {
    QX_LOG_ERROR("a thread ended by an exception");
  }
  // Ids are used again for other threads.
  if (launch->id) {
    *launch->id = 0;
  }
  const HMODULE library = launch->library.Release();
  launch.reset();
  if (library) {
    FreeLibraryAndExitThread(library, 0);
  }
  return 0;
}

KernelHandle Begin(std::unique_ptr<Launch> launch) {
  const std::uintptr_t handle = _beginthreadex(nullptr, 0, Enter, launch.get(), 0, nullptr);
  if (handle == 0) {
    QX_LOG_ERROR("can't start a thread,errno:{}", errno);
    return {};
  }
  static_cast<void>(launch.release());  // the thread owns it
  return KernelHandle(reinterpret_cast<HANDLE>(handle));
}

}  // namespace

bool Thread::Start(std::function<void()> body) {
  m_handle = Begin(std::make_unique<Launch>(Launch{std::move(body), &m_id, {}}));
  return IsStarted();
}

void Thread::Join() {
  if (m_handle) {
    // A wait that the system refuses must not pass for the end of a thread that
    // still uses what its owner is about to free.
    while (WaitForSingleObject(m_handle.Get(), INFINITE) != WAIT_OBJECT_0) {
      Sleep(1);
    }
    m_handle.Reset();
  }
}

bool Thread::IsCurrent() const { return m_id == GetCurrentThreadId(); }

bool Thread::RunDetached(std::function<void()> body) {
  Module library;
  if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCWSTR>(&Enter),
                          library.Put())) {
    QX_LOG_ERROR("can't start a thread,error:{}", static_cast<std::uint32_t>(GetLastError()));
    return false;
  }
  return static_cast<bool>(
      Begin(std::make_unique<Launch>(Launch{std::move(body), nullptr, std::move(library)})));
}

}  // namespace qx
