#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "win/engine/mag/MagThread.h"
#include "win/util/Handles.h"

namespace qx {

// One life of SC-MagThread, from its start to its end. The thread itself holds it, too.
class MagThread::Life {
 public:
  // Failed: it never came up.
  enum class Phase { Starting, Up, Ending, Ended, Failed };

  // For those who are not the thread. False without memory of the system (logged).
  bool Prepare();
  Phase GetPhase() const { return m_phase; }
  bool IsOver() const { return m_phase == Phase::Ended || m_phase == Phase::Failed; }
  // Waits until the phase is another one.
  void WaitWhile(Phase phase) const;
  // From here on no window is made. False when the thread is not up, or must not end.
  bool BeginEnd(Ending ending);
  // Makes the thread end, after BeginEnd, and waits for its last words.
  void CloseMessageWindow();
  // The thread could not be started.
  void Fail() { end(); }

  HWND Create(const MagWindowParams& params);
  bool Destroy(HWND window);
  bool HasWindows() const;
  std::shared_ptr<MagPicture> FindPicture(HWND window) const;

  // The thread's body.
  void Run();

 private:
  // A window, from the moment that somebody asks for it on.
  struct Entry {
    WPARAM id;
    MagWindowParams params;
    HWND window = nullptr;
    bool wanted = true;
  };

  static LRESULT CALLBACK windowProcedure(HWND window, UINT message, WPARAM wParam,
                                          LPARAM lParam) noexcept;

  void begin();
  void end();
  void serve();
  bool createMessageWindow();
  bool HandleMessage(UINT message, WPARAM wParam, LRESULT& result);
  HWND createFor(WPARAM id);
  static HWND createMagWindow(const MagWindowParams& params);
  void destroyMagWindow(HWND window);
  void destroyMagWindows();
  std::vector<HWND> collectMagWindows() const;
  std::size_t countWanted() const;
  Entry* find(WPARAM id);
  // Takes the entry out; what it holds goes with the answer.
  std::shared_ptr<MagPicture> remove(HWND window);

  std::atomic<Phase> m_phase = Phase::Starting;
  KernelHandle m_startedEvent;  // both manual-reset
  KernelHandle m_overEvent;
  std::atomic<HWND> m_messageWindow = nullptr;
  std::atomic<DWORD> m_threadId = 0;

  mutable std::mutex m_mutex;  // held for moments only
  std::vector<Entry> m_windows;
  WPARAM m_lastId = 0;
};

// Whether it is of the class that Magnification.dll has.
bool IsMagnifierWindow(HWND window);

}  // namespace qx
