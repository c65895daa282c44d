// The windows of this process: classes, creation and destruction on the owner's
// thread, painting, and what happens to messages that nobody handles.
//
// Functions without a Lock run window procedures and are called without the lock.
#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/model/Desktop.h"
#include "platform/model/Scheduler.h"

namespace vwin::own_windows {

// 0 when the name is taken.
ATOM RegisterClass(Lock& lock, const WNDCLASSEXW& description);

struct Request {
  std::shared_ptr<const WindowClass> windowClass;
  std::wstring title;
  DWORD style = 0;
  DWORD exStyle = 0;
  RECT rect{};            // on the virtual screen
  HWND parent = nullptr;  // the owner of a window without WS_CHILD, or HWND_MESSAGE
  CREATESTRUCTW parameters{};
};
// Null when WM_NCCREATE or WM_CREATE refuses.
HWND Create(const Request& request);
// The window, its children and the windows that it owns. False, and noted as
// misuse, when the calling thread is not the owner.
bool Destroy(HWND window);

// Takes a window away without a word to its thread, which is another program's or has
// ended, with its children and the windows that it owns. Library windows among these
// are destroyed by their own threads, later. `gone` is to be freed after the lock is.
void Remove(Lock& lock, Window& window, std::vector<std::shared_ptr<Window>>& gone);

// Takes away what a thread that ends leaves: its windows and its message queue.
void EndThread(std::uint32_t threadId);

// Null for a stale window. Validates, erases and opens a DC clipped to what was
// invalid.
HDC BeginPaint(HWND window, PAINTSTRUCT& paint);
void EndPaint(const PAINTSTRUCT& paint);

LRESULT DefaultProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

}  // namespace vwin::own_windows
