#pragma once

#include <qx-screen-capture-c.h>
#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/fuzz/Bytes.h"
#include "tests/fuzz/Course.h"
#include "tests/fuzz/Desk.h"
#include "tests/fuzz/Handles.h"
#include "tests/fuzz/Promise.h"
#include "tests/fuzz/Share.h"

namespace qx::fuzz {

// A host that calls the C interface, rightly and wrongly, from its own threads and from inside what
// it is told, as bytes have it. It knows what each call may answer.
//
// No lock of its own is held while the library is called.
class Host {
 public:
  explicit Host(Desk& desk);
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  // Acts until there are no more bytes.
  void Play(Bytes bytes);
  // Everything goes, and nothing comes of it any more.
  void End();

  // Acts inside what this object's listener, or null: a list's callback, is told.
  void Listen(const qx_screen_capture* capture, Bytes& script);
  // The engines, a bit for each, that leave windows out of such a share.
  unsigned HidingEngines(const Share& share);

 private:
  // Acts on a thread of its own.
  struct Worker {
    Host& host;
    Bytes script;
    HANDLE thread = nullptr;
  };
  // Who waits for a list.
  struct Answer {
    Host& host;
    Bytes script;
    bool due = false;
    std::atomic<int> times = 0;
  };
  // What the host's one reader of a queue has seen of it.
  struct Seen {
    bool mixed = false;  // several shares or readers at once: the order isn't known
    Course course;
    qx_event_type last = 0;
    std::uint64_t frame = 0;   // the last event's
    std::uint64_t number = 0;  // the last frame's
    std::uint64_t taken = 0;
  };

  void act(Bytes& bytes);

  // One call with an object: the answer fits what is known of it.
  template <typename Handle, typename Call>
  qx_result with(const Handles<Handle>& handles, Handle* handle, Call call) {
    const bool gone = handles.IsGone(handle);
    const qx_result result = call(handle);
    Promise(result == QX_ERROR_OBJECT ? !handles.IsThere(handle) : !gone,
            "QX_ERROR_OBJECT is for objects that are gone, and was " + std::to_string(result));
    return result;
  }
  // The same for one that a host has no part in: it is carried out, or its arguments can't be.
  template <typename Call>
  void set(Bytes& bytes, Call call);

  void create(Bytes& bytes);
  void destroy(Bytes& bytes);
  void stop(Bytes& bytes);
  bool mayEnd(const qx_screen_capture* capture) const;
  void endShare(qx_screen_capture* capture, bool destroys);

  void share(Bytes& bytes);
  Share& newShare(qx_screen_capture* capture, Bytes script);
  std::vector<Share*> startedSharesOf(const qx_screen_capture* capture);
  void setQueue(Share& share, qx_queue* queue);

  void hideSecret(Bytes& bytes);
  void changeRules(Bytes& bytes);
  void changeSetting(Bytes& bytes);
  void callProcess(Bytes& bytes);

  void list(Bytes& bytes);
  void getText(Bytes& bytes);
  static void QX_CALL onDesktops(const qx_desktop_info* desktops, std::int32_t count, void* user);
  static void QX_CALL onWindows(const qx_window_info* windows, std::int32_t count, void* user);
  static void QX_CALL onThumbnails(const std::int32_t* ids, const char* const* thumbnails,
                                   std::int32_t count, void* user);
  template <typename Item, typename Check>
  static void answered(void* user, const Item* items, std::int32_t count, Check check);
  static void QX_CALL onLog(std::int32_t level, const char* file, std::int32_t line,
                            const char* message);

  void createQueue(Bytes& bytes);
  void destroyQueue(Bytes& bytes);
  void endQueue(qx_queue* queue);
  void wait(Bytes& bytes);
  void nextEvent(Bytes& bytes);
  void drain(Bytes& bytes);
  void drainQueue(qx_queue* queue);
  void useFrame(Bytes& bytes);
  bool isReader(const qx_queue* queue);
  qx_result nextEventOf(qx_queue* queue, std::size_t size);
  void checkOrder(Seen& seen, const qx_event& event);
  void takeFrom(qx_queue* queue);
  void readFrame(qx_frame* frame, bool release);

  void actOnDesk(Bytes& bytes);
  void passTime(Bytes& bytes);
  void work(Bytes& bytes);

  Desk& m_desk;
  const std::thread::id m_thread = std::this_thread::get_id();
  std::chrono::milliseconds m_timeLeft{5000};  // that may pass
  std::list<Worker> m_workers;
  Handles<qx_screen_capture> m_captures;
  Handles<qx_queue> m_queues;
  Handles<qx_frame> m_frames;

  std::atomic<bool> m_ending = false;  // who is told something does nothing more

  std::mutex m_mutex;  // over all that follows; held for moments only
  std::list<Share> m_shares;
  std::list<Answer> m_answers;
  std::map<const qx_frame*, std::uint64_t> m_contents;  // of frames that were taken
  std::map<const qx_queue*, Seen> m_seen;
  std::set<const qx_screen_capture*> m_hiding;   // have a rule for the secret window
  std::set<const qx_screen_capture*> m_showing;  // may show it all the same
};

}  // namespace qx::fuzz
