#pragma once

#include <windows.h>

#include <memory>
#include <span>
#include <vector>

#include "win/util/Errand.h"

namespace qx {

// Which windows are on the virtual desktop that the user sees. The shell knows, and COM
// waits for it without an end, also for one that hangs: so an errand asks it, and only about
// cloaked windows, since those of other virtual desktops are.
//
// One thread at a time.
class VirtualDesktops {
 public:
  VirtualDesktops();

  // Unknown, as on systems without virtual desktops, on threads without COM and while the
  // shell hangs: true.
  bool IsWindowOnCurrentVirtualDesktop(HWND window);

  // Takes out what is on another virtual desktop, and the host windows of thumbnails. Where
  // nobody can tell, all stay. The order is kept.
  void FilterWindowsByVirtualDesktop(std::vector<HWND>& windows);

 private:
  struct Question;

  std::span<const HWND> findElsewhere(std::span<const HWND> cloaked);

  // The errand's as well; it alone touches it under way.
  const std::shared_ptr<Question> m_question;
  Errand m_errand;
};

}  // namespace qx
