#include <shobjidl.h>

#include "platform/model/ComObject.h"
#include "platform/model/HandleTable.h"
#include "platform/model/Ledger.h"
#include "platform/model/Machine.h"
#include "platform/model/Streams.h"

namespace vwin {

VWIN_INTERFACE_IDS(IVirtualDesktopManager, &IID_IVirtualDesktopManager);

namespace {

constexpr const char* kLedgerKind = "COM initialisation";

class VirtualDesktopManager final : public ComImplementation<IVirtualDesktopManager> {
 public:
  VirtualDesktopManager() : ComImplementation("VirtualDesktopManager", "CoCreateInstance") {}

  HRESULT STDMETHODCALLTYPE IsWindowOnCurrentVirtualDesktop(HWND window,
                                                            BOOL* onCurrentDesktop) override {
    VWIN_METHOD(IVirtualDesktopManager::IsWindowOnCurrentVirtualDesktop);
    if (onCurrentDesktop == nullptr) return E_INVALIDARG;
    if (fault) return fault->hresult;
    Lock lock;
    scheduler::WaitUntil(lock, "IVirtualDesktopManager::IsWindowOnCurrentVirtualDesktop",
                         [&] { return !TheMachine(lock).shellHangs; });
    if (handles::KindOf(lock, window) != HandleKind::kWindow) return TYPE_E_ELEMENTNOTFOUND;
    *onCurrentDesktop = TheMachine(lock).onOtherVirtualDesktop.count(window) == 0;
    return S_OK;
  }
};

}  // namespace
}  // namespace vwin

using namespace vwin;

HRESULT WINAPI CoInitializeEx(LPVOID, DWORD model) {
  VWIN_CALL(CoInitializeEx);
  if (fault) return fault->hresult;
  Lock lock;
  const std::uint32_t thread = scheduler::CurrentThreadId();
  Machine::Apartment& apartment = TheMachine(lock).apartments[thread];
  if (apartment.count != 0 && apartment.model != model) return RPC_E_CHANGED_MODE;
  apartment.model = model;
  ledger::Take(lock, kLedgerKind, thread, "CoInitializeEx");
  return apartment.count++ == 0 ? S_OK : S_FALSE;
}

void WINAPI CoUninitialize() {
  VWIN_CALL_INFALLIBLE(CoUninitialize);
  Lock lock;
  const std::uint32_t thread = scheduler::CurrentThreadId();
  Machine::Apartment& apartment = TheMachine(lock).apartments[thread];
  if (apartment.count == 0) {
    ledger::Misuse(lock, "CoUninitialize: the thread has not entered COM");
    return;
  }
  --apartment.count;
  ledger::Return(lock, kLedgerKind, thread);
}

HRESULT WINAPI CreateStreamOnHGlobal(HGLOBAL memory, BOOL freeWithStream, LPSTREAM* stream) {
  VWIN_CALL(CreateStreamOnHGlobal);
  if (!stream) return E_INVALIDARG;
  *stream = nullptr;
  if (fault) return fault->hresult;
  return streams::Create(memory, freeWithStream != FALSE, stream);
}

HRESULT WINAPI GetHGlobalFromStream(LPSTREAM stream, HGLOBAL* memory) {
  VWIN_CALL(GetHGlobalFromStream);
  if (!stream || !memory) return E_INVALIDARG;
  if (fault) return fault->hresult;
  const std::optional<HGLOBAL> known = streams::MemoryOf(stream);
  if (!known) return E_INVALIDARG;
  *memory = *known;
  return S_OK;
}

HRESULT WINAPI CoCreateInstance(REFCLSID classId, LPUNKNOWN outer, DWORD, REFIID iid,
                                LPVOID* object) {
  VWIN_CALL(CoCreateInstance);
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (fault) return fault->hresult;
  {
    // Windows lets a thread that never entered COM pass while any other thread of the
    // process is in the multithreaded apartment. Nobody should live on that luck.
    Lock lock;
    const Machine& machine = TheMachine(lock);
    const auto apartment = machine.apartments.find(scheduler::CurrentThreadId());
    if (apartment == machine.apartments.end() || apartment->second.count == 0) {
      return CO_E_NOTINITIALIZED;
    }
    if (classId != CLSID_VirtualDesktopManager || !machine.virtualDesktopManager ||
        machine.version < kFirstWindows10) {
      return REGDB_E_CLASSNOTREG;
    }
  }
  if (outer != nullptr) return CLASS_E_NOAGGREGATION;
  return VirtualDesktopManager::Make<VirtualDesktopManager>(iid, object);
}
