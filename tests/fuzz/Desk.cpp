#include "tests/fuzz/Desk.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/control/Clock.h"
#include "platform/control/Desktop.h"
#include "platform/control/Faults.h"
#include "platform/control/Graphics.h"
#include "platform/control/GraphicsCapture.h"
#include "platform/control/Icons.h"
#include "platform/control/Machine.h"
#include "platform/control/Magnification.h"
#include "platform/control/Thumbnails.h"

namespace qx::fuzz {

namespace {

using namespace vwin::control;
using namespace std::chrono_literals;

constexpr std::size_t kMostWindows = 10;
constexpr std::size_t kMostMonitors = 4;

// The library learns the version of Windows once.
vwin::Version g_version = kWindows10;

const std::wstring kTitles[] = {L"",
                                L"Report - Slides",
                                L"Slide Show - [Report]",
                                L"Show - Report",
                                L"Secret",
                                L"\U0001F600 \u00e9",
                                {L'a', static_cast<wchar_t>(0xD83D), L'b'},
                                std::wstring(3000, L'x')};
const std::wstring kClasses[] = {L"OtherWindow", L"PPTFrameClass", L"screenClass", L"Progman"};
constexpr DWORD kProcesses[] = {7000, 7100, 7200};
constexpr DWORD kStyles[] = {WS_POPUP, WS_CAPTION | WS_MAXIMIZEBOX, WS_CAPTION | WS_THICKFRAME, 0};
constexpr DWORD kExStyles[] = {0, WS_EX_TOPMOST, WS_EX_TOOLWINDOW, WS_EX_LAYERED, WS_EX_NOACTIVATE};
constexpr HRESULT kResults[] = {S_OK,
                                E_FAIL,
                                E_ACCESSDENIED,
                                DXGI_ERROR_UNSUPPORTED,
                                DXGI_ERROR_ACCESS_LOST,
                                REGDB_E_CLASSNOTREG};

// Calls that may fail for good and have nothing to give back and nobody to wake.
const char* const kFailing[] = {"BitBlt",
                                "PrintWindow",
                                "CreateDIBSection",
                                "CreateCompatibleDC",
                                "GetDC",
                                "CreateWindowExW",
                                "CreateEventW",
                                "_beginthreadex",
                                "EnumWindows",
                                "EnumDisplayMonitors",
                                "GetMonitorInfoW",
                                "GetWindowRect",
                                "GetWindowLongPtrW",
                                "GetWindowThreadProcessId",
                                "SetWindowLongPtrW",
                                "SetLayeredWindowAttributes",
                                "DwmGetWindowAttribute",
                                "DwmRegisterThumbnail",
                                "D3D11CreateDevice",
                                "CreateDXGIFactory1",
                                "IDXGIOutput1::DuplicateOutput",
                                "IDXGIOutputDuplication::AcquireNextFrame",
                                "ID3D11Device::CreateTexture2D",
                                "ID3D11DeviceContext::Map",
                                "Direct3DCreate9Ex",
                                "IDirect3DDevice9::StretchRect",
                                "MagSetWindowSource",
                                "MagSetWindowFilterList",
                                "IGraphicsCaptureSession::StartCapture",
                                "IDirect3D11CaptureFramePool::Recreate"};

int coordinate(Bytes& bytes) {
  const int byte = bytes.Next();
  return byte < 250 ? byte % 125 - 40 : (byte - 253) * 10000;
}

RECT anyRect(Bytes& bytes) {
  constexpr int kLengths[] = {0, 1, 2, 7, 16, 24, 31, 40, 64, 97};
  const int left = coordinate(bytes);
  const int top = coordinate(bytes);
  return {left, top, left + bytes.OneOf(kLengths), top + bytes.OneOf(kLengths)};
}

COLORREF anyColor(Bytes& bytes) {
  const int byte = bytes.Next();
  return RGB(byte & 0x7F, byte | 0x20, byte ^ 0x55);
}

std::chrono::milliseconds anyDelay(Bytes& bytes) {
  constexpr std::chrono::milliseconds kDelays[] = {0ms, 1ms, 50ms, 190ms, 210ms, 900ms, 3000ms};
  return bytes.OneOf(kDelays);
}

std::optional<std::chrono::milliseconds> anyDelayOrNone(Bytes& bytes) {
  return bytes.Flag() ? std::optional(anyDelay(bytes)) : std::nullopt;
}

std::int32_t idOf(const void* handle) {
  return static_cast<std::int32_t>(reinterpret_cast<std::intptr_t>(handle));
}

HICON theIcon() {
  static const HICON icon = MakeIcon({2, 1, {0xFFFF0000, 0x80FF0000}});
  return icon;
}

void setPointerShape(Bytes& bytes) {
  constexpr std::uint32_t kSizes[] = {0, 1, 2, 8, 31};
  vwin::PointerShape shape = {};
  shape.type = bytes.Next() % 6;
  shape.width = bytes.OneOf(kSizes);
  shape.height = bytes.OneOf(kSizes);
  shape.pitch = bytes.Flag() ? shape.width * 4 : bytes.OneOf(kSizes);
  shape.hotspot = {coordinate(bytes), coordinate(bytes)};
  shape.bytes.assign(std::size_t{shape.pitch} * shape.height, bytes.Next());
  SetPointerShape(shape);
}

}  // namespace

void PrepareProcess() {
  OwnClock();
  SetPatience(15s);
  const char* const windows = std::getenv("QX_FUZZ_WINDOWS");
  const std::string_view name = windows != nullptr ? windows : "10";
  if (name == "7") {
    g_version = kWindows7;
  } else if (name == "8") {
    g_version = vwin::kWindows8;
  } else if (name == "11") {
    g_version = vwin::kWindows11;
  } else if (name != "10") {
    std::fprintf(stderr, "QX_FUZZ_WINDOWS is 7, 8, 10 or 11\n");
    std::exit(2);
  }
  SetVersion(g_version);
}

Desk::Desk(Bytes& bytes) {
  // Longer than any limiter of the library waits.
  Advance(1h);
  SetMonitorRect(PrimaryMonitor(), {0, 0, 64, 48});
  const int facts = bytes.Next();
  if (facts & 1) {
    AddMonitor({64, 0, 104, 31});
  } else {
    AddMonitor({-40, 8, 0, 39});
  }
  m_copiesHide = g_version < vwin::kWindows8;
  setComposition((facts & 2) != 0);
  if (facts & 4) {
    AddAdapter(kSoftwareAdapter);
  }
  AddProcess(7000, L"C:\\Apps\\powerpnt.exe");
  AddProcess(7100, L"C:\\Apps\\notes.exe", false);
  AddProcess(kSecretProcess, L"C:\\Apps\\\u00fcber.exe");
  SetDesktopColor(RGB(0x20, 0x30, 0x40));
  SetCursorPosition(10, 10);
  m_secret = OpenWindow({.title = L"Secret",
                         .rect = {5, 5, 25, 20},
                         .color = RGB(0xFA, 0x00, 0xFA),
                         .processId = kSecretProcess});
  const HWND slides = OpenWindow({.title = L"Report - Slides",
                                  .className = L"PPTFrameClass",
                                  .rect = {20, 10, 52, 40},
                                  .color = RGB(0x0A, 0x74, 0x1E),
                                  .style = WS_CAPTION | WS_MAXIMIZEBOX});
  const HWND notes = OpenWindow({.title = L"Notes",
                                 .rect = {30, 20, 60, 44},
                                 .color = RGB(0x64, 0x78, 0x0A),
                                 .processId = 7100});
  SetWindowIcon(notes, IconKind::kSmall, theIcon());
  m_windows = {m_secret, slides, notes};
}

Desk::~Desk() {
  ClearFaults();
  for (const HWND window : m_windows) {
    SetOnOtherVirtualDesktop(window, false);
  }
  for (const HWND window : WindowsInOrder()) {
    if (IsWindow(window)) {
      Close(window);
    }
  }
  for (const HMONITOR monitor : Monitors()) {
    RemoveMonitor(monitor);
  }
  AddMonitor({0, 0, 64, 48}, {.primary = true});
  for (const std::uint32_t process : {7000u, 7100u, 7200u, kSecretProcess}) {
    RemoveProcess(process);
  }
  SetForeground(nullptr);
  ShowCursor();
  LockSession(false);
  SetSecureDesktop(false);
  SetRemoteSession(false);
  SetSessionQuery(vwin::SessionQuery::kAnswers);
  SetVirtualDesktopManager(true);
  SetAdapter({0x8086, 0x3E92, L"Virtual Graphics"});
  SetPointerBeforePicture(false);
  SetPointerShape(std::nullopt);
}

void Desk::Calm() {
  m_calm = true;
  ClearFaults();
  SetD3DResult(S_OK);
  SetD3DFault(std::nullopt);
  SetDuplicateResult(S_OK);
  SetDuplicateFormat(DXGI_FORMAT_B8G8R8A8_UNORM);
  SetBlackDuplicates(false);
  SetBlackMagnifier(false);
  SetStretchRectCalls(1);
  SetRenderTime(0ms);
  SetD3D9DeviceState(S_OK);
  SetCaptureClassResult(S_OK);
  SetCaptureStartTime(0ms);
  DeliverClosed();
  ReleaseShellIcons();
  AnswerAll();
}

// Windows and monitors that are gone are no news to whoever names them.
void Desk::Act(Bytes& bytes) {
  try {
    act(bytes);
  } catch (const std::invalid_argument&) {
  }
}

void Desk::act(Bytes& bytes) {
  switch (bytes.Next() % 8) {
    case 0:
      return open(bytes);
    case 1:
      return actOnMonitor(bytes);
    case 2:
      return actOnCard(bytes);
    case 3:
      return actOnSystem(bytes);
    case 4:
      return fail(bytes);
    default:
      return actOnWindow(bytes);
  }
}

// Windows has it for good from version 8 on.
void Desk::setComposition(bool enabled) {
  if (g_version < vwin::kWindows8) {
    m_copiesHide = m_copiesHide && !enabled;
    SetComposition(enabled);
  }
}

std::int32_t Desk::SecretId() const { return idOf(m_secret); }

HWND Desk::AnyWindow(Bytes& bytes) {
  const std::size_t byte = bytes.Next();
  const std::lock_guard lock(m_mutex);
  if (byte >= 250) {
    return reinterpret_cast<HWND>((byte - 253) * 4);
  }
  return m_windows[byte % m_windows.size()];
}

std::int32_t Desk::AnyWindowId(Bytes& bytes) { return idOf(AnyWindow(bytes)); }

std::int32_t Desk::AnyMonitorId(Bytes& bytes) {
  const std::size_t byte = bytes.Next();
  const std::vector<HMONITOR> monitors = Monitors();
  if (byte >= 250 || monitors.empty()) {
    return static_cast<std::int32_t>(byte) - 253;
  }
  return idOf(monitors[byte % monitors.size()]);
}

void Desk::open(Bytes& bytes) {
  HWND related = nullptr;
  {
    const std::lock_guard lock(m_mutex);
    if (m_windows.size() == kMostWindows) {
      return;
    }
    related = m_windows[bytes.Next() % m_windows.size()];
  }
  const int kind = bytes.Next();
  const HWND opened = OpenWindow({.title = bytes.OneOf(kTitles),
                                  .className = bytes.OneOf(kClasses),
                                  .rect = anyRect(bytes),
                                  .color = anyColor(bytes),
                                  .style = bytes.OneOf(kStyles),
                                  .exStyle = bytes.OneOf(kExStyles),
                                  .owner = kind % 4 == 1 ? related : nullptr,
                                  .parent = kind % 4 == 2 ? related : nullptr,
                                  .processId = bytes.OneOf(kProcesses),
                                  .visible = kind % 16 != 15,
                                  .invisibleFrame = kind >= 192 ? RECT{3, 0, 3, 3} : RECT{}});
  const std::lock_guard lock(m_mutex);
  m_windows.push_back(opened);
}

void Desk::actOnWindow(Bytes& bytes) {
  const HWND window = AnyWindow(bytes);
  switch (bytes.Next() % 20) {
    case 0:
      return Close(window);
    case 1:
      return MoveTo(window, coordinate(bytes), coordinate(bytes));
    case 2:
      return SetRect(window, anyRect(bytes));
    case 3:
      return Minimise(window);
    case 4:
      return Maximise(window);
    case 5:
      return Restore(window);
    case 6:
      return Show(window);
    case 7:
      return Hide(window);
    case 8:
      return bytes.Flag() ? ToTop(window) : ToBottom(window);
    case 9:
      return SetTopmost(window, bytes.Flag());
    case 10:
      // What belongs to a shared window is shown with it.
      return window == m_secret ? void() : SetOwner(window, AnyWindow(bytes));
    case 11:
      return SetForeground(bytes.Flag() ? window : nullptr);
    case 12:
      return SetTitle(window, bytes.OneOf(kTitles));
    case 13:
      return bytes.Flag() ? SetStyle(window, bytes.OneOf(kStyles))
                          : SetExStyle(window, bytes.OneOf(kExStyles));
    case 14:
      return SetCloaked(window, bytes.Flag());
    case 15:
      return SetLayered(window, bytes.Flag() ? std::optional(anyColor(bytes)) : std::nullopt,
                        bytes.Flag() ? std::optional(bytes.Next()) : std::nullopt);
    case 16:
      return bytes.Flag() ? Hang(window) : AnswerAfter(window, anyDelay(bytes));
    case 17:
      return IsWindow(window) ? SetOnOtherVirtualDesktop(window, bytes.Flag()) : void();
    case 18:
      return SetThumbnailSourceSize(
          window,
          bytes.Flag() ? std::optional(SIZE{coordinate(bytes), coordinate(bytes)}) : std::nullopt);
    default:
      return window == m_secret ? void() : Fill(window, anyRect(bytes), anyColor(bytes));
  }
}

void Desk::actOnMonitor(Bytes& bytes) {
  const std::vector<HMONITOR> monitors = Monitors();
  const int what = bytes.Next() % 8;
  if (what == 0 || monitors.empty()) {
    if (monitors.size() < kMostMonitors) {
      AddMonitor(anyRect(bytes), {.primary = bytes.Flag()});
    }
    return;
  }
  const HMONITOR monitor = bytes.OneOf(monitors);
  switch (what) {
    case 1:
      return RemoveMonitor(monitor);
    case 2:
      static_cast<void>(RenewMonitorHandle(monitor));
      return;
    case 3:
      return TurnMonitor(monitor, static_cast<DXGI_MODE_ROTATION>(bytes.Next() % 5));
    case 4:
      return SetAttached(monitor, bytes.Flag());
    case 5:
      return ReportMove(monitor, {coordinate(bytes), coordinate(bytes)}, anyRect(bytes));
    default:
      return SetMonitorRect(monitor, anyRect(bytes));
  }
}

void Desk::actOnCard(Bytes& bytes) {
  switch (bytes.Next() % 18) {
    case 0:
      return SetD3DResult(bytes.OneOf(kResults));
    case 1:
      return SetD3DFault(bytes.Flag() ? std::optional(0xC0000005u) : std::nullopt);
    case 2:
      return SetDuplicateResult(bytes.OneOf(kResults));
    case 3:
      return SetBlackDuplicates(bytes.Flag());
    case 4:
      return SetPointerBeforePicture(bytes.Flag());
    case 5:
      return setPointerShape(bytes);
    case 6:
      return bytes.Flag() ? SetNoAdapter() : SetAdapter(kSoftwareAdapter);
    case 7: {
      const std::vector<HMONITOR> monitors = Monitors();
      return monitors.empty() ? void() : PlugInto(bytes.OneOf(monitors), bytes.Next() % 2);
    }
    case 8:
      return SetBlackMagnifier(bytes.Flag());
    case 9:
      return SetStretchRectCalls(bytes.Next() % 3);
    case 10:
      return SetRenderTime(anyDelay(bytes));
    case 11:
      return SetD3D9DeviceState(bytes.OneOf(kResults));
    case 12:
      return SetCaptureClassResult(bytes.OneOf(kResults));
    case 13:
      return SetCaptureStartTime(anyDelayOrNone(bytes));
    case 14:
      return CloseCaptureItems(AnyWindow(bytes));
    case 15:
      return CloseCaptureItems(PrimaryMonitor());
    case 16:
      return bytes.Flag() ? HoldClosed() : DeliverClosed();
    default:
      return SetDuplicateFormat(bytes.Flag() ? DXGI_FORMAT_B8G8R8A8_UNORM
                                             : DXGI_FORMAT_R16G16B16A16_FLOAT);
  }
}

void Desk::actOnSystem(Bytes& bytes) {
  switch (bytes.Next() % 14) {
    case 0:
      return LockSession(bytes.Flag());
    case 1:
      return SetSecureDesktop(bytes.Flag());
    case 2:
      return SetRemoteSession(bytes.Flag());
    case 3:
      return SetSessionQuery(static_cast<vwin::SessionQuery>(bytes.Next() % 3));
    case 4:
      return AddProcess(bytes.OneOf(kProcesses), L"C:\\Apps\\wpp.exe", bytes.Flag());
    case 5:
      return RemoveProcess(bytes.OneOf(kProcesses));
    case 6:
      return SetVirtualDesktopManager(bytes.Flag());
    case 7:
      return setComposition(bytes.Flag());
    case 8:
      return SetSystemTime(SystemTime() + std::chrono::seconds(coordinate(bytes)));
    case 9:
      return bytes.Flag() ? HideCursor() : ShowCursor();
    case 10:
      return SetDesktopColor(anyColor(bytes));
    case 11:
      return bytes.Flag() ? BlockShellIcons(anyDelayOrNone(bytes)) : ReleaseShellIcons();
    case 12:
      return bytes.Flag() ? HangAll() : AnswerAll();
    default:
      return SetCursorPosition(coordinate(bytes), coordinate(bytes));
  }
}

// Something happens at a call that is still to come.
void Desk::fail(Bytes& bytes) {
  constexpr vwin::Fault kFaults[] = {kOutOfMemory,
                                     {ERROR_INVALID_PARAMETER, E_FAIL},
                                     {ERROR_ACCESS_DENIED, E_ACCESSDENIED},
                                     {ERROR_GEN_FAILURE, DXGI_ERROR_ACCESS_LOST}};
  if (m_calm) {
    return;
  }
  const int what = bytes.Next() % 8;
  const std::uint64_t call = 1 + bytes.Next();
  if (what < 3) {
    FailNth(bytes.OneOf(kFailing), 1 + call % 8, bytes.OneOf(kFaults),
            what == 0 ? vwin::Repeat::kOnward : vwin::Repeat::kOnce);
  } else if (what < 5) {
    FailNthOfAll(call, bytes.OneOf(kFaults));
  } else if (what < 7) {
    OnNthCall(call, [this, part = bytes.Part()]() mutable { Act(part); });
  } else {
    ClearFaults();
  }
}

}  // namespace qx::fuzz
