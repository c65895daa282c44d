#pragma once

#include <qx-screen-capture-c.h>

#include <cstdint>
#include <memory>
#include <utility>

#include "c/Objects.h"
#include "common/EndedByException.h"

namespace qx::c {

// Every function of the interface is done in here: nothing is thrown at a host.
template <typename Call>
auto Closed(decltype(std::declval<Call>()()) failed, Call call) noexcept {
  try {
    return call();
  } catch (...) {
    return failed;
  }
}

template <typename Call>
qx_result Closed(Call call) noexcept {
  return Closed(qx_result{QX_ERROR_FAILED}, call);
}

// An array without items may be null.
template <typename Item>
bool IsArray(const Item* items, std::int32_t count) {
  return count == 0 || (items && count > 0);
}

// Does `call` with the object, which lives at least as long as that takes.
template <typename Call>
qx_result WithCapture(const qx_screen_capture* handle, Call call) noexcept {
  return Closed([&]() -> qx_result {
    const std::shared_ptr<SharingObject> object = Objects::Instance().captures.Find(handle);
    return object ? call(*object) : QX_ERROR_OBJECT;
  });
}

// The same for an operation of the library that has no answer, not even that it failed.
template <typename Call>
qx_result WithLibrary(const qx_screen_capture* handle, bool argumentsAreValid, Call call) noexcept {
  return WithCapture(handle, [&](SharingObject& object) -> qx_result {
    if (!argumentsAreValid) {
      return QX_ERROR_ARGUMENT;
    }
    const std::uint32_t before = EndedByException();
    call(object.Library());
    return EndedByException() == before ? QX_OK : QX_ERROR_FAILED;
  });
}

}  // namespace qx::c
