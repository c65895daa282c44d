#include <dirent.h>
#include <execinfo.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <thread>

#include "tests/support/Environment.h"

namespace qx::test {
namespace {

constexpr int kMaxCalls = 40;

std::atomic<int> g_printed{0};

// Runs on the thread that is asked. The process ends right after, so it may call
// what a signal handler otherwise should not.
void printOwnStack(int) {
  void* calls[kMaxCalls];
  const int count = backtrace(calls, kMaxCalls);
  backtrace_symbols_fd(calls, count, STDERR_FILENO);
  ++g_printed;
}

}  // namespace

void PrintThreads() {
  signal(SIGUSR2, printOwnStack);
  const std::unique_ptr<DIR, int (*)(DIR*)> tasks(opendir("/proc/self/task"), &closedir);
  if (tasks == nullptr) {
    return;
  }
  const long self = syscall(SYS_gettid);
  while (const dirent* entry = readdir(tasks.get())) {
    const long thread = std::atol(entry->d_name);
    if (thread == 0 || thread == self) {
      continue;
    }
    std::fprintf(stderr, "watchdog: thread %ld stands at\n", thread);
    const int before = g_printed;
    if (syscall(SYS_tgkill, getpid(), thread, SIGUSR2) != 0) {
      continue;
    }
    // One after the other; a thread that does not answer is left out.
    for (int wait = 0; wait < 100 && g_printed == before; ++wait) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }
}

}  // namespace qx::test
