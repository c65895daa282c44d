#include "win/task/AeroPeekSwitch.h"

#include <windows.h>

#include <cstdint>
#include <mutex>

#include "common/Logging.h"
#include "win/util/Utils.h"

namespace qx {
namespace {

constexpr char kKey[] = "Software\\Microsoft\\Windows\\DWM";
constexpr char kValue[] = "EnableAeroPeek";

// Of all switches of the process: the second share would find, and at its end put
// back, what the first one wrote.
std::mutex g_mutex;
int g_turnedOff = 0;
std::uint32_t g_savedValue = 0;

}  // namespace

void AeroPeekSwitch::TurnOff() {
  const DeferredLog afterTheLock;
  const std::lock_guard lock(g_mutex);
  if (m_turnedOff) {
    return;
  }
  if (g_turnedOff == 0) {
    std::int32_t status = ReadRegistryDword(HKEY_CURRENT_USER, kKey, kValue, &g_savedValue);
    if (status != 0) {
      QX_LOG_WARN("read reg EnableAeroPeek failed: {}", status);
      return;
    }
    const std::uint32_t off = 0;
    status = WriteRegistryDword(HKEY_CURRENT_USER, kKey, kValue, &off);
    if (status != 0) {
      QX_LOG_WARN("disable EnableAeroPeek failed: {}", status);
    }
  }
  ++g_turnedOff;
  m_turnedOff = true;
}

void AeroPeekSwitch::PutBack() {
  const DeferredLog afterTheLock;
  const std::lock_guard lock(g_mutex);
  if (!m_turnedOff) {
    return;
  }
  m_turnedOff = false;
  if (--g_turnedOff > 0) {
    return;
  }
  QX_LOG_INFO("resume EnableAeroPeek : {}", g_savedValue);
  const std::int32_t status = WriteRegistryDword(HKEY_CURRENT_USER, kKey, kValue, &g_savedValue);
  if (status != 0) {
    QX_LOG_WARN("resume EnableAeroPeek failed: {}", status);
  }
}

}  // namespace qx
