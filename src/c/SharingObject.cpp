#include "c/SharingObject.h"

#include <algorithm>
#include <utility>

#include "c/Inside.h"

namespace qx::c {

// Pictures of no size cost nothing, and the answer always comes.
bool SharingObject::IsComplete() {
  bool answered = false;
  m_library.GetDesktopThumbnailAll(
      0, 0,
      [](const int*, const char**, const int&, void* user) { *static_cast<bool*>(user) = true; },
      &answered);
  return answered;
}

qx_result SharingObject::Share(Start start, void* context, std::int32_t id,
                               std::unique_ptr<IScreenCapture::ShareListener> listener,
                               qx_share_error& error) {
  std::uint64_t tried = 0;
  IScreenCapture::ShareListener* const borrowed = borrow(std::move(listener), tried);
  IScreenCapture::ShareError reason = IScreenCapture::ShareErrorNone;
  if (!(m_library.*start)(context, id, borrowed, reason)) {
    drop(borrowed);
    error = reason;
    return m_destroyed ? QX_ERROR_OBJECT : QX_ERROR_SHARE;
  }
  keep(borrowed, tried);
  if (m_destroyed) {
    m_library.ShareStop();
    return QX_ERROR_OBJECT;
  }
  error = QX_SHARE_ERROR_NONE;
  return QX_OK;
}

// A window procedure of the host can run in here.
void SharingObject::Stop() {
  const Inside end(this);
  m_library.ShareStop();
}

void SharingObject::Destroy() {
  m_destroyed = true;
  Stop();
}

IScreenCapture::ShareListener* SharingObject::borrow(
    std::unique_ptr<IScreenCapture::ShareListener> listener, std::uint64_t& tried) {
  const std::lock_guard lock(m_mutex);
  tried = ++m_moments;
  m_listeners.push_back({std::move(listener)});
  return m_listeners.back().listener.get();
}

void SharingObject::keep(const IScreenCapture::ShareListener* listener, std::uint64_t tried) {
  const std::lock_guard lock(m_mutex);
  std::erase_if(m_listeners, [tried](const Entry& entry) {
    return entry.succeeded != 0 && entry.succeeded < tried;
  });
  const auto own = std::ranges::find(m_listeners, listener, &Entry::Listener);
  own->succeeded = ++m_moments;
}

void SharingObject::drop(const IScreenCapture::ShareListener* listener) {
  const std::lock_guard lock(m_mutex);
  m_listeners.erase(std::ranges::find(m_listeners, listener, &Entry::Listener));
}

}  // namespace qx::c
