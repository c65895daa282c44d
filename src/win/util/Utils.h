#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace qx {

// Whether a 32-bit picture is essentially empty: at least 4 of 16 samples spread
// over it are entirely zero, alpha included. `stride` is bytes per row. A null
// picture is empty. Costs the same for every size.
bool isTransparentFrame(const std::uint32_t* pixels, int width, int height, int stride);

// Names the calling thread for debuggers and tools. `name` is UTF-8; a name of
// 64 wide characters or more reaches an attached debugger only.
void SetCurrentThreadName(const char* name);

// The module that holds this library's code. Borrowed, never to be freed.
HMODULE GetCurrentModuleHandle();

// One 32-bit value of the registry. Answer the system's status, 0 for success,
// 87 for an empty name. Reading does not look at the stored type.
std::int32_t ReadRegistryDword(HKEY root, const char* subKey, const char* valueName,
                               std::uint32_t* value);
std::int32_t WriteRegistryDword(HKEY root, const char* subKey, const char* valueName,
                                const std::uint32_t* value);

// Into `out`. Answers the bytes written; 0 also when they don't fit.
std::size_t WideToUtf8(std::wstring_view text, std::span<char> out);

// A function of a loaded module, or null. `Function` is its pointer type.
template <typename Function>
Function FindFunction(HMODULE module, const char* name) {
  // By way of void*, since compilers warn of a cast between function types.
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

// Ids that the host sees are the low 32 bits of a window or monitor handle; a
// handle made of one again is sign-extended, as the system itself does it.
inline std::int32_t HandleToId(const void* handle) {
  return static_cast<std::int32_t>(reinterpret_cast<std::intptr_t>(handle));
}
template <typename T>
T IdToHandle(std::int32_t id) {
  return reinterpret_cast<T>(static_cast<std::intptr_t>(id));
}

}  // namespace qx
