#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>

#include "win/engine/gdi/MemoryPicture.h"
#include "win/util/Errand.h"

namespace qx {

// Has a window print itself. That waits for the window's thread, so it is an errand that
// nobody waits for longer than kPatienceMs, and its picture is one that nobody sees yet:
// two take turns.
//
// One thread at a time.
class WindowPrinter {
 public:
  // `like` is a DC of the window.
  WindowPrinter(HWND window, HDC like);

  // The DC of the picture that is drawn, for what is to be added to it.
  HDC Dc() const;

  // Whether the window has yet to answer. Call nothing else meanwhile.
  bool IsWaiting() const { return m_errand.IsUnderWay(); }

  // Makes room for a picture of this size. False: there is none (logged).
  bool Prepare(HDC like, std::int32_t width, std::int32_t height);

  // Draws the picture. False: that failed (logged), or the window has yet to answer.
  bool Print();

  // The picture that was printed. It stays as it is until the second next one is begun,
  // and as long as somebody else holds it.
  const MemoryPicture& Take();

 private:
  struct Job;

  const std::shared_ptr<Job> m_job;  // the errand's as well; it alone touches it under way
  MemoryCanvas m_shown;
  bool m_late = false;  // nobody waited for the end of the last run
  Errand m_errand;
};

}  // namespace qx
