#include "PacedLoop.h"

#include <objbase.h>
#include <process.h>

#include <cstdio>
#include <exception>

namespace {

unsigned WakeUpOften(void* stop) {
  constexpr DWORD kMillis = 10;
  while (WaitForSingleObject(stop, kMillis) == WAIT_TIMEOUT) {
  }
  return 0;
}

}  // namespace

void RunOnThread(std::function<void()> body) {
  const auto start = [](void* run) -> unsigned {
    const HRESULT com = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    try {
      (*static_cast<std::function<void()>*>(run))();
    } catch (const std::exception& failure) {
      std::fprintf(stderr, "  hand loop: %s\n", failure.what());
    }
    if (SUCCEEDED(com)) {
      CoUninitialize();
    }
    return 0;
  };
  const auto thread =
      reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, start, &body, 0, nullptr));
  WaitForSingleObject(thread, INFINITE);
  CloseHandle(thread);
}

Neighbour::Neighbour()
    : m_stop(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      m_thread(
          reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, WakeUpOften, m_stop, 0, nullptr))) {}

Neighbour::~Neighbour() {
  SetEvent(m_stop);
  WaitForSingleObject(m_thread, INFINITE);
  CloseHandle(m_thread);
  CloseHandle(m_stop);
}

double ClockMicros() {
  LARGE_INTEGER now = {};
  LARGE_INTEGER frequency = {};
  QueryPerformanceCounter(&now);
  QueryPerformanceFrequency(&frequency);
  return static_cast<double>(now.QuadPart) * 1e6 / static_cast<double>(frequency.QuadPart);
}
