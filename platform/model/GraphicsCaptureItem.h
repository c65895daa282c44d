// What Windows.Graphics.Capture captures: items, each a window or a monitor, and how they
// tell that it is gone.
#pragma once

#include <windows_graphics_capture.h>

#include <memory>

#include "platform/model/Scheduler.h"

namespace vwin::capture {

// What an item stands for, one of the two. Closed for good: it gives no picture any more.
struct Source {
  HWND window = nullptr;
  HMONITOR monitor = nullptr;
  bool closed = false;
};

HRESULT MakeItemFactory(REFIID iid, void** factory);

// Null for what is no item. `call` gets it, for the ledger.
std::shared_ptr<const Source> SourceOf(wgc::IGraphicsCaptureItem* item, const char* call);

// Closes the items of windows and monitors that are no more.
void CloseItemsOfNothing(Lock& lock);

// ------------------------------------------------------------------- the test side

void CloseItems(Lock& lock, HWND window, HMONITOR monitor);
void HoldClosed(Lock& lock);
void DeliverClosed(Lock& lock);

}  // namespace vwin::capture
