// combase: strings of the Windows Runtime, and the factories of its classes.
#include <combaseapi.h>

#include <algorithm>
#include <optional>
#include <string>

#include "platform/model/Faults.h"
#include "platform/model/GraphicsCaptureItem.h"
#include "platform/model/GraphicsCapturePool.h"
#include "platform/model/Machine.h"
#include "platform/model/Modules.h"
#include "platform/model/RuntimeStrings.h"

using namespace vwin;

namespace {

constexpr Version kCaptureSince{10, 0, 18362};

// One that never entered COM may call while another one of the process is in the
// multithreaded apartment.
bool isInApartment(Lock& lock) {
  const auto& apartments = TheMachine(lock).apartments;
  return std::any_of(apartments.begin(), apartments.end(), [](const auto& entry) {
    const auto& [thread, apartment] = entry;
    return apartment.count > 0 &&
           (apartment.model == COINIT_MULTITHREADED || thread == scheduler::CurrentThreadId());
  });
}

}  // namespace

HRESULT WINAPI RoGetActivationFactory(wgc::HSTRING className, REFIID iid, void** factory) {
  VWIN_CALL(RoGetActivationFactory);
  if (factory == nullptr) return E_POINTER;
  *factory = nullptr;
  if (fault) return fault->hresult;
  std::optional<std::wstring> name;
  {
    Lock lock;
    if (!isInApartment(lock)) return CO_E_NOTINITIALIZED;
    name = runtime_strings::TextOf(lock, className, "RoGetActivationFactory");
    if (!name) return E_INVALIDARG;
    const Machine& machine = TheMachine(lock);
    if (machine.version < kCaptureSince) return REGDB_E_CLASSNOTREG;
    if (FAILED(machine.captureClassResult)) return machine.captureClassResult;
  }
  if (*name == L"Windows.Graphics.Capture.GraphicsCaptureItem")
    return capture::MakeItemFactory(iid, factory);
  if (*name == L"Windows.Graphics.Capture.Direct3D11CaptureFramePool")
    return capture::MakePoolFactory(iid, factory);
  return REGDB_E_CLASSNOTREG;
}

HRESULT WINAPI WindowsCreateString(const WCHAR* text, UINT32 length, wgc::HSTRING* string) {
  VWIN_CALL(WindowsCreateString);
  if (string == nullptr) return E_INVALIDARG;
  *string = nullptr;
  if (fault) return fault->hresult;
  if (text == nullptr && length != 0) return E_POINTER;
  Lock lock;
  *string = runtime_strings::Make(lock, std::wstring(text, text + length), "WindowsCreateString");
  return S_OK;
}

// Never fails on Windows.
HRESULT WINAPI WindowsDeleteString(wgc::HSTRING string) {
  VWIN_CALL_INFALLIBLE(WindowsDeleteString);
  Lock lock;
  runtime_strings::Delete(lock, string);
  return S_OK;
}
