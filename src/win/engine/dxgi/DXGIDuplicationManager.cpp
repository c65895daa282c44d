#include "win/engine/dxgi/DXGIDuplicationManager.h"

#include "common/Logging.h"
#include "win/util/SystemProbes.h"
#include "win/util/WindowHelpers.h"

namespace qx {
namespace {

constexpr std::int32_t kMostFailures = 2;
// More than any adapter has. One whose driver only fails would be asked for ever.
constexpr UINT kMostOutputs = 64;
// Of a millisecond each.
constexpr int kMostWaitsForWatcher = 100;

// Log lines tell records apart by the low half of their address.
std::int32_t NumberOf(const DXGIDuplicationManager::Record& record) {
  return static_cast<std::int32_t>(reinterpret_cast<std::intptr_t>(record.get()));
}

bool CreateDevice(DXGIDuplication& out) {
  bool faulted = false;
  const HRESULT hr = WindowsUtil::SafeD3D11CreateDevice(
      nullptr, D3D_DRIVER_TYPE_HARDWARE, nullptr, D3D11_CREATE_DEVICE_BGRA_SUPPORT, nullptr, 0,
      D3D11_SDK_VERSION, out.device.Put(), nullptr, out.context.Put(), faulted);
  if (faulted) {
    return false;
  }
  if (FAILED(hr) || !out.device || !out.context) {
    QX_LOG_ERROR("D3D11CreateDevice failed res:{}", static_cast<std::int32_t>(hr));
    return false;
  }
  return true;
}

bool GetAdapter(ID3D11Device* device, ComPtr<IDXGIAdapter>& adapter) {
  ComPtr<IDXGIDevice> dxgiDevice;
  HRESULT hr = device->QueryInterface(IID_IDXGIDevice, dxgiDevice.PutVoid());
  if (FAILED(hr)) {
    QX_LOG_ERROR("create dxgi device failed res:{}", static_cast<std::int32_t>(hr));
    return false;
  }
  hr = dxgiDevice->GetParent(IID_IDXGIAdapter, adapter.PutVoid());
  if (FAILED(hr)) {
    QX_LOG_ERROR("get adapter failed res:{}", static_cast<std::int32_t>(hr));
    return false;
  }
  return true;
}

bool Duplicate(IDXGIOutput* output, DXGIDuplication& out) {
  ComPtr<IDXGIOutput1> output1;
  HRESULT hr = output->QueryInterface(IID_IDXGIOutput1, output1.PutVoid());
  if (FAILED(hr)) {
    QX_LOG_ERROR("dxgiOutput convert dxgiOutput1 failed res:{}", static_cast<std::int32_t>(hr));
    return false;
  }
  hr = output1->DuplicateOutput(out.device.Get(), out.duplication.Put());
  if (FAILED(hr) || !out.duplication) {
    QX_LOG_ERROR("DuplicateOutput failed res:{}", static_cast<std::int32_t>(hr));
    return false;
  }
  return true;
}

// Only the adapter that Direct3D chose is searched: a device can't duplicate what
// another one shows.
bool DuplicateMonitor(IDXGIAdapter* adapter, HMONITOR monitor, DXGIDuplication& out) {
  for (UINT index = 0; index < kMostOutputs; ++index) {
    ComPtr<IDXGIOutput> output;
    HRESULT hr = adapter->EnumOutputs(index, output.Put());
    if (hr == DXGI_ERROR_NOT_FOUND) {
      break;
    }
    if (hr == DXGI_ERROR_NOT_CURRENTLY_AVAILABLE) {
      QX_LOG_WARN("IDXGIAdapter::EnumOutputs returns NOT_CURRENTLY_AVAILABLE");
      continue;
    }
    if (FAILED(hr) || !output) {
      QX_LOG_WARN("IDXGIAdapter::EnumOutputs failed res:{}", static_cast<std::int32_t>(hr));
      continue;
    }
    DXGI_OUTPUT_DESC desc = {};
    hr = output->GetDesc(&desc);
    if (FAILED(hr)) {
      QX_LOG_ERROR("get desc failed res:{}", static_cast<std::int32_t>(hr));
      return false;
    }
    if (!desc.AttachedToDesktop) {
      QX_LOG_WARN("IDXGIOutput is Detached");
    } else if (desc.Monitor == monitor) {
      out.rotation = desc.Rotation;
      return Duplicate(output.Get(), out);
    }
  }
  return false;
}

bool CreateDXGIDuplication(HMONITOR monitor, DXGIDuplication& out) {
  if (!monitor) {
    QX_LOG_ERROR("m_hMonitor is invalid");
    return false;
  }
  const RECT rect = WindowsUtil::GetMonitorRect(monitor);
  if (IsRectEmpty(&rect)) {
    QX_LOG_ERROR("m_hMonitor rect is:{},{},{},{}", static_cast<std::int32_t>(rect.left),
                 static_cast<std::int32_t>(rect.top), static_cast<std::int32_t>(rect.right),
                 static_cast<std::int32_t>(rect.bottom));
    return false;
  }
  ComPtr<IDXGIAdapter> adapter;
  return CreateDevice(out) && GetAdapter(out.device.Get(), adapter) &&
         DuplicateMonitor(adapter.Get(), monitor, out);
}

}  // namespace

DXGIDuplicationManager::Record DXGIDuplicationManager::GetDXGIDuplication(HMONITOR monitor,
                                                                          const void* owner,
                                                                          DuplicationUse use) {
  const DeferredLog afterTheLock;
  std::unique_lock lock(m_mutex);
  const auto found = m_duplications.find(monitor);
  if (found == m_duplications.end()) {
    return create(monitor, owner, use);
  }
  Entry& entry = found->second;
  if (entry.owner == owner) {
    return entry.record;
  }
  if (entry.use == use || entry.use == DuplicationUse::Capture) {
    return nullptr;
  }
  QX_LOG_INFO("DXGIDuplication change to capture: {}", NumberOf(entry.record));
  entry.owner = owner;
  entry.use = use;
  // Nobody gets it from here on, but the watcher may be looking at this moment. It never
  // waits for anything but this mutex.
  for (int i = 0; entry.record.use_count() > 1; ++i) {
    if (i == kMostWaitsForWatcher) {
      return entry.record;  // the owner gets only what changes from now on
    }
    lock.unlock();
    Sleep(1);
    lock.lock();
  }
  if (m_createFailCount > kMostFailures) {
    return entry.record;  // likewise: there won't be another one
  }
  // The watcher took the picture and the cursor's shape that the system tells of once.
  m_duplications.erase(monitor);
  return create(monitor, owner, use);
}

DXGIDuplicationManager::Record DXGIDuplicationManager::create(HMONITOR monitor, const void* owner,
                                                              DuplicationUse use) {
  if (m_createFailCount > kMostFailures) {
    return nullptr;
  }
  const auto record = std::make_shared<DXGIDuplication>();
  if (!CreateDXGIDuplication(monitor, *record)) {
    ++m_createFailCount;
    QX_LOG_ERROR("CreateDXGIDuplication failed, count = {}", m_createFailCount);
    return nullptr;
  }
  m_createFailCount = 0;
  m_duplications.emplace(monitor, Entry{record, use, owner});
  QX_LOG_INFO("CreateDXGIDuplication succeed: {}", NumberOf(record));
  return record;
}

void DXGIDuplicationManager::ReleaseDXGIDuplication(HMONITOR monitor, const void* owner,
                                                    DuplicationUse use) {
  const DeferredLog afterTheLock;
  const std::lock_guard lock(m_mutex);
  const auto found = m_duplications.find(monitor);
  if (found == m_duplications.end() || found->second.owner != owner || found->second.use != use) {
    return;
  }
  QX_LOG_INFO("ReleaseDXGIDuplication succeed: {}", NumberOf(found->second.record));
  m_duplications.erase(found);
}

}  // namespace qx
