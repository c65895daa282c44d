#include "win/util/SystemProbes.h"

#include <dwmapi.h>
#include <dxgi1_2.h>
#include <wtsapi32.h>

#include <atomic>
#include <tuple>

#include "common/Logging.h"
#include "win/util/ComPtr.h"
#include "win/util/Handles.h"
#include "win/util/StructuredGuard.h"
#include "win/util/Utils.h"

namespace qx::WindowsUtil {

namespace {

// ---- version

struct Version {
  std::uint32_t major = 0;
  std::uint32_t minor = 0;
  std::uint32_t build = 0;

  bool IsAtLeast(std::uint32_t otherMajor, std::uint32_t otherMinor) const {
    return std::tie(major, minor) >= std::tie(otherMajor, otherMinor);
  }
};

// Asked for once. An answer that did not come is not kept.
Version ReadVersion() {
  static std::atomic<std::uint64_t> cached = 0;  // major, minor, build: 16 bits each
  std::uint64_t packed = cached.load(std::memory_order_relaxed);
  if (packed == 0) {
    Version version;
    GetNtVersionNumbers(version.major, version.minor, version.build);
    packed = (std::uint64_t{version.major} << 32) | (std::uint64_t{version.minor & 0xFFFF} << 16) |
             version.build;
    cached.store(packed, std::memory_order_relaxed);
  }
  return {.major = static_cast<std::uint32_t>(packed >> 32),
          .minor = static_cast<std::uint32_t>(packed >> 16) & 0xFFFF,
          .build = static_cast<std::uint32_t>(packed) & 0xFFFF};
}

// ---- session

// The start of WTSINFOEXW, which not every compiler's headers have.
struct SessionInfo {
  DWORD level;
  struct alignas(8) {
    DWORD sessionId;
    std::int32_t state;
    std::int32_t flags;
  } level1;
};
constexpr auto kSessionInfoClass = static_cast<WTS_INFO_CLASS>(25);  // WTSSessionInfoEx
constexpr std::int32_t kSessionLocked = 0;                           // WTS_SESSIONSTATE_LOCK

struct WtsMemoryPolicy {
  using Value = wchar_t*;
  void Close(wchar_t* memory) const { WTSFreeMemory(memory); }
};
using WtsMemory = Handle<WtsMemoryPolicy>;

// ---- graphics

constexpr UINT kSoftwareVendor = 0x1414;

std::atomic<bool> g_canUseMagCapture = true;
std::atomic<bool> g_d3dFaulted = false;
std::atomic<bool> g_integratedGpuProbed = false;
std::atomic<bool> g_integratedGpu = true;
std::atomic<HRESULT> g_integratedGpuResult = S_OK;

const char* ToText(bool value) { return value ? "true" : "false"; }

// One step of the probe: logs its failure.
bool Succeeded(HRESULT hr, const char* step) {
  if (FAILED(hr)) {
    QX_LOG_INFO("IsRunOnIntegrateGPU:false, {} failed res:{}", step, static_cast<std::int32_t>(hr));
  }
  return SUCCEEDED(hr);
}

bool ProbeIntegratedGpu(HRESULT& hr) {
  constexpr D3D_FEATURE_LEVEL kLevels[] = {D3D_FEATURE_LEVEL_11_0, D3D_FEATURE_LEVEL_10_1,
                                           D3D_FEATURE_LEVEL_10_0, D3D_FEATURE_LEVEL_9_1};
  ComPtr<ID3D11Device> device;
  bool faulted = false;
  hr = SafeD3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_HARDWARE, nullptr, 0, kLevels,
                             static_cast<UINT>(std::size(kLevels)), D3D11_SDK_VERSION, device.Put(),
                             nullptr, nullptr, faulted);
  if (faulted) {
    QX_LOG_INFO("IsRunOnIntegrateGPU:true");
    return true;
  }
  if (!Succeeded(hr, "D3D11CreateDevice")) {
    return false;
  }
  ComPtr<IDXGIDevice> dxgiDevice;
  hr = device.As(IID_IDXGIDevice, dxgiDevice);
  if (!Succeeded(hr, "device.As")) {
    return false;
  }
  ComPtr<IDXGIAdapter> adapter;
  hr = dxgiDevice->GetParent(IID_IDXGIAdapter, adapter.PutVoid());
  if (!Succeeded(hr, "dxgiDevice->GetParent")) {
    return false;
  }
  ComPtr<IDXGIOutput> output;
  hr = adapter->EnumOutputs(0, output.Put());
  if (!Succeeded(hr, "dxgiAdapter->EnumOutputs")) {
    return false;
  }
  ComPtr<IDXGIOutput1> output1;
  hr = output.As(IID_IDXGIOutput1, output1);
  if (!Succeeded(hr, "dxgiOutput.As")) {
    return false;
  }
  ComPtr<IDXGIOutputDuplication> duplication;
  hr = output1->DuplicateOutput(device.Get(), duplication.Put());
  // Any other failure may pass; this one says that the adapter can't do it.
  if (hr == DXGI_ERROR_UNSUPPORTED) {
    return Succeeded(hr, "DuplicateOutput");
  }
  QX_LOG_INFO("IsRunOnIntegrateGPU:true res:{}", static_cast<std::int32_t>(hr));
  return true;
}

}  // namespace

bool IsWindows8OrGreater() {
  OSVERSIONINFOEXW wanted = {};
  wanted.dwOSVersionInfoSize = sizeof(wanted);
  wanted.dwMajorVersion = 6;
  wanted.dwMinorVersion = 2;
  ULONGLONG conditions = 0;
  for (const DWORD part : {VER_MAJORVERSION, VER_MINORVERSION, VER_SERVICEPACKMAJOR}) {
    conditions = VerSetConditionMask(conditions, part, VER_GREATER_EQUAL);
  }
  return VerifyVersionInfoW(&wanted, VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR,
                            conditions) != FALSE;
}

bool IsBeforeWindows8() { return !ReadVersion().IsAtLeast(6, 2); }

bool IsWindows8Point1OrGreater() { return ReadVersion().IsAtLeast(6, 3); }

bool IsWindows10OrGreater() { return ReadVersion().IsAtLeast(10, 0); }

bool IsWindows11OrGreater() {
  const Version version = ReadVersion();
  return version.major >= 10 && (version.minor > 0 || version.build >= 22000);
}

void GetNtVersionNumbers(std::uint32_t& major, std::uint32_t& minor, std::uint32_t& build) {
  using ReadNumbers = void(WINAPI*)(DWORD*, DWORD*, DWORD*);
  DWORD numbers[3] = {};
  const Module ntdll(LoadLibraryA("ntdll.dll"));
  if (ntdll) {
    if (const auto read = FindFunction<ReadNumbers>(ntdll.Get(), "RtlGetNtVersionNumbers")) {
      read(&numbers[0], &numbers[1], &numbers[2]);
    }
  }
  major = numbers[0];
  minor = numbers[1];
  build = numbers[2] & 0xFFFF;  // flags stand above
}

bool IsScreenLocked() {
  WtsMemory memory;
  DWORD size = 0;
  if (!WTSQuerySessionInformationW(WTS_CURRENT_SERVER_HANDLE, WTS_CURRENT_SESSION,
                                   kSessionInfoClass, memory.Put(), &size)) {
    QX_LOG_LIMITED(LogLevelError, "WTSQuerySessionInformationW failed hr:{}",
                   static_cast<std::uint32_t>(GetLastError()));
    return false;
  }
  if (size == 0) {
    QX_LOG_LIMITED(LogLevelError, "bytesReturned is 0");
    return false;
  }
  std::int32_t flags = -1;
  if (size >= sizeof(SessionInfo)) {
    const auto* info = reinterpret_cast<const SessionInfo*>(memory.Get());
    if (info->level == 1) {
      flags = info->level1.flags;
    }
  }
  // Windows 7 has the two values the wrong way round.
  return (flags == kSessionLocked) != IsBeforeWindows8();
}

bool CanSwitchToDefaultDesktop() {
  const DesktopHandle desktop(OpenDesktopA("Default", 0, FALSE, DESKTOP_SWITCHDESKTOP));
  return desktop && SwitchDesktop(desktop.Get());
}

bool IsUacPrompt() { return !IsScreenLocked() && !CanSwitchToDefaultDesktop(); }

bool IsRemoteSession() { return GetSystemMetrics(SM_REMOTESESSION) != 0; }

bool IsDwmCompositionEnabled() {
  BOOL enabled = FALSE;
  return SUCCEEDED(DwmIsCompositionEnabled(&enabled)) && enabled;
}

bool IsBasicGraphicsAdapter() {
  ComPtr<IDXGIFactory1> factory;
  if (FAILED(CreateDXGIFactory1(IID_IDXGIFactory1, factory.PutVoid()))) {
    return true;
  }
  ComPtr<IDXGIAdapter1> adapter;
  if (FAILED(factory->EnumAdapters1(0, adapter.Put()))) {
    return true;
  }
  DXGI_ADAPTER_DESC1 description = {};
  return FAILED(adapter->GetDesc1(&description)) || description.VendorId == kSoftwareVendor;
}

HRESULT SafeD3D11CreateDevice(IDXGIAdapter* adapter, D3D_DRIVER_TYPE driverType, HMODULE software,
                              UINT flags, const D3D_FEATURE_LEVEL* featureLevels,
                              UINT featureLevelCount, UINT sdkVersion, ID3D11Device** device,
                              D3D_FEATURE_LEVEL* featureLevel, ID3D11DeviceContext** context,
                              bool& faulted) {
  faulted = g_d3dFaulted;
  if (faulted) {
    return E_FAIL;
  }
  HRESULT hr = E_FAIL;
  const bool returned = RunGuarded([&] {
    hr = D3D11CreateDevice(adapter, driverType, software, flags, featureLevels, featureLevelCount,
                           sdkVersion, device, featureLevel, context);
  });
  if (!returned) {
    QX_LOG_ERROR("D3D11CreateDevice throw a exception");
    g_d3dFaulted = true;
    faulted = true;
    return E_FAIL;
  }
  return hr;
}

bool IsRunOnIntegrateGPU(HRESULT* hr) {
  QX_TRACE("WindowsUtil::IsRunOnIntegrateGPU");
  if (g_integratedGpuProbed.exchange(true)) {
    const bool known = g_integratedGpu;
    QX_LOG_INFO("IsRunOnIntegrateGPU:{}", ToText(known));
    return known;
  }
  HRESULT last = E_FAIL;
  const bool result = ProbeIntegratedGpu(last);
  if (hr) {
    *hr = last;
  }
  g_integratedGpuResult = last;  // before the answer that it belongs to
  g_integratedGpu = result;
  return result;
}

HRESULT IntegrateGPUProbeResult() { return g_integratedGpuResult; }

bool CanUseMagCapture() { return g_canUseMagCapture; }

void SetCanUseMagCapture(bool canUseMag) { g_canUseMagCapture = canUseMag; }

}  // namespace qx::WindowsUtil
