/* qx-screen-capture for C, and for every language that can call C.
 *
 * One function for each operation of the C++ interface, named after it, with the same
 * records and codes:
 *
 *   qx_screen_capture* capture = qx_create();
 *   qx_queue* queue = qx_queue_create();
 *   bool runs = qx_share_desktop_to_queue(capture, monitor_id, queue, NULL) == QX_OK;
 *   while (runs) {
 *     qx_queue_wait(queue, 1000);
 *     qx_event event = {sizeof(event)};
 *     while (qx_queue_next_event(queue, &event) == QX_OK) {  // takes all: one that is left
 *       runs = runs && event.type != QX_EVENT_STOP;          // ends each wait at once
 *     }
 *     qx_frame* frame;
 *     if (qx_queue_take_frame(queue, &frame) == QX_OK) {
 *       ...
 *       qx_frame_release(frame);
 *     }
 *   }
 *   qx_destroy(capture);
 *   qx_queue_destroy(queue);
 *
 * Conventions
 *  - Coordinates and sizes are pixels of the virtual screen.
 *  - Window and monitor ids are the low 32 bits of the HWND or HMONITOR.
 *  - Text is UTF-8, NUL-terminated, both ways. Text that is not UTF-8 is refused; what a
 *    window's title holds beside UTF-16 comes as U+FFFD.
 *  - `bool` is one byte, 0 or 1. An enumeration is an int32_t.
 *  - A function that can fail answers a qx_result; no exception and no signal leaves it.
 *    An array of no items may be null.
 *    Null, and objects that are gone or of another kind, are answered, not followed:
 *    the three kinds of objects are numbers in the shape of pointers, none of which comes
 *    twice in a process.
 *  - A function of the host should not throw. A C++ exception that leaves one ends there,
 *    whether its compiler was g++, MSVC or clang; an exception of another language is not
 *    taken, and leaves the library in no defined state.
 *  - Any function may be called on any thread, also from a listener operation, but for
 *    qx_share_stop and qx_destroy of the share that is calling, or that this thread is ending
 *    already, and of any share from the log callback: QX_ERROR_WRONG_THREAD.
 *
 * Versions. QX_ABI_VERSION is the number of this binary interface, qx_abi_version() that
 * of the loaded library. As long as they are equal a host built with any older or newer
 * header works with the library.
 *  - Never changes: the name, the arguments and the meaning of a function; the number of a
 *    code; the order and the width of the fields of a record.
 *  - May come with a new version of the library, under the same number: new functions, new
 *    codes, new event types, which a host passes over; new fields at the end of
 *    qx_share_listener, qx_event and qx_frame_info, whose sizes the host tells.
 *  - Anything else would be a new number, and new names beside the old ones.
 */
#ifndef QX_SCREEN_CAPTURE_C_H_
#define QX_SCREEN_CAPTURE_C_H_

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef _WIN32
#define QX_CALL __cdecl
#ifdef QX_SCREEN_CAPTURE_BUILD
#define QX_C_API /* exported by the module definition */
#elif defined(QX_SCREEN_CAPTURE_STATIC)
#define QX_C_API
#else
#define QX_C_API __declspec(dllimport)
#endif
#else
#define QX_CALL
#define QX_C_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

#define QX_ABI_VERSION 1

/* ------------------------------------------------------------------ objects */

/* Lists what can be shared, keeps settings, has one share at a time. */
typedef struct qx_screen_capture qx_screen_capture;
/* Takes the place of a listener; see below. */
typedef struct qx_queue qx_queue;
/* A picture that was taken out of a queue. */
typedef struct qx_frame qx_frame;

/* -------------------------------------------------------------------- codes */

typedef int32_t qx_result;
enum {
  QX_OK = 0,
  QX_ERROR_ARGUMENT = -1,     /* a null, a size or a value that can't be, text not UTF-8 */
  QX_ERROR_OBJECT = -2,       /* null, destroyed or released, or of another kind */
  QX_ERROR_WRONG_THREAD = -3, /* from a listener operation of this very share */
  QX_ERROR_FAILED = -4,       /* no memory, or what was asked for can't be had */
  QX_ERROR_SHARE = -5,        /* the share did not start; its qx_share_error says why */
  QX_ERROR_TIMEOUT = -6,      /* nothing came */
  QX_ERROR_EMPTY = -7         /* there is nothing to take */
};

/* Why a share did not start. */
typedef int32_t qx_share_error;
enum {
  QX_SHARE_ERROR_NONE = 0,
  QX_SHARE_ERROR_TASK_RUNNING = 2,   /* this object has a share already */
  QX_SHARE_ERROR_NULL_LISTENER = 3,  /* no listener (QX_ERROR_ARGUMENT) or no queue
                                        (QX_ERROR_OBJECT) */
  QX_SHARE_ERROR_TARGET_MISSING = 4, /* no such monitor or window */
  QX_SHARE_ERROR_START_FAILED = 5    /* no capture engine could start, or the window is on no
                                        monitor */
};

typedef int32_t qx_share_pause_reason;
enum {
  QX_PAUSE_REASON_CAPTURE_FAILED = 1,
  QX_PAUSE_REASON_INVOKED = 2,       /* the host called qx_share_pause */
  QX_PAUSE_REASON_WINDOW_HIDDEN = 3, /* invisible, minimised, cloaked or on no monitor */
  QX_PAUSE_REASON_WINDOW_MOVED = 4,
  QX_PAUSE_REASON_OTHER_VIRTUAL_DESKTOP = 5,
  QX_PAUSE_REASON_FILTER_FAILED = 6 /* the engine could not leave out what must be left out */
};

typedef int32_t qx_capture_engine_type;
enum {
  QX_CAPTURE_ENGINE_NONE = 0, /* no engine is left; selects nothing */
  QX_CAPTURE_ENGINE_MAG = 1,  /* Magnification API */
  QX_CAPTURE_ENGINE_DXGI = 2, /* desktop duplication */
  QX_CAPTURE_ENGINE_WGC = 3,  /* Windows.Graphics.Capture */
  QX_CAPTURE_ENGINE_GDI_BIT_BLT = 4,
  QX_CAPTURE_ENGINE_GDI_PRINT_WINDOW = 5 /* windows only */
};

typedef int32_t qx_screen_frame_format;
enum {
  QX_SCREEN_FRAME_FORMAT_ARGB = 0, /* 32-bit pixels, bytes B, G, R, A in memory */
  QX_SCREEN_FRAME_FORMAT_I420 = 1  /* planar 4:2:0: Y, U, V */
};

/* ------------------------------------------------------------------ records */

/* One monitor. */
typedef struct qx_desktop_info {
  int32_t id;         /* for qx_share_desktop and qx_get_desktop_thumbnail */
  int32_t handle;     /* the same value as `id` */
  int32_t is_primary; /* 1 for the primary monitor, else 0 */
  int32_t x;
  int32_t y;
  int32_t width;
  int32_t height;
} qx_desktop_info;

/* One top-level window that can be shared. The rectangle is what a share captures. */
typedef struct qx_window_info {
  int32_t id; /* for qx_share_window and the thumbnail, icon and title */
  int32_t handle;
  uint32_t process_id;
  const char* process_name; /* image file name without directory and extension, or "" */
  const char* title;        /* the window's own title, possibly "" */
  int32_t x;
  int32_t y;
  int32_t width;
  int32_t height;
} qx_window_info;

/* All four are -1 when nothing is shared. */
typedef struct qx_capture_rect {
  int32_t x;
  int32_t y;
  int32_t width;
  int32_t height;
} qx_capture_rect;

/* The coloured frame around what is shared; 41, 204, 163, 4 by default. White can't be
 * seen. */
typedef struct qx_prompt_window_info {
  int32_t r; /* 0 to 255 each */
  int32_t g;
  int32_t b;
  int32_t width; /* thickness in pixels */
} qx_prompt_window_info;

/* How large frames may be; 0, 2880, 1800, 5184000 by default. A picture of more than
 * `max_screen_pixels` is scaled down, keeping its shape: to the box if it has its shape, else
 * to so many pixels, so it may be wider or higher than the box. A scale near a half becomes a
 * half, even above the limit. `max_screen_pixels` must equal width times height unless that
 * product is 0; another limit is refused. One with 0 pixels, or with as many as the present
 * one, changes nothing. */
typedef struct qx_screen_frame_resolution_limit {
  int32_t aspect_ratio_mode; /* only 0 is valid */
  uint64_t max_screen_width;
  uint64_t max_screen_height;
  uint64_t max_screen_pixels;
} qx_screen_frame_resolution_limit;

/* One rule of the exclude or the include list; all zero by default. */
typedef struct qx_filter_window_info {
  uint32_t type;       /* 0: by window handle; 1: by process */
  uint32_t title_rule; /* for type 1: 0 every window of the process, 1 only one whose title
                          equals `title`, 2 only one whose title differs */
  void* window;        /* for type 0: the HWND */
  uint32_t process_id; /* for type 1 */
  char title[2048];    /* for title_rule 1 and 2 */
  uint32_t reserved;   /* part of a rule's identity, not of the matching */
} qx_filter_window_info;

/* Behaviour of captures. Begin with qx_screen_capture_config_init: not all defaults are
 * zero. The reserved fields have no effect. */
typedef struct qx_screen_capture_config {
  uint64_t keep_alive_interval;                   /* ms: period of repeats while paused; with
                                                     dynamic_frame_callback the longest silence */
  uint64_t moved_window_stable_keep_min_duration; /* ms of standing still after a move */
  bool dynamic_frame_callback;                    /* unchanged pictures are not repeated */
  int32_t reserved_int1;
  bool get_dirty_rect_info; /* on_frame_dirty_info comes */
  bool reserved_flag1;
  bool sc_dynamic_check; /* detect unchanged pictures */
  bool reserved_flag2;
  bool reserved_flag3;
  bool reserved_flag4;
  bool reserved_flag5;
  bool reserved_flag6;
  bool reserved_flag7;
  int32_t reserved_int2;
  bool reserved_flag8;
  int32_t reserved_int3;
  int32_t reserved_int4;
  bool reserved_flag9;
  bool reserved_flag10;
  bool sc_new_mouse_capture_way; /* how the magnification engine draws the cursor */
} qx_screen_capture_config;

/* The same without the last three fields. */
typedef struct qx_living_screen_capture_config {
  uint64_t keep_alive_interval;
  uint64_t moved_window_stable_keep_min_duration;
  bool dynamic_frame_callback;
  int32_t reserved_int1;
  bool get_dirty_rect_info;
  bool reserved_flag1;
  bool sc_dynamic_check;
  bool reserved_flag2;
  bool reserved_flag3;
  bool reserved_flag4;
  bool reserved_flag5;
  bool reserved_flag6;
  bool reserved_flag7;
  int32_t reserved_int2;
  bool reserved_flag8;
  int32_t reserved_int3;
  int32_t reserved_int4;
} qx_living_screen_capture_config;

/* A picture. Read only the pixel fields of the group that `format` names. */
typedef struct qx_screen_frame_data {
  qx_screen_frame_format format;
  int64_t timestamp; /* microseconds since 1970-01-01 UTC, just before the capture */
  uint32_t reserved;
  int32_t width;
  int32_t height;
  int32_t raw_width; /* of the captured rectangle, before scaling */
  int32_t raw_height;
  int32_t stride; /* ARGB: bytes per row */
  uint8_t* data;  /* ARGB: first row, top to bottom */
  int32_t stride_y;
  int32_t stride_u;
  int32_t stride_v;
  uint8_t* data_y; /* I420: the planes */
  uint8_t* data_u;
  uint8_t* data_v;
} qx_screen_frame_data;

typedef struct qx_screen_frame_statistics {
  bool has_fps; /* always true */
  int32_t fps;
  bool reserved_flag;
  int32_t reserved_a;
  int32_t reserved_b;
} qx_screen_frame_statistics;

/* ---------------------------------------------------------------- callbacks */

/* Arrays and text are valid during the call only. An empty list is null and 0. */
typedef void(QX_CALL* qx_desktop_list_callback)(const qx_desktop_info* desktops, int32_t count,
                                                void* user);
typedef void(QX_CALL* qx_window_list_callback)(const qx_window_info* windows, int32_t count,
                                               void* user);
/* Thumbnails are "data:image/png; base64," and the base64 text of a PNG file, by ascending
 * id; "" for one that failed. */
typedef void(QX_CALL* qx_thumbnail_list_callback)(const int32_t* ids, const char* const* thumbnails,
                                                  int32_t count, void* user);

/* What a share tells. `size` is sizeof(qx_share_listener) of the host's header; any
 * function may be null. The record is copied. Operations come one at a time: on_start, and
 * on_capture_engine_name for the first engine, on the thread that starts the share, all
 * others on the share's own thread, until qx_share_stop or qx_destroy has returned. They
 * must return quickly. */
typedef struct qx_share_listener {
  uint32_t size;
  void(QX_CALL* on_start)(void* context);
  /* No new frames until on_resume; the last one is repeated each keep_alive_interval, with
   * width 0 and no pixels if there was none yet (not into a queue). */
  void(QX_CALL* on_pause)(void* context, qx_share_pause_reason reason);
  void(QX_CALL* on_resume)(void* context);
  /* The share ended by itself: its monitor or window is gone, or the screen was locked.
   * qx_share_stop is still to be called. */
  void(QX_CALL* on_stop)(void* context);
  void(QX_CALL* on_first_frame)(void* context);
  /* The record and its pixels are valid during the call only. */
  void(QX_CALL* on_frame)(void* context, const qx_screen_frame_data* frame);
  /* With get_dirty_rect_info, before the on_frame that it belongs to; alone when an unchanged
   * frame is held back. `valid` is false when the engine does not know. */
  void(QX_CALL* on_frame_dirty_info)(void* context, bool valid, uint64_t rect_count, double ratio);
  /* The share moved over to the slide show of the window's program, or back. */
  void(QX_CALL* on_share_window_changed)(void* context, int32_t window, int32_t reserved);
  void(QX_CALL* on_share_desktop_changed)(void* context, int32_t monitor);
  void(QX_CALL* on_capture_engine_name)(void* context, qx_capture_engine_type engine);
  void(QX_CALL* on_frame_statistics)(void* context, const qx_screen_frame_statistics* statistics);
  void(QX_CALL* on_share_rect_changed)(void* context, int32_t x, int32_t y, int32_t width,
                                       int32_t height);
} qx_share_listener;

/* Levels: 2 detail, 3 workflow, 4 a failure that the library survives, 5 a failure that
 * ends the operation. Comes on any thread, also on the host's own during its calls, and on
 * several at once. A message that is under way can reach a callback after it was replaced or
 * unregistered: the function must stay as long as the library is loaded. */
typedef void(QX_CALL* qx_log_callback)(int32_t level, const char* file, int32_t line,
                                       const char* message);

/* ---------------------------------------------------------------- functions */

/* "1.0.0", and the number of the binary interface. */
QX_C_API const char* QX_CALL qx_version(void);
QX_C_API uint32_t QX_CALL qx_abi_version(void);

/* Null without memory. */
QX_C_API qx_screen_capture* QX_CALL qx_create(void);
/* Ends a share of it; its listener hears nothing more. */
QX_C_API qx_result QX_CALL qx_destroy(qx_screen_capture* capture);

/* Whether a monitor share keeps excluded windows out of the picture, as far as the engine
 * in use can. */
QX_C_API qx_result QX_CALL qx_enable_filter_window_when_share_desktop(qx_screen_capture* capture,
                                                                      bool enable);
/* The exclude list: windows to keep out of the picture, and of qx_get_window_list. Set adds
 * to what is there. Changes reach a running share at its next frame. */
QX_C_API qx_result QX_CALL qx_set_exclude_windows(qx_screen_capture* capture,
                                                  const qx_filter_window_info* windows,
                                                  int32_t count);
QX_C_API qx_result QX_CALL qx_add_exclude_window(qx_screen_capture* capture,
                                                 const qx_filter_window_info* window);
QX_C_API qx_result QX_CALL qx_remove_exclude_window(qx_screen_capture* capture,
                                                    const qx_filter_window_info* window);
QX_C_API qx_result QX_CALL qx_clear_exclude_windows(qx_screen_capture* capture);
/* The include list: windows to show although they would be cut out. */
QX_C_API qx_result QX_CALL qx_set_include_windows(qx_screen_capture* capture,
                                                  const qx_filter_window_info* windows,
                                                  int32_t count);
QX_C_API qx_result QX_CALL qx_add_include_window(qx_screen_capture* capture,
                                                 const qx_filter_window_info* window);
QX_C_API qx_result QX_CALL qx_remove_include_window(qx_screen_capture* capture,
                                                    const qx_filter_window_info* window);
QX_C_API qx_result QX_CALL qx_clear_include_windows(qx_screen_capture* capture);

/* The callback comes exactly once when the answer is QX_OK: before the function returns,
 * or with _async on a thread made for the call. */
QX_C_API qx_result QX_CALL qx_get_desktop_list(qx_screen_capture* capture,
                                               qx_desktop_list_callback callback, void* user);
QX_C_API qx_result QX_CALL qx_get_desktop_list_async(qx_screen_capture* capture,
                                                     qx_desktop_list_callback callback, void* user);
QX_C_API qx_result QX_CALL qx_get_window_list(qx_screen_capture* capture,
                                              qx_window_list_callback callback, void* user);
QX_C_API qx_result QX_CALL qx_get_window_list_async(qx_screen_capture* capture,
                                                    qx_window_list_callback callback, void* user);

/* Pictures of what the last list held, 1 to 16384 pixels each way. The text is the
 * library's, and valid until the next call of the same function on the same thread; null
 * when there is none. While another thread is in such a call it is waited for, at most 5
 * seconds and without answering messages. */
QX_C_API const char* QX_CALL qx_get_desktop_thumbnail(qx_screen_capture* capture, int32_t id,
                                                      int32_t width, int32_t height);
QX_C_API const char* QX_CALL qx_get_window_thumbnail(qx_screen_capture* capture, int32_t id,
                                                     int32_t width, int32_t height);
QX_C_API qx_result QX_CALL qx_get_desktop_thumbnail_all(qx_screen_capture* capture, int32_t width,
                                                        int32_t height,
                                                        qx_thumbnail_list_callback callback,
                                                        void* user);
QX_C_API qx_result QX_CALL qx_get_desktop_thumbnail_all_async(qx_screen_capture* capture,
                                                              int32_t width, int32_t height,
                                                              qx_thumbnail_list_callback callback,
                                                              void* user);
QX_C_API qx_result QX_CALL qx_get_window_thumbnail_all(qx_screen_capture* capture, int32_t width,
                                                       int32_t height,
                                                       qx_thumbnail_list_callback callback,
                                                       void* user);
QX_C_API qx_result QX_CALL qx_get_window_thumbnail_all_async(qx_screen_capture* capture,
                                                             int32_t width, int32_t height,
                                                             qx_thumbnail_list_callback callback,
                                                             void* user);
/* "" when there is none; null for a wrong object. As long valid as a thumbnail. */
QX_C_API const char* QX_CALL qx_get_window_icon(qx_screen_capture* capture, int32_t id);
QX_C_API const char* QX_CALL qx_get_window_title(qx_screen_capture* capture, int32_t id);

/* Settings hold for the running share and for all later ones, but qx_set_dynamic_check for
 * the engine in use only, and qx_set_can_use_mag_capture for the whole process, when an engine
 * is next made. */
QX_C_API qx_result QX_CALL qx_set_can_use_mag_capture(qx_screen_capture* capture, bool can_use_mag);
QX_C_API qx_result QX_CALL qx_enable_capture_cursor(qx_screen_capture* capture, bool enable);
QX_C_API qx_result QX_CALL qx_enable_active_share_window(qx_screen_capture* capture, bool enable);
QX_C_API qx_result QX_CALL qx_enable_prompt_window(qx_screen_capture* capture, bool enable);
QX_C_API qx_result QX_CALL qx_set_dynamic_check(qx_screen_capture* capture, bool check);
/* No types: all engines are allowed. Counts when an engine is next made. */
QX_C_API qx_result QX_CALL qx_set_capture_engine_config(qx_screen_capture* capture,
                                                        const qx_capture_engine_type* types,
                                                        int32_t count, bool wgc_priority);
QX_C_API qx_result QX_CALL qx_set_prompt_window_info(qx_screen_capture* capture,
                                                     const qx_prompt_window_info* info);
QX_C_API qx_result QX_CALL qx_set_capture_frame_resolution_limit(
    qx_screen_capture* capture, const qx_screen_frame_resolution_limit* limit);
QX_C_API qx_result QX_CALL qx_set_screen_frame_format_type(qx_screen_capture* capture,
                                                           qx_screen_frame_format type);
/* Fills in the defaults. */
QX_C_API qx_result QX_CALL qx_screen_capture_config_init(qx_screen_capture_config* config);
QX_C_API qx_result QX_CALL
qx_living_screen_capture_config_init(qx_living_screen_capture_config* config);
QX_C_API qx_result QX_CALL qx_set_screen_capture_config(qx_screen_capture* capture,
                                                        const qx_screen_capture_config* config);
QX_C_API qx_result QX_CALL qx_set_living_screen_capture_config(
    qx_screen_capture* capture, const qx_living_screen_capture_config* config);
QX_C_API qx_result QX_CALL qx_set_capture_fps(qx_screen_capture* capture,
                                              int32_t fps); /* 1 to 30 */
/* Reserved. */
QX_C_API qx_result QX_CALL qx_set_windows(qx_screen_capture* capture, const int32_t* ids,
                                          int32_t count);

/* Start a share. `error` may be null; it says why after QX_ERROR_SHARE. `context` comes back
 * with each operation of the listener. */
QX_C_API qx_result QX_CALL qx_share_desktop(qx_screen_capture* capture, void* context, int32_t id,
                                            const qx_share_listener* listener,
                                            qx_share_error* error);
QX_C_API qx_result QX_CALL qx_share_window(qx_screen_capture* capture, void* context, int32_t id,
                                           const qx_share_listener* listener,
                                           qx_share_error* error);
/* Reserved: QX_ERROR_SHARE. */
QX_C_API qx_result QX_CALL qx_share_windows(qx_screen_capture* capture, void* context,
                                            const int32_t* ids, int32_t count,
                                            const qx_share_listener* listener,
                                            qx_share_error* error);
QX_C_API qx_result QX_CALL qx_share_pause(qx_screen_capture* capture);
QX_C_API qx_result QX_CALL qx_share_resume(qx_screen_capture* capture);
/* When it returns no listener operation is running, and none will come. */
QX_C_API qx_result QX_CALL qx_share_stop(qx_screen_capture* capture);
QX_C_API qx_result QX_CALL qx_get_capture_rect(qx_screen_capture* capture, qx_capture_rect* rect);

/* Of the process. Call the first one once, before the first share. */
QX_C_API qx_result QX_CALL qx_enable_screen_share_d3d12_compatible_fix(void);
QX_C_API qx_result QX_CALL qx_register_log_callback(qx_log_callback callback);
QX_C_API qx_result QX_CALL qx_unregister_log_callback(void);
/* Reserved: no audio is captured, and no callback is ever made. */
QX_C_API qx_result QX_CALL
qx_register_audio_error_callback(void(QX_CALL* callback)(const char* message));
QX_C_API qx_result QX_CALL
qx_register_audio_volume_callback(void(QX_CALL* callback)(int32_t volume));
QX_C_API qx_result QX_CALL qx_set_audio_capture_debug_path(const char* path);
QX_C_API qx_result QX_CALL qx_start_audio_capture(int32_t device);
QX_C_API qx_result QX_CALL qx_stop_audio_capture(void);

/* -------------------------------------------------------------------- queue */

/* For hosts that can't be called on a foreign thread. A queue keeps what a listener would
 * be told, all of it and in order, and of the frames the newest. Whoever takes slowly loses
 * old pictures, never events, and slows nobody down. A picture is copied once.
 *
 * One queue serves one share after another, of any object, one at a time. When a share
 * starts, a frame goes that nobody has taken of the share before. A queue may be destroyed
 * during a share, which goes on; frames that were taken stay valid until they are released,
 * after the share and the queue have ended, too. */

typedef int32_t qx_event_type;
enum {
  QX_EVENT_START = 1,
  QX_EVENT_PAUSE = 2, /* reason */
  QX_EVENT_RESUME = 3,
  QX_EVENT_STOP = 4,
  QX_EVENT_FIRST_FRAME = 5,
  QX_EVENT_SHARE_WINDOW_CHANGED = 6,  /* id */
  QX_EVENT_SHARE_DESKTOP_CHANGED = 7, /* id */
  QX_EVENT_CAPTURE_ENGINE_NAME = 8,   /* engine */
  QX_EVENT_FRAME_STATISTICS = 9,      /* fps */
  QX_EVENT_SHARE_RECT_CHANGED = 10    /* rect */
};

/* Fields that its type does not name are 0. */
typedef struct qx_event {
  uint32_t size; /* set by the host: sizeof(qx_event) */
  qx_event_type type;
  uint64_t frame; /* the number of the last frame before it, 0 before the first one */
  qx_share_pause_reason reason;
  int32_t id;
  qx_capture_engine_type engine;
  int32_t fps;
  qx_capture_rect rect;
} qx_event;

typedef struct qx_frame_info {
  uint32_t size;    /* set by the host: sizeof(qx_frame_info) */
  bool dirty_valid; /* as on_frame_dirty_info tells; false without get_dirty_rect_info */
  uint64_t number;  /* counts the frames that came into the queue, from 1 */
  uint64_t lost;    /* how many came before this one and were not taken, in all */
  uint64_t dirty_rect_count;
  double dirty_ratio;
} qx_frame_info;

/* Null without memory. */
QX_C_API qx_queue* QX_CALL qx_queue_create(void);
/* Who waits in it gets QX_ERROR_OBJECT. */
QX_C_API qx_result QX_CALL qx_queue_destroy(qx_queue* queue);

/* As qx_share_desktop and qx_share_window. */
QX_C_API qx_result QX_CALL qx_share_desktop_to_queue(qx_screen_capture* capture, int32_t id,
                                                     qx_queue* queue, qx_share_error* error);
QX_C_API qx_result QX_CALL qx_share_window_to_queue(qx_screen_capture* capture, int32_t id,
                                                    qx_queue* queue, qx_share_error* error);

/* Waits until there is an event or a frame: QX_OK, or QX_ERROR_TIMEOUT. A thread that has
 * windows must not wait long: nothing is answered for it meanwhile. */
QX_C_API qx_result QX_CALL qx_queue_wait(qx_queue* queue, uint32_t timeout_ms);
/* The oldest event, or QX_ERROR_EMPTY. */
QX_C_API qx_result QX_CALL qx_queue_next_event(qx_queue* queue, qx_event* event);
/* The newest frame, once, or QX_ERROR_EMPTY. To be released. */
QX_C_API qx_result QX_CALL qx_queue_take_frame(qx_queue* queue, qx_frame** frame);

/* The picture is valid until the release. It must not be written. */
QX_C_API qx_result QX_CALL qx_frame_get_data(const qx_frame* frame, qx_screen_frame_data* data);
QX_C_API qx_result QX_CALL qx_frame_get_info(const qx_frame* frame, qx_frame_info* info);
/* A second release is QX_ERROR_OBJECT. */
QX_C_API qx_result QX_CALL qx_frame_release(qx_frame* frame);

#ifdef __cplusplus
}
#endif

#endif /* QX_SCREEN_CAPTURE_C_H_ */
