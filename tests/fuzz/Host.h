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
#include "tests/fuzz/Desk.h"
#include "tests/fuzz/Ear.h"
#include "tests/fuzz/Handles.h"
#include "tests/fuzz/Promise.h"

namespace qx::fuzz {

// A host that calls every function of the C interface, rightly and wrongly, from its own
// threads and from inside what it is told, as bytes have it. It knows what each call may
// answer.
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

  // A listener or a list's callback acts.
  void Listen(Bytes& script);
  // The engines, a bit for each, that leave windows out of such a share.
  unsigned HidingEngines(const Share& share);

  // While it lives the calling thread is in a listener's operation for this object.
  class Calling {
   public:
    explicit Calling(const qx_screen_capture* capture);
    Calling(const Calling&) = delete;
    Calling& operator=(const Calling&) = delete;
    ~Calling();
  };

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
  // A taken frame.
  struct Taken {
    std::uint64_t contents;
    int readers = 0;
    bool released = false;
  };
  // What the host's one reader of a queue has seen of it.
  struct Seen {
    bool mixed = false;  // several shares or readers at once: nothing is known of the order
    bool running = false;
    bool firstFrame = false;
    bool paused = false;
    qx_event_type last = 0;
    std::uint64_t frame = 0;   // the last event's
    std::uint64_t number = 0;  // the last frame's
    std::uint64_t taken = 0;
  };
  // Arguments, and whether they can be.
  struct Rules {
    std::vector<qx_filter_window_info> rules;
    bool valid = true;
  };
  struct Ids {
    const std::int32_t* data;
    std::int32_t count;
    bool valid;
  };
  struct Size {
    std::int32_t width;
    std::int32_t height;
  };

  void act(Bytes& bytes);

  // One call with an object: the answer fits what is known of it.
  template <typename Handle, typename Call>
  qx_result with(const Handles<Handle>& handles, Handle* handle, Call call) {
    const bool gone = handles.IsGone(handle);
    const qx_result result = call(handle);
    const bool there = handles.IsThere(handle);
    Promise(result == QX_ERROR_OBJECT ? !there : !gone,
            "QX_ERROR_OBJECT is for objects that are gone, and was " + std::to_string(result));
    return result;
  }
  // The same for a function that can't fail with an object and with arguments that can be.
  template <typename Call>
  void set(Bytes& bytes, bool valid, Call call);

  void create(Bytes& bytes);
  void destroy(Bytes& bytes);
  void share(Bytes& bytes);
  void shareWindows(Bytes& bytes);
  void stop(Bytes& bytes);
  void pause(Bytes& bytes);
  void resume(Bytes& bytes);
  void getRect(Bytes& bytes);

  void hideSecret(Bytes& bytes);
  void changeRule(Bytes& bytes);
  void changeRules(Bytes& bytes);
  void clearRules(Bytes& bytes);
  void switchOn(Bytes& bytes);
  void setEngines(Bytes& bytes);
  void setPrompt(Bytes& bytes);
  void setLimit(Bytes& bytes);
  void setFormat(Bytes& bytes);
  void setConfig(Bytes& bytes);
  void setLivingConfig(Bytes& bytes);
  void setFps(Bytes& bytes);
  void setWindows(Bytes& bytes);

  void list(Bytes& bytes);
  void listThumbnails(Bytes& bytes);
  void getThumbnail(Bytes& bytes);
  void getText(Bytes& bytes);

  void callProcess(Bytes& bytes);

  void createQueue(Bytes& bytes);
  void destroyQueue(Bytes& bytes);
  void wait(Bytes& bytes);
  void nextEvent(Bytes& bytes);
  void take(Bytes& bytes);
  void look(Bytes& bytes);
  void release(Bytes& bytes);
  void drain(Bytes& bytes);

  void actOnDesk(Bytes& bytes);
  void passTime(Bytes& bytes);
  void work(Bytes& bytes);

  Rules anyRules(Bytes& bytes, std::size_t count);
  static Ids anyIds(Bytes& bytes);
  static Size anyThumbnailSize(Bytes& bytes);
  void showSecret(const qx_screen_capture* capture);

  Share& newShare(qx_screen_capture* capture);
  Ear& newEar(Share& share, Bytes script);
  std::vector<Share*> startedSharesOf(const qx_screen_capture* capture);
  template <typename Start>
  qx_result start(Share& share, const qx_share_error* why, Start call);
  void shareToQueue(Share& share, std::int32_t id, qx_share_error* why);
  void shareToListener(Share& share, std::int32_t id, Bytes& bytes, qx_share_error* why);
  bool mayEnd(const qx_screen_capture* capture) const;
  void endShare(qx_screen_capture* capture, bool destroys);

  static void QX_CALL onDesktops(const qx_desktop_info* desktops, std::int32_t count, void* user);
  static void QX_CALL onWindows(const qx_window_info* windows, std::int32_t count, void* user);
  static void QX_CALL onThumbnails(const std::int32_t* ids, const char* const* thumbnails,
                                   std::int32_t count, void* user);
  static void QX_CALL onLog(std::int32_t level, const char* file, std::int32_t line,
                            const char* message);
  template <typename Item, typename Check>
  static void answered(void* user, const Item* items, std::int32_t count, Check check);
  template <typename Callback, typename List>
  void ask(Bytes& bytes, bool async, Callback callback, List function);
  Answer& newAnswer(Bytes script);

  void endQueue(qx_queue* queue);
  bool isReader(const qx_queue* queue);
  qx_result nextEventOf(qx_queue* queue, std::size_t size);
  static void checkEvent(const qx_event& event);
  void checkOrder(const qx_queue* queue, const qx_event& event, bool whole);
  void takeFrom(qx_queue* queue);
  void readTaken(qx_frame* frame);
  void releaseTaken(qx_frame* frame);

  Desk& m_desk;
  const std::thread::id m_thread = std::this_thread::get_id();
  std::chrono::milliseconds m_timeLeft{5000};  // that may pass
  Handles<qx_screen_capture> m_captures;
  Handles<qx_queue> m_queues;
  Handles<qx_frame> m_frames;

  std::atomic<bool> m_ending = false;  // who is told something does nothing more

  std::mutex m_mutex;  // over all that follows; held for moments only
  std::list<Share> m_shares;
  std::list<Ear> m_ears;
  std::list<Answer> m_answers;
  std::list<Worker> m_workers;
  std::map<const qx_frame*, Taken> m_taken;
  std::map<const qx_queue*, Seen> m_seen;
  std::set<const qx_screen_capture*> m_hiding;   // have a rule for the secret window
  std::set<const qx_screen_capture*> m_showing;  // may show it all the same
};

}  // namespace qx::fuzz
