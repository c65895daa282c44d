#include "PacedLoop.h"

#include <objbase.h>

#include <cstdio>
#include <exception>

void RunOnThread(std::function<void()> body) {
  const auto start = [](void* run) -> DWORD {
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
  const HANDLE thread = CreateThread(nullptr, 0, start, &body, 0, nullptr);
  WaitForSingleObject(thread, INFINITE);
  CloseHandle(thread);
}

Neighbour::Neighbour(DWORD millis)
    : m_millis(millis),
      m_stop(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      m_thread(CreateThread(nullptr, 0, wakeUpOften, this, 0, nullptr)) {}

Neighbour::~Neighbour() {
  SetEvent(m_stop);
  WaitForSingleObject(m_thread, INFINITE);
  CloseHandle(m_thread);
  CloseHandle(m_stop);
}

DWORD WINAPI Neighbour::wakeUpOften(void* self) {
  const auto& neighbour = *static_cast<Neighbour*>(self);
  while (WaitForSingleObject(neighbour.m_stop, neighbour.m_millis) == WAIT_TIMEOUT) {
  }
  return 0;
}

double ClockMicros() {
  LARGE_INTEGER now = {};
  LARGE_INTEGER frequency = {};
  QueryPerformanceCounter(&now);
  QueryPerformanceFrequency(&frequency);
  return static_cast<double>(now.QuadPart) * 1e6 / static_cast<double>(frequency.QuadPart);
}
