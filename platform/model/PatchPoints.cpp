#include "platform/model/PatchPoints.h"

#include <virtual_windows.h>

namespace vwin::patches {
namespace {

std::atomic<PatchPoint*> g_first = nullptr;

}  // namespace

PatchPoint::PatchPoint(void* entry, void* body)
    : m_entry(entry), m_body(body), m_inForce(body), m_next(g_first.load()) {
  while (!g_first.compare_exchange_weak(m_next, this)) {
  }
}

bool Redirect(std::atomic<void*>& function, void* detour) {
  for (PatchPoint* point = g_first; point != nullptr; point = point->m_next) {
    if (point->m_entry != function) continue;
    function = point->m_body;
    void* expected = point->m_body;
    if (point->m_inForce.compare_exchange_strong(expected, detour)) return true;
    function = point->m_entry;
    return false;
  }
  return false;
}

}  // namespace vwin::patches

namespace vwin {

bool Redirect(std::atomic<void*>& function, void* detour) {
  return patches::Redirect(function, detour);
}

}  // namespace vwin
