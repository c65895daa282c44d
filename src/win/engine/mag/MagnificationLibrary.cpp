#include "win/engine/mag/MagnificationLibrary.h"

#include <atomic>
#include <optional>

#include "common/Logging.h"
#include "win/util/RunClosed.h"
#include "win/util/StructuredGuard.h"
#include "win/util/Utils.h"

namespace qx::Magnification {
namespace {

template <typename... Arguments>
class Function {
 public:
  explicit Function(const char* name) : m_name(name), m_address(find(name)) {}

  bool IsThere() const { return m_address != nullptr; }

  // Nothing when it could not be called.
  std::optional<bool> operator()(Arguments... arguments) {
    if (!m_address) {
      return std::nullopt;
    }
    BOOL answer = FALSE;
    bool completed = false;
    RunClosed(m_name, [&] { completed = RunGuarded([&] { answer = m_address(arguments...); }); });
    if (!completed) {
      if (!m_raised.exchange(true)) {
        QX_LOG_WARN("{} raised an exception", m_name);
      }
      return std::nullopt;
    }
    return answer != FALSE;
  }

 private:
  using Address = BOOL(WINAPI*)(Arguments...);

  static Address find(const char* name) {
    static const HMODULE library =
        LoadLibraryExW(L"Magnification.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    return library ? FindFunction<Address>(library, name) : nullptr;
  }

  const char* const m_name;
  const Address m_address;
  std::atomic<bool> m_raised = false;
};

auto& Initialize() {
  static Function<> function("MagInitialize");
  return function;
}

auto& Uninitialize() {
  static Function<> function("MagUninitialize");
  return function;
}

auto& SetWindowSource() {
  static Function<HWND, RECT> function("MagSetWindowSource");
  return function;
}

auto& SetWindowFilterList() {
  static Function<HWND, DWORD, int, HWND*> function("MagSetWindowFilterList");
  return function;
}

auto& SetColorEffect() {
  static Function<HWND, ColorEffect*> function("MagSetColorEffect");
  return function;
}

}  // namespace

bool LoadMagnificationFunctions() {
  return Initialize().IsThere() && Uninitialize().IsThere() && SetWindowSource().IsThere() &&
         SetWindowFilterList().IsThere() && SetColorEffect().IsThere();
}

bool MagInitialize() { return Initialize()().value_or(false); }

bool MagUninitialize() { return Uninitialize()().value_or(false); }

bool MagSetWindowSource(HWND window, const RECT& source) {
  return SetWindowSource()(window, source).value_or(false);
}

bool MagSetWindowFilterList(HWND window, DWORD mode, DWORD count, HWND* windows) {
  return SetWindowFilterList()(window, mode, static_cast<int>(count), windows).value_or(false);
}

bool MagSetColorEffect(HWND window, ColorEffect* effect) {
  return SetColorEffect()(window, effect).has_value();
}

}  // namespace qx::Magnification
