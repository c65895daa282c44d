#include "tests/fuzz/Desk.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
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
const char* const kFailing[] = {"BitBlt",         "PrintWindow",       "GetDC",
                                "EnumWindows",    "GetWindowRect",     "GetMonitorInfoW",
                                "CreateEventW",   "CreateThread",      "D3D11CreateDevice",
                                "StretchRect",    "Direct3DCreate9Ex", "MagSetWindowFilterList",
                                "CreateWindowExW"};

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

using Event = void (*)(Bytes&);

constexpr Event kOfSystem[] = {
    [](Bytes& bytes) { LockSession(bytes.Flag()); },
    [](Bytes& bytes) { SetSecureDesktop(bytes.Flag()); },
    [](Bytes& bytes) { SetRemoteSession(bytes.Flag()); },
    [](Bytes& bytes) { SetSessionQuery(static_cast<vwin::SessionQuery>(bytes.Next() % 3)); },
    [](Bytes& bytes) { AddProcess(bytes.OneOf(kProcesses), L"C:\\Apps\\wpp.exe", bytes.Flag()); },
    [](Bytes& bytes) { RemoveProcess(bytes.OneOf(kProcesses)); },
    [](Bytes& bytes) {
      const int byte = bytes.Next();
      SetVirtualDesktopManager((byte & 1) != 0);
      SetShellHangs((byte & 6) == 6);
    },
    [](Bytes& bytes) { SetSystemTime(SystemTime() + std::chrono::seconds(coordinate(bytes))); },
    [](Bytes& bytes) { bytes.Flag() ? HideCursor() : ShowCursor(); },
    [](Bytes& bytes) { SetCursorPosition(coordinate(bytes), coordinate(bytes)); },
    [](Bytes& bytes) { SetDesktopColor(anyColor(bytes)); },
    [](Bytes& bytes) {
      bytes.Flag() ? BlockShellIcons(anyDelayOrNone(bytes)) : ReleaseShellIcons();
    },
    [](Bytes& bytes) { bytes.Flag() ? HangAll() : AnswerAll(); },
};

constexpr Event kOfCard[] = {
    [](Bytes& bytes) { SetD3DResult(bytes.OneOf(kResults)); },
    [](Bytes& bytes) { SetD3DFault(bytes.Flag() ? std::optional(0xC0000005u) : std::nullopt); },
    [](Bytes& bytes) { SetDuplicateResult(bytes.OneOf(kResults)); },
    [](Bytes& bytes) {
      SetDuplicateFormat(bytes.Flag() ? DXGI_FORMAT_B8G8R8A8_UNORM
                                      : DXGI_FORMAT_R16G16B16A16_FLOAT);
    },
    [](Bytes& bytes) { SetBlackDuplicates(bytes.Flag()); },
    [](Bytes& bytes) { SetPointerBeforePicture(bytes.Flag()); },
    setPointerShape,
    [](Bytes& bytes) { bytes.Flag() ? SetNoAdapter() : SetAdapter(kSoftwareAdapter); },
    [](Bytes& bytes) { SetBlackMagnifier(bytes.Flag()); },
    [](Bytes& bytes) { SetStretchRectCalls(bytes.Next() % 3); },
    [](Bytes& bytes) { SetRenderTime(anyDelay(bytes)); },
    [](Bytes& bytes) { SetD3D9DeviceState(bytes.OneOf(kResults)); },
    [](Bytes& bytes) { SetCaptureClassResult(bytes.OneOf(kResults)); },
    [](Bytes& bytes) { SetCaptureStartTime(anyDelayOrNone(bytes)); },
    [](Bytes&) { CloseCaptureItems(PrimaryMonitor()); },
    [](Bytes& bytes) { bytes.Flag() ? HoldClosed() : DeliverClosed(); },
    [](Bytes&) { RemoveD3DDevices(); },
};

using MonitorEvent = void (*)(HMONITOR, Bytes&);

constexpr MonitorEvent kOfMonitor[] = {
    [](HMONITOR, Bytes& bytes) {
      if (Monitors().size() < kMostMonitors) {
        AddMonitor(anyRect(bytes), {.primary = bytes.Flag()});
      }
    },
    [](HMONITOR monitor, Bytes&) { RemoveMonitor(monitor); },
    [](HMONITOR monitor, Bytes&) { static_cast<void>(RenewMonitorHandle(monitor)); },
    [](HMONITOR monitor, Bytes& bytes) {
      TurnMonitor(monitor, static_cast<DXGI_MODE_ROTATION>(bytes.Next() % 5));
    },
    [](HMONITOR monitor, Bytes& bytes) { SetAttached(monitor, bytes.Flag()); },
    [](HMONITOR monitor, Bytes& bytes) {
      ReportMove(monitor, {coordinate(bytes), coordinate(bytes)}, anyRect(bytes));
    },
    [](HMONITOR monitor, Bytes& bytes) { PlugInto(monitor, bytes.Next() % 2); },
    [](HMONITOR monitor, Bytes& bytes) { SetMonitorRect(monitor, anyRect(bytes)); },
};

using WindowEvent = void (*)(HWND, Bytes&);

constexpr WindowEvent kOfWindow[] = {
    [](HWND window, Bytes&) { Close(window); },
    [](HWND window, Bytes& bytes) { MoveTo(window, coordinate(bytes), coordinate(bytes)); },
    [](HWND window, Bytes& bytes) { SetRect(window, anyRect(bytes)); },
    [](HWND window, Bytes&) { Minimise(window); },
    [](HWND window, Bytes&) { Maximise(window); },
    [](HWND window, Bytes&) { Restore(window); },
    [](HWND window, Bytes& bytes) { bytes.Flag() ? Show(window) : Hide(window); },
    [](HWND window, Bytes& bytes) { bytes.Flag() ? ToTop(window) : ToBottom(window); },
    [](HWND window, Bytes& bytes) { SetTopmost(window, bytes.Flag()); },
    [](HWND window, Bytes& bytes) { SetForeground(bytes.Flag() ? window : nullptr); },
    [](HWND window, Bytes& bytes) { SetTitle(window, bytes.OneOf(kTitles)); },
    [](HWND window, Bytes& bytes) { SetStyle(window, bytes.OneOf(kStyles)); },
    [](HWND window, Bytes& bytes) { SetExStyle(window, bytes.OneOf(kExStyles)); },
    [](HWND window, Bytes& bytes) { SetCloaked(window, bytes.Flag()); },
    [](HWND window, Bytes& bytes) {
      SetLayered(window, bytes.Flag() ? std::optional(anyColor(bytes)) : std::nullopt,
                 bytes.Flag() ? std::optional(bytes.Next()) : std::nullopt);
    },
    [](HWND window, Bytes& bytes) {
      bytes.Flag() ? Hang(window) : AnswerAfter(window, anyDelay(bytes));
    },
    [](HWND window, Bytes& bytes) {
      if (IsWindow(window)) {
        SetOnOtherVirtualDesktop(window, bytes.Flag());
      }
    },
    [](HWND window, Bytes& bytes) {
      SetThumbnailSourceSize(window, bytes.Flag()
                                         ? std::optional(SIZE{coordinate(bytes), coordinate(bytes)})
                                         : std::nullopt);
    },
    [](HWND window, Bytes&) { CloseCaptureItems(window); },
};

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
  AddMonitor(facts & 1 ? RECT{64, 0, 104, 31} : RECT{-40, 8, 0, 39});
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
  static const HICON icon = MakeIcon({2, 1, {0xFFFF0000, 0x80FF0000}});
  SetWindowIcon(notes, IconKind::kSmall, icon);
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
  SetShellHangs(false);
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
  switch (bytes.Next() % 10) {
    case 0:
      return open(bytes);
    case 1: {
      const std::vector<HMONITOR> monitors = Monitors();
      const MonitorEvent event = bytes.OneOf(kOfMonitor);
      return event(monitors.empty() ? nullptr : bytes.OneOf(monitors), bytes);
    }
    case 2:
      return bytes.OneOf(kOfCard)(bytes);
    case 3:
      return bytes.OneOf(kOfSystem)(bytes);
    case 4:
      return setComposition(bytes.Flag());
    case 5:
      return fail(bytes);
    default:
      return actOnWindow(bytes);
  }
}

// What belongs to a shared window is shown with it, and what is drawn in it has its colour.
void Desk::actOnWindow(Bytes& bytes) {
  const HWND window = AnyWindow(bytes);
  switch (bytes.Next() % 10) {
    case 0:
      return window == m_secret ? void() : SetOwner(window, AnyWindow(bytes));
    case 1:
      return window == m_secret ? void() : Fill(window, anyRect(bytes), anyColor(bytes));
    default:
      return bytes.OneOf(kOfWindow)(window, bytes);
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
  const HWND related = AnyWindow(bytes);
  {
    const std::lock_guard lock(m_mutex);
    if (m_windows.size() == kMostWindows) {
      return;
    }
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

// Windows has it for good from version 8 on.
void Desk::setComposition(bool enabled) {
  if (g_version < vwin::kWindows8) {
    m_copiesHide = m_copiesHide && !enabled;
    SetComposition(enabled);
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
    FailNth(bytes.OneOf(kFailing), 1 + call % 8, bytes.OneOf(kFaults), vwin::Repeat::kOnward);
  } else if (what < 5) {
    // One at a time: what must not be lost is tried twice, and not more often.
    ClearFaults();
    FailNthOfAll(call, bytes.OneOf(kFaults));
  } else if (what < 7) {
    OnNthCall(call, [this, part = bytes.Part()]() mutable { Act(part); });
  } else {
    ClearFaults();
  }
}

}  // namespace qx::fuzz
