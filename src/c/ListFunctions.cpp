// What can be shared, and how it looks.
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "c/Closed.h"
#include "c/Gate.h"
#include "c/HostCall.h"
#include "c/ThreadText.h"
#include "common/Utf8.h"

namespace qx::c {

namespace {

using Library = IScreenCapture;

// Who the answer is for.
template <typename Callback>
struct Addressee {
  Callback callback;
  void* user;
  bool told = false;
};

void Tell(const Addressee<qx_desktop_list_callback>& host, const Library::DesktopInfo* desktops,
          int count) {
  CallHost(host.callback, reinterpret_cast<const qx_desktop_info*>(desktops), count, host.user);
}

// Windows come as an empty list without memory for their texts.
void Tell(const Addressee<qx_window_list_callback>& host, const Library::WindowInfo* windows,
          int count) {
  std::vector<std::string> texts;  // a name and a title of each
  std::vector<qx_window_info> list;
  const qx_result converted = Closed([&]() -> qx_result {
    texts.reserve(2 * static_cast<std::size_t>(count));
    list.reserve(static_cast<std::size_t>(count));
    for (const Library::WindowInfo* window = windows; window != windows + count; ++window) {
      const char* const name = texts.emplace_back(ToUtf8(window->processName)).c_str();
      const char* const title = texts.emplace_back(ToUtf8(window->title)).c_str();
      list.push_back({.id = window->id,
                      .handle = window->handle,
                      .process_id = window->processId,
                      .process_name = name,
                      .title = title,
                      .x = window->x,
                      .y = window->y,
                      .width = window->width,
                      .height = window->height});
    }
    return QX_OK;
  });
  if (converted == QX_OK && count > 0) {
    CallHost(host.callback, list.data(), count, host.user);
  } else {
    CallHost(host.callback, nullptr, 0, host.user);
  }
}

// The callback of a list, with its Addressee as `user`.
template <typename Callback, typename Item>
void OnList(const Item* items, const int& count, void* user) {
  auto& host = *static_cast<Addressee<Callback>*>(user);
  host.told = true;
  Tell(host, items, count);
}

void OnThumbnails(const int* ids, const char** thumbnails, const int& count, void* user) {
  auto& host = *static_cast<Addressee<qx_thumbnail_list_callback>*>(user);
  host.told = true;
  CallHost(host.callback, ids, thumbnails, count, host.user);
}

// The same for an answer on another thread, which comes once, and owns its Addressee.
template <typename Callback, typename Item>
void OnListAsync(const Item* items, const int& count, void* user) {
  const std::unique_ptr<Addressee<Callback>> host(static_cast<Addressee<Callback>*>(user));
  OnList<Callback>(items, count, host.get());
}

void OnThumbnailsAsync(const int* ids, const char** thumbnails, const int& count, void* user) {
  using Host = Addressee<qx_thumbnail_list_callback>;
  const std::unique_ptr<Host> host(static_cast<Host*>(user));
  OnThumbnails(ids, thumbnails, count, host.get());
}

// `list` asks the library, with its last argument as the callback's `user`.
template <typename Callback, typename List>
qx_result Ask(qx_screen_capture* capture, Callback callback, void* user, List list) noexcept {
  return WithCapture(capture, [&](SharingObject& object) -> qx_result {
    if (!callback) {
      return QX_ERROR_ARGUMENT;
    }
    Addressee<Callback> host{callback, user};
    list(object.Library(), &host);
    return host.told ? QX_OK : QX_ERROR_FAILED;
  });
}

template <typename Callback, typename List>
qx_result AskAsync(qx_screen_capture* capture, Callback callback, void* user, List list) noexcept {
  return WithCapture(capture, [&](SharingObject& object) -> qx_result {
    if (!callback) {
      return QX_ERROR_ARGUMENT;
    }
    list(object.Library(), new Addressee<Callback>{callback, user});
    return QX_OK;
  });
}

// The library's text of one operation, which lasts only until somebody asks again, on
// whatever thread: so one thread at a time asks and copies.
//
// The same thread may come in again, since a window procedure of the host can run while it
// asks. Others wait, though not for ever: the host may have them wait for each other.
class TextSource {
 public:
  // A copy that is this thread's until it asks again. Null when there is none.
  template <typename Ask>
  const char* Copy(Ask ask) {
    std::string* const copy = m_copy.Get();
    if (!copy || !enter()) {
      return nullptr;
    }
    const Leave leave{*this};
    return ask(*copy) ? copy->c_str() : nullptr;
  }

 private:
  static constexpr std::uint32_t kPatienceMs = 5000;

  struct Leave {
    TextSource& source;
    ~Leave() {
      const std::lock_guard lock(source.m_gate);
      if (--source.m_depth == 0) {
        source.m_gate.WakeAll();
      }
    }
  };

  bool enter() {
    const DWORD self = GetCurrentThreadId();
    const std::lock_guard lock(m_gate);
    if (!m_gate.WaitUntil(kPatienceMs, [&] { return m_depth == 0 || m_thread == self; })) {
      return false;
    }
    m_thread = self;
    ++m_depth;
    return true;
  }

  ThreadText m_copy;
  Gate m_gate;
  DWORD m_thread = 0;  // that is in here
  int m_depth = 0;     // how often
};

// `Operation` is one of the library's that gives a text. `failed` is the answer without one.
template <auto Operation, typename... Arguments>
const char* TextOf(qx_screen_capture* capture, const char* failed,
                   Arguments... arguments) noexcept {
  static TextSource source;
  return Closed(failed, [&]() -> const char* {
    const std::shared_ptr<SharingObject> object = Objects::Instance().captures.Find(capture);
    if (!object) {
      return nullptr;
    }
    const char* const text = source.Copy([&](std::string& out) {
      const auto* const own = (object->Library().*Operation)(arguments...);
      if (!own) {
        return false;
      }
      if constexpr (std::is_same_v<decltype(own), const wchar_t* const>) {
        out = ToUtf8(own);
      } else {
        out = own;
      }
      return true;
    });
    return text ? text : failed;
  });
}

}  // namespace

}  // namespace qx::c

using namespace qx::c;

qx_result qx_get_desktop_list(qx_screen_capture* capture, qx_desktop_list_callback callback,
                              void* user) {
  return Ask(capture, callback, user, [](Library& library, void* host) {
    library.GetDesktopList(&OnList<qx_desktop_list_callback>, host);
  });
}

qx_result qx_get_desktop_list_async(qx_screen_capture* capture, qx_desktop_list_callback callback,
                                    void* user) {
  return AskAsync(capture, callback, user, [](Library& library, void* host) {
    library.GetDesktopListAsync(&OnListAsync<qx_desktop_list_callback>, host);
  });
}

qx_result qx_get_window_list(qx_screen_capture* capture, qx_window_list_callback callback,
                             void* user) {
  return Ask(capture, callback, user, [](Library& library, void* host) {
    library.GetWindowList(&OnList<qx_window_list_callback>, host);
  });
}

qx_result qx_get_window_list_async(qx_screen_capture* capture, qx_window_list_callback callback,
                                   void* user) {
  return AskAsync(capture, callback, user, [](Library& library, void* host) {
    library.GetWindowListAsync(&OnListAsync<qx_window_list_callback>, host);
  });
}

const char* qx_get_desktop_thumbnail(qx_screen_capture* capture, int32_t id, int32_t width,
                                     int32_t height) {
  return TextOf<&Library::GetDesktopThumbnail>(capture, nullptr, id, width, height);
}

const char* qx_get_window_thumbnail(qx_screen_capture* capture, int32_t id, int32_t width,
                                    int32_t height) {
  return TextOf<&Library::GetWindowThumbnail>(capture, nullptr, id, width, height);
}

qx_result qx_get_desktop_thumbnail_all(qx_screen_capture* capture, int32_t width, int32_t height,
                                       qx_thumbnail_list_callback callback, void* user) {
  return Ask(capture, callback, user, [&](Library& library, void* host) {
    library.GetDesktopThumbnailAll(width, height, &OnThumbnails, host);
  });
}

qx_result qx_get_desktop_thumbnail_all_async(qx_screen_capture* capture, int32_t width,
                                             int32_t height, qx_thumbnail_list_callback callback,
                                             void* user) {
  return AskAsync(capture, callback, user, [&](Library& library, void* host) {
    library.GetDesktopThumbnailAllAsync(width, height, &OnThumbnailsAsync, host);
  });
}

qx_result qx_get_window_thumbnail_all(qx_screen_capture* capture, int32_t width, int32_t height,
                                      qx_thumbnail_list_callback callback, void* user) {
  return Ask(capture, callback, user, [&](Library& library, void* host) {
    library.GetWindowThumbnailAll(width, height, &OnThumbnails, host);
  });
}

qx_result qx_get_window_thumbnail_all_async(qx_screen_capture* capture, int32_t width,
                                            int32_t height, qx_thumbnail_list_callback callback,
                                            void* user) {
  return AskAsync(capture, callback, user, [&](Library& library, void* host) {
    library.GetWindowThumbnailAllAsync(width, height, &OnThumbnailsAsync, host);
  });
}

const char* qx_get_window_icon(qx_screen_capture* capture, int32_t id) {
  return TextOf<&Library::GetWindowIcon>(capture, "", id);
}

const char* qx_get_window_title(qx_screen_capture* capture, int32_t id) {
  return TextOf<&Library::GetWindowTitle>(capture, "", id);
}
