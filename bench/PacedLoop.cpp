#include "PacedLoop.h"

#include <process.h>

#include <cstdio>
#include <exception>

void RunOnThread(std::function<void()> body) {
  const auto start = [](void* run) -> unsigned {
    try {
      (*static_cast<std::function<void()>*>(run))();
    } catch (const std::exception& failure) {
      std::fprintf(stderr, "  hand loop: %s\n", failure.what());
    }
    return 0;
  };
  const auto thread =
      reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, start, &body, 0, nullptr));
  WaitForSingleObject(thread, INFINITE);
  CloseHandle(thread);
}

double ClockMicros() {
  LARGE_INTEGER now = {};
  LARGE_INTEGER frequency = {};
  QueryPerformanceCounter(&now);
  QueryPerformanceFrequency(&frequency);
  return static_cast<double>(now.QuadPart) * 1e6 / static_cast<double>(frequency.QuadPart);
}
