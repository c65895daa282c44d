#include "win/util/Utils.h"

#include "common/Logging.h"
#include "win/util/Handles.h"
#include "win/util/StructuredGuard.h"

namespace qx {

namespace {

constexpr int kTransparentSamples = 4;

bool IsEmpty(const char* text) { return !text || *text == '\0'; }

// The protocol by which debuggers without thread descriptions learn a name.
void TellDebugger(const char* name) {
  constexpr DWORD kNameThread = 0x406D1388;
  struct {
    DWORD type = 0x1000;
    const char* name = nullptr;
    DWORD threadId = 0xFFFFFFFF;  // the calling one
    DWORD flags = 0;
  } const info = {.name = name};
  ULONG_PTR arguments[sizeof(info) / sizeof(ULONG_PTR)];
  memcpy(arguments, &info, sizeof(info));
  // Without a debugger nobody takes the exception, and it ends here.
  static_cast<void>(RunGuarded([&] {
    RaiseException(kNameThread, 0, static_cast<DWORD>(std::size(arguments)), arguments);
  }));
}

}  // namespace

bool isTransparentFrame(const std::uint32_t* pixels, int width, int height, int stride) {
  if (!pixels) {
    return true;
  }
  const int stepX = width / 4;
  const std::ptrdiff_t stepY = static_cast<std::ptrdiff_t>(height / 4) * (stride / 4);
  int count = 0;
  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 4; ++column) {
      count += pixels[column * stepX + row * stepY] == 0 ? 1 : 0;
    }
  }
  if (count > 0) {
    QX_LOG_LIMITED(LogLevelInfo,
                   "isTransparentFrame check transparentCount:{}, image width * height = {} * {}",
                   count, width, height);
  }
  return count >= kTransparentSamples;
}

void SetCurrentThreadName(const char* name) {
  using Describe = HRESULT(WINAPI*)(HANDLE, PCWSTR);
  // Came with Windows 10.
  static const auto describe =
      FindFunction<Describe>(GetModuleHandleA("Kernel32.dll"), "SetThreadDescription");
  if (describe) {
    wchar_t wide[64];
    // Fails for a name that does not fit.
    if (MultiByteToWideChar(CP_UTF8, 0, name, -1, wide, static_cast<int>(std::size(wide))) > 0) {
      static_cast<void>(describe(GetCurrentThread(), wide));  // nothing depends on it
    }
  }
  TellDebugger(name);
}

HMODULE GetCurrentModuleHandle() {
  HMODULE module = nullptr;
  GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<LPCWSTR>(&GetCurrentModuleHandle), &module);
  return module;
}

std::int32_t ReadRegistryDword(HKEY root, const char* subKey, const char* valueName,
                               std::uint32_t* value) {
  if (IsEmpty(subKey) || IsEmpty(valueName)) {
    return ERROR_INVALID_PARAMETER;
  }
  RegistryKey key;
  LSTATUS status = RegOpenKeyExA(root, subKey, 0, KEY_READ, key.Put());
  if (status == ERROR_SUCCESS) {
    DWORD size = sizeof(*value);
    status = RegQueryValueExA(key.Get(), valueName, nullptr, nullptr,
                              reinterpret_cast<BYTE*>(value), &size);
  }
  return static_cast<std::int32_t>(status);
}

std::int32_t WriteRegistryDword(HKEY root, const char* subKey, const char* valueName,
                                const std::uint32_t* value) {
  if (IsEmpty(subKey) || IsEmpty(valueName)) {
    return ERROR_INVALID_PARAMETER;
  }
  RegistryKey key;
  LSTATUS status = RegOpenKeyExA(root, subKey, 0, KEY_WRITE, key.Put());
  if (status == ERROR_SUCCESS) {
    status = RegSetValueExA(key.Get(), valueName, 0, REG_DWORD,
                            reinterpret_cast<const BYTE*>(value), sizeof(*value));
  }
  return static_cast<std::int32_t>(status);
}

std::size_t WideToUtf8(std::wstring_view text, std::span<char> out) {
  if (text.empty()) {
    return 0;
  }
  return static_cast<std::size_t>(
      WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), out.data(),
                          static_cast<int>(out.size()), nullptr, nullptr));
}

}  // namespace qx
