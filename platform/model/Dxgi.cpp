#include "platform/model/Dxgi.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "platform/model/D3D11Device.h"
#include "platform/model/Desktop.h"
#include "platform/model/Duplication.h"
#include "platform/model/Machine.h"

namespace vwin {

VWIN_INTERFACE_IDS(IDXGIFactory1, &IID_IDXGIObject, &IID_IDXGIFactory, &IID_IDXGIFactory1);
VWIN_INTERFACE_IDS(IDXGIAdapter1, &IID_IDXGIObject, &IID_IDXGIAdapter, &IID_IDXGIAdapter1);
VWIN_INTERFACE_IDS(IDXGIOutput1, &IID_IDXGIObject, &IID_IDXGIOutput, &IID_IDXGIOutput1);

namespace dxgi {
namespace {

template <std::size_t Size>
void CopyText(WCHAR (&to)[Size], const std::wstring& from) {
  const std::size_t length = std::min(from.size(), Size - 1);
  std::fill(std::copy_n(from.begin(), length, std::begin(to)), std::end(to), L'\0');
}

class Output final : public ComImplementation<IDXGIOutput1> {
 public:
  Output(HMONITOR monitor, const char* call)
      : ComImplementation("IDXGIOutput", call), m_monitor(monitor) {}

  HRESULT STDMETHODCALLTYPE GetDesc(DXGI_OUTPUT_DESC* desc) override {
    VWIN_METHOD(IDXGIOutput::GetDesc);
    if (desc == nullptr) return E_INVALIDARG;
    if (fault) return fault->hresult;
    *desc = {};
    Lock lock;
    const auto monitor = desktop::FindMonitor(lock, m_monitor);
    if (!monitor) return S_OK;  // unplugged
    CopyText(desc->DeviceName, monitor->device);
    if (monitor->attached) {
      desc->DesktopCoordinates = monitor->rect;
      desc->AttachedToDesktop = TRUE;
      desc->Rotation = RotationOf(*monitor);
      desc->Monitor = m_monitor;
    }
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE DuplicateOutput(IUnknown* device,
                                            IDXGIOutputDuplication** duplication) override {
    VWIN_METHOD(IDXGIOutput1::DuplicateOutput);
    if (device == nullptr || duplication == nullptr) return E_INVALIDARG;
    *duplication = nullptr;
    if (fault) return fault->hresult;
    const d3d11::DeviceOnAdapter user = d3d11::DeviceOf(device);
    if (user.device == nullptr) return E_INVALIDARG;
    Monitor facts;
    {
      Lock lock;
      Machine& machine = TheMachine(lock);
      if (FAILED(machine.duplicateResult)) return machine.duplicateResult;
      if (machine.locked || machine.secureDesktop) return E_ACCESSDENIED;
      const auto monitor = desktop::FindMonitor(lock, m_monitor);
      if (!monitor || !monitor->attached) return DXGI_ERROR_NOT_CURRENTLY_AVAILABLE;
      if (user.adapter != monitor->adapter) return E_INVALIDARG;
      if (!machine.duplicated.insert(m_monitor).second) return E_INVALIDARG;
      facts = *monitor;
    }
    return MakeDuplication(user.device, facts, duplication);
  }

 private:
  // Desktop duplication came with Windows 8.
  bool has(REFIID iid) const override {
    Lock lock;
    return iid != IID_IDXGIOutput1 || TheMachine(lock).version >= kWindows8;
  }

  const HMONITOR m_monitor;
};

class AdapterObject final : public ComImplementation<IDXGIAdapter1> {
 public:
  AdapterObject(std::size_t index, const Adapter& facts, const char* call)
      : ComImplementation("IDXGIAdapter", call), m_index(index), m_facts(facts) {}

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
      Lock lock;
      UINT position = 0;
      for (const auto& plugged : desktop::Get(lock).monitors) {
        if (plugged->adapter == m_index && position++ == index) monitor = plugged->handle;
      }
    }
    if (monitor == nullptr) return DXGI_ERROR_NOT_FOUND;
    return Output::Make<Output>(IID_IDXGIOutput, reinterpret_cast<void**>(output), monitor,
                                "IDXGIAdapter::EnumOutputs");
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

class Factory final : public ComImplementation<IDXGIFactory1> {
 public:
  explicit Factory(const char* call) : ComImplementation("IDXGIFactory", call) {}

  HRESULT STDMETHODCALLTYPE EnumAdapters1(UINT index, IDXGIAdapter1** adapter) override {
    VWIN_METHOD(IDXGIFactory1::EnumAdapters1);
    if (adapter == nullptr) return DXGI_ERROR_INVALID_CALL;
    *adapter = nullptr;
    if (fault) return fault->hresult;
    return MakeAdapter(index, IID_IDXGIAdapter1, reinterpret_cast<void**>(adapter),
                       "IDXGIFactory1::EnumAdapters1");
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
