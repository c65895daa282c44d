// What is inside of a message queue: for MessageQueue.cpp and SentMessages.cpp only.
#pragma once

#include <windows.h>

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/model/Scheduler.h"

namespace vwin::messages {

struct Timer {
  HWND window;
  UINT_PTR id;
  Micros due;
  Micros period;
  TIMERPROC callback;
};

struct SentMessage {
  HWND window;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  std::function<void()> work = {};  // instead of a message
  LRESULT result = 0;
  enum class State { kOpen, kAnswered, kLost } state = State::kOpen;

  bool isOpen() const { return state == State::kOpen; }
};

struct Queue {
  std::deque<MSG> posted;
  std::deque<std::shared_ptr<SentMessage>> sent;
  std::vector<Timer> timers;
  UINT_PTR lastThreadTimer = 0;
  std::optional<WPARAM> quit;  // exit code of PostQuitMessage

  UINT unseen = 0;                        // QS_ bits of what came since the thread last looked
  std::optional<Micros> waitsSince = {};  // for the thread to look at what there is

  void Arrived(Lock& lock, UINT kind);
  void LookedAt(Lock& lock, UINT kinds);
};

// Made when the thread has none.
Queue& QueueOf(Lock& lock, std::uint32_t threadId);

// Answers one sent message of the calling thread; the lock is open meanwhile.
void AnswerOne(Lock& lock, Queue& queue);

}  // namespace vwin::messages
