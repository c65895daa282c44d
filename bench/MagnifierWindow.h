#pragma once

#include <windows.h>

#include <memory>
#include <vector>

// A magnifier window of the hand loop's, on a thread of its own. Its pictures are taken
// where it copies what it has drawn: in IDirect3DDevice9::StretchRect, whose place in the
// function table of all devices it takes. One at a time.
class MagnifierWindow {
 public:
  // Throws std::runtime_error when there can be none.
  MagnifierWindow(const RECT& source, SIZE picture);
  MagnifierWindow(const MagnifierWindow&) = delete;
  MagnifierWindow& operator=(const MagnifierWindow&) = delete;
  ~MagnifierWindow();

  HWND Handle() const;
  // One picture without these windows. False when none came.
  bool Draw(std::vector<HWND>& leftOut);

 private:
  class Thread;
  const std::unique_ptr<Thread> m_thread;
};
