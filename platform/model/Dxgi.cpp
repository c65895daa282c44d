#include "platform/model/Dxgi.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "platform/model/Desktop.h"
#include "platform/model/Machine.h"
#include "platform/model/Threads.h"

namespace vwin {

VWIN_INTERFACE_IDS(IDXGIFactory1, &IID_IDXGIObject, &IID_IDXGIFactory, &IID_IDXGIFactory1);
VWIN_INTERFACE_IDS(IDXGIAdapter1, &IID_IDXGIObject, &IID_IDXGIAdapter, &IID_IDXGIAdapter1);
VWIN_INTERFACE_IDS(IDXGIOutput1, &IID_IDXGIObject, &IID_IDXGIOutput, &IID_IDXGIOutput1);
VWIN_INTERFACE_IDS(IDXGIOutputDuplication, &IID_IDXGIObject, &IID_IDXGIOutputDuplication);

namespace dxgi {
namespace {

template <std::size_t Size>
void CopyText(WCHAR (&to)[Size], const std::wstring& from) {
  const std::size_t length = std::min(from.size(), Size - 1);
  std::fill(std::copy_n(from.begin(), length, std::begin(to)), std::end(to), L'\0');
}

// IDXGIObject's functions.
template <typename Interface>
class DxgiObject : public ComImplementation<Interface> {
 public:
  HRESULT STDMETHODCALLTYPE SetPrivateData(REFGUID, UINT, const void*) override {
    return this->notProvided("IDXGIObject::SetPrivateData");
  }
  HRESULT STDMETHODCALLTYPE SetPrivateDataInterface(REFGUID, const IUnknown*) override {
    return this->notProvided("IDXGIObject::SetPrivateDataInterface");
  }
  HRESULT STDMETHODCALLTYPE GetPrivateData(REFGUID, UINT*, void*) override {
    return this->notProvided("IDXGIObject::GetPrivateData");
  }
  HRESULT STDMETHODCALLTYPE GetParent(REFIID, void**) override {
    return this->notProvided("IDXGIObject::GetParent");
  }

 protected:
  using ComImplementation<Interface>::ComImplementation;
};

// Can't give a frame yet: to its user the screen never changes.
class Duplication final : public DxgiObject<IDXGIOutputDuplication> {
 public:
  Duplication(const Monitor& monitor, const char* call)
      : DxgiObject("IDXGIOutputDuplication", call),
        m_monitor(monitor.handle),
        m_width(static_cast<UINT>(monitor.rect.right - monitor.rect.left)),
        m_height(static_cast<UINT>(monitor.rect.bottom - monitor.rect.top)) {}

  void STDMETHODCALLTYPE GetDesc(DXGI_OUTDUPL_DESC* desc) override {
    VWIN_CALL_INFALLIBLE(IDXGIOutputDuplication::GetDesc);
    checkAlive("IDXGIOutputDuplication::GetDesc");
    *desc = {};
    desc->ModeDesc.Width = m_width;
    desc->ModeDesc.Height = m_height;
    desc->ModeDesc.RefreshRate = {60, 1};
    desc->ModeDesc.Format = DXGI_FORMAT_B8G8R8A8_UNORM;
    desc->Rotation = DXGI_MODE_ROTATION_IDENTITY;
  }
  HRESULT STDMETHODCALLTYPE AcquireNextFrame(UINT timeoutMs, DXGI_OUTDUPL_FRAME_INFO*,
                                             IDXGIResource**) override {
    VWIN_METHOD(IDXGIOutputDuplication::AcquireNextFrame);
    if (fault) return fault->hresult;
    Lock lock;
    scheduler::WaitUntil(
        lock, "AcquireNextFrame", [] { return false; }, threads::Deadline(lock, timeoutMs));
    return DXGI_ERROR_WAIT_TIMEOUT;
  }
  HRESULT STDMETHODCALLTYPE GetFrameDirtyRects(UINT, RECT*, UINT*) override {
    return notProvided("IDXGIOutputDuplication::GetFrameDirtyRects");
  }
  HRESULT STDMETHODCALLTYPE GetFrameMoveRects(UINT, DXGI_OUTDUPL_MOVE_RECT*, UINT*) override {
    return notProvided("IDXGIOutputDuplication::GetFrameMoveRects");
  }
  HRESULT STDMETHODCALLTYPE GetFramePointerShape(UINT, void*, UINT*,
                                                 DXGI_OUTDUPL_POINTER_SHAPE_INFO*) override {
    return notProvided("IDXGIOutputDuplication::GetFramePointerShape");
  }
  HRESULT STDMETHODCALLTYPE MapDesktopSurface(DXGI_MAPPED_RECT*) override {
    return notProvided("IDXGIOutputDuplication::MapDesktopSurface");
  }
  HRESULT STDMETHODCALLTYPE UnMapDesktopSurface() override {
    return notProvided("IDXGIOutputDuplication::UnMapDesktopSurface");
  }
  HRESULT STDMETHODCALLTYPE ReleaseFrame() override {
    VWIN_METHOD(IDXGIOutputDuplication::ReleaseFrame);
    return fault ? fault->hresult : DXGI_ERROR_INVALID_CALL;
  }

 private:
  void onLastRelease(Lock& lock) override { TheMachine(lock).duplicated.erase(m_monitor); }

  const HMONITOR m_monitor;
  const UINT m_width;
  const UINT m_height;
};

class Output final : public DxgiObject<IDXGIOutput1> {
 public:
  Output(HMONITOR monitor, const char* call)
      : DxgiObject("IDXGIOutput", call), m_monitor(monitor) {}

  HRESULT STDMETHODCALLTYPE GetDesc(DXGI_OUTPUT_DESC* desc) override {
    VWIN_METHOD(IDXGIOutput::GetDesc);
    if (desc == nullptr) return E_INVALIDARG;
    if (fault) return fault->hresult;
    *desc = {};
    desc->Monitor = m_monitor;
    desc->Rotation = DXGI_MODE_ROTATION_IDENTITY;
    Lock lock;
    if (const auto monitor = desktop::FindMonitor(lock, m_monitor)) {
      CopyText(desc->DeviceName, monitor->device);
      desc->DesktopCoordinates = monitor->rect;
      desc->AttachedToDesktop = TRUE;
    }
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE DuplicateOutput(IUnknown* device,
                                            IDXGIOutputDuplication** duplication) override {
    VWIN_METHOD(IDXGIOutput1::DuplicateOutput);
    if (device == nullptr || duplication == nullptr) return E_INVALIDARG;
    *duplication = nullptr;
    if (fault) return fault->hresult;
    std::shared_ptr<Monitor> monitor;
    {
      Lock lock;
      Machine& machine = TheMachine(lock);
      if (FAILED(machine.duplicateResult)) return machine.duplicateResult;
      if (machine.locked || machine.secureDesktop) return E_ACCESSDENIED;
      monitor = desktop::FindMonitor(lock, m_monitor);
      if (!monitor) return DXGI_ERROR_NOT_CURRENTLY_AVAILABLE;
      if (!machine.duplicated.insert(m_monitor).second) return E_INVALIDARG;
    }
    return Duplication::Make<Duplication>(IID_IDXGIOutputDuplication,
                                          reinterpret_cast<void**>(duplication), *monitor,
                                          "IDXGIOutput1::DuplicateOutput");
  }

  HRESULT STDMETHODCALLTYPE GetDisplayModeList(DXGI_FORMAT, UINT, UINT*, DXGI_MODE_DESC*) override {
    return notProvided("IDXGIOutput::GetDisplayModeList");
  }
  HRESULT STDMETHODCALLTYPE FindClosestMatchingMode(const DXGI_MODE_DESC*, DXGI_MODE_DESC*,
                                                    IUnknown*) override {
    return notProvided("IDXGIOutput::FindClosestMatchingMode");
  }
  HRESULT STDMETHODCALLTYPE WaitForVBlank() override {
    return notProvided("IDXGIOutput::WaitForVBlank");
  }
  HRESULT STDMETHODCALLTYPE TakeOwnership(IUnknown*, BOOL) override {
    return notProvided("IDXGIOutput::TakeOwnership");
  }
  void STDMETHODCALLTYPE ReleaseOwnership() override {
    (void)notProvided("IDXGIOutput::ReleaseOwnership");
  }
  HRESULT STDMETHODCALLTYPE GetGammaControlCapabilities(DXGI_GAMMA_CONTROL_CAPABILITIES*) override {
    return notProvided("IDXGIOutput::GetGammaControlCapabilities");
  }
  HRESULT STDMETHODCALLTYPE SetGammaControl(const DXGI_GAMMA_CONTROL*) override {
    return notProvided("IDXGIOutput::SetGammaControl");
  }
  HRESULT STDMETHODCALLTYPE GetGammaControl(DXGI_GAMMA_CONTROL*) override {
    return notProvided("IDXGIOutput::GetGammaControl");
  }
  HRESULT STDMETHODCALLTYPE SetDisplaySurface(IDXGISurface*) override {
    return notProvided("IDXGIOutput::SetDisplaySurface");
  }
  HRESULT STDMETHODCALLTYPE GetDisplaySurfaceData(IDXGISurface*) override {
    return notProvided("IDXGIOutput::GetDisplaySurfaceData");
  }
  HRESULT STDMETHODCALLTYPE GetFrameStatistics(DXGI_FRAME_STATISTICS*) override {
    return notProvided("IDXGIOutput::GetFrameStatistics");
  }
  HRESULT STDMETHODCALLTYPE GetDisplayModeList1(DXGI_FORMAT, UINT, UINT*,
                                                DXGI_MODE_DESC1*) override {
    return notProvided("IDXGIOutput1::GetDisplayModeList1");
  }
  HRESULT STDMETHODCALLTYPE FindClosestMatchingMode1(const DXGI_MODE_DESC1*, DXGI_MODE_DESC1*,
                                                     IUnknown*) override {
    return notProvided("IDXGIOutput1::FindClosestMatchingMode1");
  }
  HRESULT STDMETHODCALLTYPE GetDisplaySurfaceData1(IDXGIResource*) override {
    return notProvided("IDXGIOutput1::GetDisplaySurfaceData1");
  }

 private:
  // Desktop duplication came with Windows 8.
  bool has(REFIID iid) const override {
    Lock lock;
    return iid != IID_IDXGIOutput1 || TheMachine(lock).version >= kWindows8;
  }

  const HMONITOR m_monitor;
};

class AdapterObject final : public DxgiObject<IDXGIAdapter1> {
 public:
  AdapterObject(std::size_t index, const Adapter& facts, const char* call)
      : DxgiObject("IDXGIAdapter", call), m_index(index), m_facts(facts) {}

  HRESULT STDMETHODCALLTYPE GetParent(REFIID iid, void** parent) override {
    VWIN_METHOD(IDXGIAdapter::GetParent);
    if (parent == nullptr) return E_POINTER;
    *parent = nullptr;
    return fault ? fault->hresult : MakeFactory(iid, parent, "IDXGIAdapter::GetParent");
  }
  HRESULT STDMETHODCALLTYPE EnumOutputs(UINT index, IDXGIOutput** output) override {
    VWIN_METHOD(IDXGIAdapter::EnumOutputs);
    if (output == nullptr) return E_INVALIDARG;
    *output = nullptr;
    if (fault) return fault->hresult;
    HMONITOR monitor = nullptr;
    {
      // All monitors hang on the first adapter.
      Lock lock;
      const auto& monitors = desktop::Get(lock).monitors;
      if (m_index != 0 || index >= monitors.size()) return DXGI_ERROR_NOT_FOUND;
      monitor = monitors[index]->handle;
    }
    return Output::Make<Output>(IID_IDXGIOutput, reinterpret_cast<void**>(output), monitor,
                                "IDXGIAdapter::EnumOutputs");
  }
  HRESULT STDMETHODCALLTYPE GetDesc(DXGI_ADAPTER_DESC*) override {
    return notProvided("IDXGIAdapter::GetDesc");
  }
  HRESULT STDMETHODCALLTYPE CheckInterfaceSupport(REFGUID, LARGE_INTEGER*) override {
    return notProvided("IDXGIAdapter::CheckInterfaceSupport");
  }
  HRESULT STDMETHODCALLTYPE GetDesc1(DXGI_ADAPTER_DESC1* desc) override {
    VWIN_METHOD(IDXGIAdapter1::GetDesc1);
    if (desc == nullptr) return E_INVALIDARG;
    if (fault) return fault->hresult;
    *desc = {};
    CopyText(desc->Description, m_facts.description);
    desc->VendorId = m_facts.vendorId;
    desc->DeviceId = m_facts.deviceId;
    desc->AdapterLuid.LowPart = static_cast<DWORD>(m_index + 1);
    return S_OK;
  }

 private:
  const std::size_t m_index;
  const Adapter m_facts;
};

class Factory final : public DxgiObject<IDXGIFactory1> {
 public:
  explicit Factory(const char* call) : DxgiObject("IDXGIFactory", call) {}

  HRESULT STDMETHODCALLTYPE EnumAdapters(UINT, IDXGIAdapter**) override {
    return notProvided("IDXGIFactory::EnumAdapters");
  }
  HRESULT STDMETHODCALLTYPE MakeWindowAssociation(HWND, UINT) override {
    return notProvided("IDXGIFactory::MakeWindowAssociation");
  }
  HRESULT STDMETHODCALLTYPE GetWindowAssociation(HWND*) override {
    return notProvided("IDXGIFactory::GetWindowAssociation");
  }
  HRESULT STDMETHODCALLTYPE CreateSwapChain(IUnknown*, DXGI_SWAP_CHAIN_DESC*,
                                            IDXGISwapChain**) override {
    return notProvided("IDXGIFactory::CreateSwapChain");
  }
  HRESULT STDMETHODCALLTYPE CreateSoftwareAdapter(HMODULE, IDXGIAdapter**) override {
    return notProvided("IDXGIFactory::CreateSoftwareAdapter");
  }
  HRESULT STDMETHODCALLTYPE EnumAdapters1(UINT index, IDXGIAdapter1** adapter) override {
    VWIN_METHOD(IDXGIFactory1::EnumAdapters1);
    if (adapter == nullptr) return DXGI_ERROR_INVALID_CALL;
    *adapter = nullptr;
    if (fault) return fault->hresult;
    return MakeAdapter(index, IID_IDXGIAdapter1, reinterpret_cast<void**>(adapter),
                       "IDXGIFactory1::EnumAdapters1");
  }
  BOOL STDMETHODCALLTYPE IsCurrent() override {
    (void)notProvided("IDXGIFactory1::IsCurrent");
    return FALSE;
  }
};

}  // namespace

HRESULT MakeFactory(REFIID iid, void** factory, const char* call) {
  return Factory::Make<Factory>(iid, factory, call);
}

HRESULT MakeAdapter(std::size_t index, REFIID iid, void** adapter, const char* call) {
  Adapter facts;
  {
    Lock lock;
    const auto& adapters = TheMachine(lock).adapters;
    if (index >= adapters.size()) return DXGI_ERROR_NOT_FOUND;
    facts = adapters[index];
  }
  return AdapterObject::Make<AdapterObject>(iid, adapter, index, facts, call);
}

}  // namespace dxgi
}  // namespace vwin
