#include "win/engine/mag/MagThreadLife.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

#include "common/Logging.h"
#include "win/engine/mag/Direct3D9Hook.h"
#include "win/engine/mag/MagnificationLibrary.h"
#include "win/util/ComScope.h"
#include "win/util/Enumerate.h"
#include "win/util/RunClosed.h"
#include "win/util/Utils.h"
#include "win/util/Wait.h"

namespace qx {
namespace {

constexpr wchar_t kMessageClass[] = L"MagMessageWindow";
constexpr wchar_t kMagnifierClass[] = L"Magnifier";
constexpr UINT WM_CREATE_MAG = WM_USER + 101;   // wParam: an entry's id
constexpr UINT WM_DESTROY_MAG = WM_USER + 102;  // wParam: a magnifier window
constexpr UINT kPatience = 1000;

}  // namespace

bool IsMagnifierWindow(HWND window) {
  wchar_t text[260];
  const int length = GetClassNameW(window, text, static_cast<int>(std::size(text)));
  return length > 0 && std::wstring_view(text, static_cast<std::size_t>(length)) == kMagnifierClass;
}

// ------------------------------------------------------------------- other threads

bool MagThread::Life::Prepare() {
  m_startedEvent = KernelHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  if (m_startedEvent) {
    m_overEvent = KernelHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  }
  if (!m_overEvent) {
    QX_LOG_ERROR("CreateEvent failed:{}", static_cast<std::uint32_t>(GetLastError()));
  }
  return static_cast<bool>(m_overEvent);
}

void MagThread::Life::WaitWhile(Phase phase) const {
  const KernelHandle& event = phase == Phase::Starting ? m_startedEvent : m_overEvent;
  while (m_phase == phase) {
    static_cast<void>(WaitAnswering(event.Get(), kPollMs));
  }
}

bool MagThread::Life::BeginEnd(Ending ending) {
  const std::lock_guard lock(m_mutex);
  if (m_phase != Phase::Up || (ending == Ending::IfUnused && countWanted() > 0)) {
    return false;
  }
  m_phase = Phase::Ending;
  return true;
}

void MagThread::Life::CloseMessageWindow() {
  DWORD_PTR result = 0;
  static_cast<void>(
      SendMessageTimeoutW(m_messageWindow, WM_CLOSE, 0, 0, SMTO_BLOCK, kPatience, &result));
  // The window may have been closed by somebody else, and any message can get lost.
  while (!IsOver()) {
    PostThreadMessageW(m_threadId, WM_QUIT, 0, 0);
    static_cast<void>(WaitAnswering(m_overEvent.Get(), kPollMs));
  }
}

HWND MagThread::Life::Create(const MagWindowParams& params) {
  WPARAM id = 0;
  {
    const std::lock_guard lock(m_mutex);
    if (m_phase != Phase::Up) {
      return nullptr;
    }
    id = ++m_lastId;
    m_windows.push_back({.id = id, .params = params});
  }
  DWORD_PTR result = 0;
  // The entry tells how it went, even at the last moment.
  static_cast<void>(SendMessageTimeoutW(m_messageWindow, WM_CREATE_MAG, id, 0,
                                        SMTO_BLOCK | SMTO_ABORTIFHUNG, kPatience, &result));
  const std::lock_guard lock(m_mutex);
  Entry* const entry = find(id);
  if (!entry) {
    return nullptr;  // the thread has ended
  }
  if (!entry->window) {
    // Given up: without its entry a window that comes late is destroyed.
    m_windows.erase(m_windows.begin() + (entry - m_windows.data()));
    return nullptr;
  }
  return entry->window;
}

bool MagThread::Life::Destroy(HWND window) {
  {
    const std::lock_guard lock(m_mutex);
    const auto entry = std::ranges::find(m_windows, window, &Entry::window);
    if (entry == m_windows.end()) {
      return true;  // it went with the thread that had it
    }
    entry->wanted = false;
    if (m_phase != Phase::Up) {
      return false;
    }
  }
  const auto named = reinterpret_cast<WPARAM>(window);
  DWORD_PTR result = 0;
  if (SendMessageTimeoutW(m_messageWindow, WM_DESTROY_MAG, named, 0, SMTO_BLOCK, kPatience,
                          &result)) {
    return true;
  }
  // What nobody waits for any more may not arrive. Without this message the window goes
  // with the thread.
  static_cast<void>(PostMessageW(m_messageWindow, WM_DESTROY_MAG, named, 0));
  return false;
}

bool MagThread::Life::HasWindows() const {
  std::size_t wanted = 0;
  {
    const std::lock_guard lock(m_mutex);
    if (m_phase != Phase::Up) {
      return false;
    }
    wanted = countWanted();
  }
  QX_LOG_INFO("m_windowCount = {}, mag window size is: {}", wanted, collectMagWindows().size());
  return wanted > 0;
}

std::shared_ptr<MagPicture> MagThread::Life::FindPicture(HWND window) const {
  if (GetWindowThreadProcessId(window, nullptr) != m_threadId || !IsMagnifierWindow(window)) {
    return nullptr;
  }
  const LONG_PTR named = GetWindowLongPtrW(window, GWLP_USERDATA);
  const std::lock_guard lock(m_mutex);
  const auto entry = std::ranges::find(m_windows, window, &Entry::window);
  if (entry == m_windows.end() || !entry->wanted ||
      reinterpret_cast<LONG_PTR>(entry->params.picture.get()) != named) {
    return nullptr;
  }
  return entry->params.picture;
}

// -------------------------------------------------------------------- SC-MagThread

void MagThread::Life::begin() {
  m_phase = Phase::Up;
  SetEvent(m_startedEvent.Get());
}

void MagThread::Life::end() {
  {
    const std::lock_guard lock(m_mutex);
    m_phase = m_phase == Phase::Starting ? Phase::Failed : Phase::Ended;
  }
  SetEvent(m_startedEvent.Get());
  SetEvent(m_overEvent.Get());
}

void MagThread::Life::Run() {
  // Whoever waits must hear of the end, whatever brings it.
  struct End {
    Life& life;
    ~End() { life.end(); }
  } const end{*this};
  const ComScope com;
  SetCurrentThreadName("SC-MagThread");
  serve();
}

void MagThread::Life::serve() {
  if (!createMessageWindow()) {
    QX_LOG_ERROR("CreateWindowEx MagMessageWindow failed: last error:{}",
                 static_cast<std::uint32_t>(GetLastError()));
    return;
  }
  m_threadId = GetCurrentThreadId();
  const bool initialized = Magnification::MagInitialize();
  if (initialized) {
    begin();
    QX_LOG_INFO("begin message loop");
    RunClosed("SC-MagThread met an exception", [] {
      MSG message = {};
      // An error would only come again.
      while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
      }
    });
    QX_LOG_INFO("MagThread recv WM_QUIT message");
    RunClosed("the end of the magnifier windows met an exception", [this] { destroyMagWindows(); });
    // What is not ended stays with the process.
    static_cast<void>(Magnification::MagUninitialize() || Magnification::MagUninitialize());
  } else {
    QX_LOG_ERROR("MagInitialize failed");
  }
  if (IsWindow(m_messageWindow)) {
    DestroyWindow(m_messageWindow);
  }
}

// A window that doesn't know its life could neither make others nor end the thread.
bool MagThread::Life::createMessageWindow() {
  WNDCLASSEXW windowClass = {};
  windowClass.cbSize = sizeof(windowClass);
  windowClass.lpfnWndProc = windowProcedure;
  windowClass.hInstance = GetCurrentModuleHandle();
  windowClass.lpszClassName = kMessageClass;
  // From the second start on the class is there, and this fails.
  static_cast<void>(RegisterClassExW(&windowClass));
  m_messageWindow = CreateWindowExW(0, kMessageClass, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                    windowClass.hInstance, this);
  if (!m_messageWindow) {
    return false;
  }
  if (GetWindowLongPtrW(m_messageWindow, GWLP_USERDATA) != reinterpret_cast<LONG_PTR>(this)) {
    DestroyWindow(m_messageWindow);
    return false;
  }
  return true;
}

LRESULT CALLBACK MagThread::Life::windowProcedure(HWND window, UINT message, WPARAM wParam,
                                                  LPARAM lParam) noexcept {
  if (message == WM_NCCREATE) {
    const auto* const create = reinterpret_cast<const CREATESTRUCTW*>(lParam);
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
  }
  auto* const life = reinterpret_cast<Life*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  LRESULT result = 0;
  bool handled = false;
  if (life) {
    RunClosed("MagMessageWindow met an exception",
              [&] { handled = life->HandleMessage(message, wParam, result); });
  }
  return handled ? result : DefWindowProcW(window, message, wParam, lParam);
}

bool MagThread::Life::HandleMessage(UINT message, WPARAM wParam, LRESULT& result) {
  switch (message) {
    case WM_CLOSE:
      QX_LOG_INFO("MagThread receive WM_CLOSE message");
      DestroyWindow(m_messageWindow);
      return true;
    case WM_NCDESTROY:
      QX_LOG_INFO("MagThread receive WM_NCDESTROY message");
      PostQuitMessage(0);
      return false;
    case WM_CREATE_MAG:
      QX_LOG_INFO("HandleMessage: WM_CREATE_MAG");
      result = reinterpret_cast<LRESULT>(createFor(wParam));
      return true;
    case WM_DESTROY_MAG:
      QX_LOG_INFO("HandleMessage: WM_DESTROY_MAG");
      destroyMagWindow(reinterpret_cast<HWND>(wParam));
      return true;
    default:
      return false;
  }
}

HWND MagThread::Life::createFor(WPARAM id) {
  MagWindowParams params;
  {
    const std::lock_guard lock(m_mutex);
    const Entry* const entry = find(id);
    if (!entry || m_phase != Phase::Up) {
      return nullptr;
    }
    params = entry->params;
  }
  const HWND window = createMagWindow(params);
  if (!window) {
    return nullptr;
  }
  {
    const std::lock_guard lock(m_mutex);
    if (Entry* const entry = find(id)) {
      entry->window = window;
      return window;
    }
  }
  DestroyWindow(window);
  return nullptr;
}

HWND MagThread::Life::createMagWindow(const MagWindowParams& params) {
  const RECT& rect = params.rect;
  HWND window = CreateWindowExW(WS_EX_LAYERED, kMagnifierClass, L"MagWindow",
                                WS_POPUP | WS_CLIPSIBLINGS | WS_CLIPCHILDREN, rect.left, rect.top,
                                rect.right - rect.left, rect.bottom - rect.top, nullptr, nullptr,
                                nullptr, nullptr);
  const auto error = static_cast<std::uint32_t>(GetLastError());
  if (window) {
    SetLayeredWindowAttributes(window, 0, 255, LWA_ALPHA);
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(params.picture.get()));
  }
  if (Direct3D9Hook::Instance().IsD3D9Exception()) {
    QX_LOG_ERROR("Exception occurred when create MagWindow");
    if (window) {
      DestroyWindow(window);
    }
    return nullptr;
  }
  if (!window) {
    QX_LOG_ERROR("CreateWindowEx MagWindow failed: last error:{}", error);
  }
  return window;
}

void MagThread::Life::destroyMagWindow(HWND window) {
  // Held beyond the window's end.
  const std::shared_ptr<MagPicture> picture = remove(window);
  if (picture && IsWindow(window)) {
    DestroyWindow(window);
  }
}

void MagThread::Life::destroyMagWindows() {
  std::vector<Entry> last;
  {
    const std::lock_guard lock(m_mutex);
    m_windows.swap(last);
  }
  for (const Entry& entry : last) {
    if (IsWindow(entry.window)) {
      DestroyWindow(entry.window);
    }
  }
  // Of others nobody knows.
  for (const HWND window : collectMagWindows()) {
    DestroyWindow(window);
  }
}

std::vector<HWND> MagThread::Life::collectMagWindows() const {
  std::vector<HWND> windows;
  ForEachThreadWindow(m_threadId, [&](HWND window) {
    if (IsMagnifierWindow(window)) {
      windows.push_back(window);
    }
    return true;
  });
  return windows;
}

std::size_t MagThread::Life::countWanted() const {
  return static_cast<std::size_t>(std::ranges::count(m_windows, true, &Entry::wanted));
}

MagThread::Life::Entry* MagThread::Life::find(WPARAM id) {
  const auto entry = std::ranges::find(m_windows, id, &Entry::id);
  return entry != m_windows.end() ? &*entry : nullptr;
}

std::shared_ptr<MagPicture> MagThread::Life::remove(HWND window) {
  const std::lock_guard lock(m_mutex);
  const auto entry = std::ranges::find(m_windows, window, &Entry::window);
  if (entry == m_windows.end()) {
    return nullptr;
  }
  std::shared_ptr<MagPicture> picture = std::move(entry->params.picture);
  m_windows.erase(entry);
  return picture;
}

}  // namespace qx
