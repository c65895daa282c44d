#pragma once

#include <unknwn.h>
#include <windows.h>

#include <cstddef>
#include <utility>

namespace qx {

// Owns one reference to a COM object.
template <typename T>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(std::nullptr_t) {}
  // Shares a borrowed pointer: takes a reference of its own.
  explicit ComPtr(T* borrowed) : m_object(borrowed) {
    if (m_object) {
      m_object->AddRef();
    }
  }
  ComPtr(const ComPtr& other) : ComPtr(other.m_object) {}
  ComPtr(ComPtr&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
  ComPtr& operator=(ComPtr other) noexcept {
    std::swap(m_object, other.m_object);
    return *this;
  }
  ~ComPtr() { Reset(); }

  T* Get() const { return m_object; }
  T* operator->() const { return m_object; }
  explicit operator bool() const { return m_object != nullptr; }

  void Reset() {
    if (T* old = std::exchange(m_object, nullptr)) {
      old->Release();
    }
  }

  // For a function that hands out a reference. What was held is released first.
  T** Put() {
    Reset();
    return &m_object;
  }
  void** PutVoid() { return reinterpret_cast<void**>(Put()); }

  // QueryInterface for `iid`, which is U's. `out` is null on failure. Not for a
  // null pointer.
  template <typename U>
  HRESULT As(REFIID iid, ComPtr<U>& out) const {
    return m_object->QueryInterface(iid, out.PutVoid());
  }

 private:
  T* m_object = nullptr;
};

}  // namespace qx
