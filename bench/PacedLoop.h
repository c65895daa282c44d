#pragma once

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <stdexcept>
#include <thread>

#include "Rivals.h"
#include "Round.h"
#include "WatchWindow.h"

// Runs `body` on a thread of the system's, and waits for it as the system waits: where
// the clock is owned that lets time pass. COM is there, as on a share's thread. An
// exception ends the body and is told.
void RunOnThread(std::function<void()> body);

// A thread that often wakes up, as others of the library do beside a share: the prompt
// frame's of a monitor every 10 ms, the helper of a window's session every 50. With nobody
// else to wait for, a wait would cost next to nothing where the clock is owned.
class Neighbour {
 public:
  explicit Neighbour(DWORD millis = 10);
  Neighbour(const Neighbour&) = delete;
  Neighbour& operator=(const Neighbour&) = delete;
  ~Neighbour();

 private:
  static DWORD WINAPI wakeUpOften(void* self);

  const DWORD m_millis;
  const HANDLE m_stop;
  const HANDLE m_thread;
};

// By the system's clock, which may be owned.
double ClockMicros();

// Runs a rival of the library: a loop that a host would write itself with the same
// system calls. `Loop` is made of the round and captures one picture with each call of
// Capture, which is false when that fails.
//
// Everything happens on a thread of its own. Returns the processor time by the round's
// clock a frame, in microseconds. Throws std::runtime_error when a capture fails.
template <typename Loop>
double PacedMicrosPerFrame(const Round& round) {
  constexpr int kWarmUp = 5;
  double micros = -1;
  // Paced as the library is: a loop that never rests finds its memory in the cache.
  const auto run = [&] {
    Loop loop(round);
    double next = ClockMicros();
    double start = 0;
    for (int frame = 0; frame < kWarmUp + round.frames; ++frame) {
      if (frame == kWarmUp) {
        start = round.micros();
      }
      if (round.watchWindow) {
        WatchWindow(round.window);
      }
      if (!loop.Capture()) {
        return;
      }
      round.afterPicture();
      next += 1e6 / round.fps;
      const double left = std::max(next - ClockMicros(), 0.0);
      if (round.waitAsShare) {
        WaitByHand(static_cast<DWORD>(left / 1000));
      } else {
        std::this_thread::sleep_for(std::chrono::duration<double, std::micro>(left));
      }
    }
    micros = (round.micros() - start) / round.frames;
    if constexpr (requires { loop.Picture(); }) {
      KeepLast(round, loop.Picture());
    }
  };
  round.onStart();
  RunOnThread(run);
  if (micros < 0) {
    throw std::runtime_error("the hand loop can't capture");
  }
  return micros;
}
