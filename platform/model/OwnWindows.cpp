#include "platform/model/OwnWindows.h"

#include <memory>
#include <optional>

#include "platform/model/Gdi.h"
#include "platform/model/HandleTable.h"
#include "platform/model/Ledger.h"
#include "platform/model/Machine.h"
#include "platform/model/MessageQueue.h"
#include "platform/model/Rects.h"
#include "platform/model/SentMessages.h"

namespace vwin::own_windows {
namespace {

constexpr ATOM kFirstAtom = 0xC000;

// The system adds these to what the creator asks for.
DWORD completedStyle(DWORD style) {
  if (!(style & (WS_CHILD | WS_POPUP))) style |= WS_CAPTION;
  if (!(style & WS_CHILD)) style |= WS_CLIPSIBLINGS;
  return style;
}

DWORD completedExStyle(DWORD style, DWORD exStyle) {
  if (style & (WS_DLGFRAME | WS_THICKFRAME)) exStyle |= WS_EX_WINDOWEDGE;
  return exStyle;
}

Window* firstOfThread(const Window& parent, std::uint32_t threadId) {
  for (const auto& window : parent.children) {
    if (window->windowClass && window->threadId == threadId) return window.get();
    if (Window* const below = firstOfThread(*window, threadId)) return below;
  }
  return nullptr;
}

void destroyTree(HWND handle) {
  std::vector<HWND> dependents;
  {
    Lock lock;
    const auto window = desktop::FindWindow(lock, handle);
    if (!window || window->beingDestroyed) return;
    window->beingDestroyed = true;
    desktop::SetVisible(lock, *window, false);
    dependents = desktop::DependentsOf(lock, *window);
  }
  messages::Send(handle, WM_DESTROY, 0, 0);
  for (const HWND dependent : dependents) destroyTree(dependent);
  messages::Send(handle, WM_NCDESTROY, 0, 0);

  std::shared_ptr<Window> last;  // freed after the lock is
  Lock lock;
  const auto window = desktop::FindWindow(lock, handle);
  if (!window) return;
  messages::Forget(lock, handle, window->threadId);
  last = desktop::Leave(lock, *window);
}

}  // namespace

ATOM RegisterClass(Lock& lock, const WNDCLASSEXW& description) {
  if (desktop::FindClass(lock, description.lpszClassName)) return 0;
  Desktop& desktop = desktop::Get(lock);
  auto made = std::make_shared<WindowClass>();
  made->atom = static_cast<ATOM>(kFirstAtom + desktop.classes.size());
  made->name = description.lpszClassName;
  made->style = description.style;
  made->procedure = description.lpfnWndProc;
  made->background = description.hbrBackground;
  // The class has the brush from now on, and goes with the process.
  if (handles::KindOf(lock, made->background) == HandleKind::kBrush)
    ledger::Return(lock, "brush", reinterpret_cast<std::uintptr_t>(made->background));
  made->icon = description.hIcon;
  desktop.classes.push_back(made);
  ledger::Take(lock, "window class", made->atom, "RegisterClassExW");
  return made->atom;
}

HWND Create(const Request& request) {
  HWND handle = nullptr;
  {
    Lock lock;
    Desktop& desktop = desktop::Get(lock);
    auto window = std::make_shared<Window>();
    window->windowClass = request.windowClass;
    window->className = request.windowClass->name;
    window->title = request.title;
    window->style = completedStyle(request.style) & ~DWORD{WS_VISIBLE};
    window->exStyle = completedExStyle(window->style, request.exStyle);
    window->processId = TheMachine(lock).ownProcessId;
    window->threadId = scheduler::CurrentThreadId();
    window->rect = request.rect;
    const auto parent = desktop::FindWindow(lock, request.parent);
    const bool child = window->isChild() && parent;
    Window* const top =
        request.parent == HWND_MESSAGE ? desktop.messageRoot.get() : desktop.root.get();
    window->parent = child ? parent.get() : top;
    if (!child) window->owner = desktop::TopLevelOf(parent.get());
    messages::OpenQueue(lock);
    window->surface = Surface(WidthOf(request.rect), HeightOf(request.rect),
                              desktop::BackgroundOf(lock, *window));
    desktop::Enter(lock, window, "CreateWindowExW");
    handle = window->handle;
  }
  const auto parameters = reinterpret_cast<LPARAM>(&request.parameters);
  if (!messages::Send(handle, WM_NCCREATE, 0, parameters) ||
      messages::Send(handle, WM_CREATE, 0, parameters) == -1) {
    destroyTree(handle);
    return nullptr;
  }
  Lock lock;
  const auto window = desktop::FindWindow(lock, handle);
  if (!window) return nullptr;
  if (request.style & WS_VISIBLE) desktop::SetVisible(lock, *window, true);
  return handle;
}

bool Destroy(HWND handle) {
  {
    Lock lock;
    const auto window = desktop::FindWindow(lock, handle);
    if (!window || !window->windowClass || window->threadId != scheduler::CurrentThreadId()) {
      ledger::Misuse(lock, "DestroyWindow: the window is not the calling thread's");
      return false;
    }
  }
  destroyTree(handle);
  return true;
}

void Remove(Lock& lock, Window& window, std::vector<std::shared_ptr<Window>>& gone) {
  for (const HWND handle : desktop::DependentsOf(lock, window)) {
    const auto dependent = desktop::FindWindow(lock, handle);
    if (!dependent) continue;
    const bool lives = dependent->windowClass && dependent->threadId != window.threadId;
    if (lives && !dependent->isChild())
      messages::RunLater(lock, *dependent, [handle] { destroyTree(handle); });
    else
      Remove(lock, *dependent, gone);
  }
  if (window.windowClass) messages::Forget(lock, window.handle, window.threadId);
  gone.push_back(desktop::Leave(lock, window));
}

void EndThread(std::uint32_t threadId) {
  std::vector<std::shared_ptr<Window>> gone;
  Lock lock;
  for (const auto& root : {desktop::Get(lock).root, desktop::Get(lock).messageRoot}) {
    while (Window* const window = firstOfThread(*root, threadId)) Remove(lock, *window, gone);
  }
  messages::ForgetThread(lock, threadId);
}

HDC BeginPaint(HWND handle, PAINTSTRUCT& paint) {
  paint = {};
  bool erase = false;
  {
    Lock lock;
    const auto window = desktop::FindWindow(lock, handle);
    if (!window) return nullptr;
    if (window->threadId != scheduler::CurrentThreadId())
      ledger::Misuse(lock, "BeginPaint: the window is not the calling thread's");
    ++window->paintCount;
    paint.rcPaint = window->invalid;
    erase = window->eraseInvalid && !IsEmpty(window->invalid);
    window->invalid = {};
    window->eraseInvalid = false;
    paint.hdc = gdi::OpenDC(lock, window.get(), handle, "BeginPaint", paint.rcPaint);
  }
  if (erase) {
    const auto dc = reinterpret_cast<WPARAM>(paint.hdc);
    paint.fErase = messages::Send(handle, WM_ERASEBKGND, dc, 0) == 0;
  }
  return paint.hdc;
}

void EndPaint(const PAINTSTRUCT& paint) {
  if (!paint.hdc) return;  // BeginPaint failed
  Lock lock;
  const auto dc = gdi::FindDC(lock, paint.hdc);
  if (!dc || !dc->painting) {
    ledger::Misuse(lock, "EndPaint: not a DC of BeginPaint");
    return;
  }
  gdi::CloseDC(lock, *dc);
  scheduler::Changed();
}

LRESULT DefaultProcedure(HWND handle, UINT message, WPARAM wParam, LPARAM) {
  switch (message) {
    case WM_NCCREATE:
      return TRUE;
    case WM_CLOSE:
      Destroy(handle);
      return 0;
    case WM_PAINT: {
      PAINTSTRUCT paint;
      if (BeginPaint(handle, paint)) EndPaint(paint);
      return 0;
    }
    case WM_ERASEBKGND: {
      Lock lock;
      const auto window = desktop::FindWindow(lock, handle);
      const auto dc = gdi::FindDC(lock, reinterpret_cast<HDC>(wParam));
      if (!window || !dc || !window->windowClass || !window->windowClass->background) return 0;
      return gdi::Fill(lock, *dc, window->wholeClient(), desktop::BackgroundOf(lock, *window)) ? 1
                                                                                               : 0;
    }
    default:
      return 0;
  }
}

}  // namespace vwin::own_windows
