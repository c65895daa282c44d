// Base of the stand-in's COM objects.
#pragma once

#include <unknwn.h>

#include <atomic>
#include <utility>

#include "platform/model/Faults.h"
#include "platform/model/Scheduler.h"

namespace vwin {

// One object: its reference count and its entry in the ledger ("COM reference"). It
// starts with one reference, the caller's.
//
// An object that was released for the last time stays in memory as a shell until
// the process ends, so that a later use is a recorded misuse and nothing worse.
class ComObject {
 public:
  ComObject(const ComObject&) = delete;
  ComObject& operator=(const ComObject&) = delete;

 protected:
  // `name` is the class as it shows in the ledger, `call` the function that makes it;
  // both are literals.
  ComObject(const char* name, const char* call);
  virtual ~ComObject() = default;

  ULONG addRef();
  // For who finds the object by itself, with the lock held: false after the last release.
  bool addRefIfAlive();
  ULONG release();
  // What ends with the last reference; and what of it must be done without the lock,
  // such as releasing other objects.
  virtual void onLastRelease(Lock&) {}
  virtual void afterLastRelease() {}
  // Records a use after the last release.
  void checkAlive(const char* call);
  // Records a call that comes at the wrong time; it answers `result`.
  static HRESULT outOfOrder(Lock& lock, const char* what, HRESULT result);

 private:
  const char* m_name;
  std::atomic<ULONG> m_count{1};
};

// The ids under which a pointer to `Interface` is handed out: its own and those of its
// bases but IUnknown.
template <typename Interface>
struct InterfaceIds;

// IUnknown's functions for an object with the interfaces `First` and `Others`.
template <typename First, typename... Others>
class ComImplementation : public ComObject, public First, public Others... {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    VWIN_CALL(IUnknown::QueryInterface);
    checkAlive("IUnknown::QueryInterface");
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    return fault ? fault->hresult : query(iid, object);
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return addRef(); }
  ULONG STDMETHODCALLTYPE Release() override { return release(); }

  // Makes an object of class T and hands out its interface `iid`.
  template <typename T, typename... Arguments>
  static HRESULT Make(REFIID iid, void** object, Arguments&&... arguments) {
    *object = nullptr;
    T* const made = new T(std::forward<Arguments>(arguments)...);
    const HRESULT result = made->query(iid, object);
    made->release();
    return result;
  }

 protected:
  using ComObject::ComObject;

  HRESULT query(REFIID iid, void** object) {
    if (iid == IID_IUnknown) *object = static_cast<First*>(this);
    (void)(offer<First>(iid, object) || ... || offer<Others>(iid, object));
    if (*object == nullptr) return E_NOINTERFACE;
    addRef();
    return S_OK;
  }

  // False for an interface that this version of Windows lacks.
  virtual bool has(REFIID) const { return true; }

 private:
  template <typename Interface>
  bool offer(REFIID iid, void** object) {
    if (*object != nullptr || !has(iid)) return *object != nullptr;
    for (const IID* known : InterfaceIds<Interface>::kIds) {
      if (iid == *known) *object = static_cast<Interface*>(this);
    }
    return *object != nullptr;
  }
};

#define VWIN_INTERFACE_IDS(interface, ...)              \
  template <>                                           \
  struct InterfaceIds<interface> {                      \
    static constexpr const IID* kIds[] = {__VA_ARGS__}; \
  }

// First line of a COM function: counts, looks for a fault, and checks the object.
#define VWIN_METHOD(function) \
  VWIN_CALL(function);        \
  this->checkAlive(#function)
// Of one that can't fail.
#define VWIN_METHOD_INFALLIBLE(function) \
  VWIN_CALL_INFALLIBLE(function);        \
  this->checkAlive(#function)

}  // namespace vwin
