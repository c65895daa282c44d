#pragma once

#include <qx-screen-capture-c.h>
#include <qx-screen-capture.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace qx::c {

// What a qx_screen_capture stands for: the object of the library, and the listeners that
// the library borrows of it. Any thread; no lock is held while the library is called.
class SharingObject {
 public:
  using Start = bool (IScreenCapture::*)(void* context, int id,
                                         IScreenCapture::ShareListener* listener,
                                         IScreenCapture::ShareError& error);

  // False when there was no memory for the library's object, which then answers nothing.
  bool IsComplete();

  IScreenCapture& Library() { return m_library; }

  qx_result Share(Start start, void* context, std::int32_t id,
                  std::unique_ptr<IScreenCapture::ShareListener> listener, qx_share_error& error);
  // Ends its share.
  void Stop();
  // The same, also of one that is just being started.
  void Destroy();
  bool IsDestroyed() const { return m_destroyed; }

 private:
  // A listener is in use until its start has failed, or its share is known to have ended:
  // by the success of a start that was tried after its own had succeeded, for an object
  // has one share at a time. Two starts and a stop may overlap on three threads, so the
  // order in which they come back here says nothing.
  struct Entry {
    std::unique_ptr<IScreenCapture::ShareListener> listener;
    std::uint64_t succeeded = 0;  // the moment, 0 before

    const IScreenCapture::ShareListener* Listener() const { return listener.get(); }
  };

  IScreenCapture::ShareListener* borrow(std::unique_ptr<IScreenCapture::ShareListener> listener,
                                        std::uint64_t& tried);
  void keep(const IScreenCapture::ShareListener* listener, std::uint64_t tried);
  void drop(const IScreenCapture::ShareListener* listener);

  std::atomic<bool> m_destroyed = false;
  std::mutex m_mutex;  // over the next two; held for moments only
  std::uint64_t m_moments = 0;
  std::vector<Entry> m_listeners;
  // Goes first: the end of its share needs the listeners.
  ScreenCapture m_library;
};

}  // namespace qx::c
