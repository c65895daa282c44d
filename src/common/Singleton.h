#pragma once

#include <cstddef>
#include <new>

namespace qx {

// Base of the process-wide objects. The one `T` is built at the first use, by
// whichever thread comes first, and is never destroyed: threads and hooks of
// the library may still need it while the process ends. It lives in static
// storage, so that getting at it can't fail.
//
// `T` makes its constructor private and befriends Singleton<T>.
template <typename T>
class Singleton {
 public:
  static T& Instance() {
    alignas(T) static std::byte storage[sizeof(T)];
    static T* const instance = new (storage) T;
    return *instance;
  }

  Singleton(const Singleton&) = delete;
  Singleton& operator=(const Singleton&) = delete;
  virtual ~Singleton() = default;

 protected:
  Singleton() = default;
};

}  // namespace qx
