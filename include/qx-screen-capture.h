// qx-screen-capture: share a monitor or a window of a Windows desktop.
//
// The whole public interface. A host creates a ScreenCapture, asks it what can
// be shared, starts one share and receives frames through a ShareListener:
//
//   MyListener listener;                        // derives from ShareListener
//   ScreenCapture capture;
//   ShareError error = ShareErrorNone;
//   if (capture.ShareDesktop(&app, monitorId, &listener, error)) {
//     ...                                       // frames arrive on a thread of the library
//     capture.ShareStop();
//   }
//
// Conventions
//  * Coordinates and sizes are pixels of the virtual screen.
//  * Window and monitor ids are the low 32 bits of the HWND or HMONITOR.
//  * Text is NUL-terminated; `wchar_t` text has the platform's wide encoding
//    (UTF-16 on Windows), `char` text is UTF-8.
//  * No operation throws, and no operation hands ownership to the host. What a
//    callback or a listener receives is valid during that call only.
//  * Any thread may call, several at once; but for the text of thumbnails, icons and
//    titles, which the next call writes over. Several ScreenCapture objects may be used
//    side by side, each with its own share.
#ifndef QX_SCREEN_CAPTURE_H_
#define QX_SCREEN_CAPTURE_H_

#include <cstdint>
#include <memory>

#if defined(_WIN32)
#if defined(QX_SCREEN_CAPTURE_BUILD)
#define QX_SCREEN_CAPTURE_API __declspec(dllexport)
#elif defined(QX_SCREEN_CAPTURE_STATIC)
#define QX_SCREEN_CAPTURE_API
#else
#define QX_SCREEN_CAPTURE_API __declspec(dllimport)
#endif
#else
#define QX_SCREEN_CAPTURE_API __attribute__((visibility("default")))
#endif

namespace qx {
class ScreenCaptureImpl;
}

// The operations of the library. Obtain one by creating a ScreenCapture.
//
// The order of the virtual operations is part of the binary interface.
class QX_SCREEN_CAPTURE_API IScreenCapture {
 public:
  // ---------------------------------------------------------------- sources

  // One monitor.
  struct DesktopInfo {
    std::int32_t id;         // the key for ShareDesktop and GetDesktopThumbnail
    std::int32_t handle;     // the same value as `id`
    std::int32_t isPrimary;  // 1 for the primary monitor, else 0
    std::int32_t x;          // left and top edge in virtual-screen pixels
    std::int32_t y;
    std::int32_t width;
    std::int32_t height;
  };

  // One top-level window that can be shared.
  struct WindowInfo {
    std::int32_t id;      // the key for ShareWindow and the window thumbnail, icon and title
    std::int32_t handle;  // the same value as `id`
    std::uint32_t processId;
    const wchar_t* processName;  // image file name without directory and extension, or empty
    const wchar_t* title;        // the window's own title, possibly empty
    std::int32_t x;              // the rectangle that a share of this window captures
    std::int32_t y;
    std::int32_t width;
    std::int32_t height;
  };

  // The rectangle being captured. All four are -1 when nothing is shared.
  struct CaptureRect {
    std::int32_t x;
    std::int32_t y;
    std::int32_t width;
    std::int32_t height;
  };

  // --------------------------------------------------------------- settings

  // The coloured frame that shows the user what is being shared. White
  // (255, 255, 255) is the frame window's transparent colour and can't be seen.
  struct PromptWindowInfo {
    std::int32_t r = 41;  // 0 to 255 each
    std::int32_t g = 204;
    std::int32_t b = 163;
    std::int32_t width = 4;  // thickness in pixels
  };

  // How large frames may be. A picture of more than `maxScreenPixels` is scaled
  // down, keeping its shape: to the box if it has the box's shape, else to so
  // many pixels, so it may be wider or higher than the box (3840x2160 becomes
  // 3032x1705). A scale near a half becomes a half, even above the limit.
  // `maxScreenPixels` must equal `maxScreenWidth * maxScreenHeight` unless that
  // product is 0; a limit that breaks this rule is accepted by the setter, and
  // then no frames come until it is corrected. One with 0 pixels, or with as
  // many as the present one, changes nothing; another one counts after the next
  // frame.
  struct ScreenFrameResolutionLimit {
    std::int32_t aspectRatioMode = 0;  // only 0 is valid
    std::uint64_t maxScreenWidth = 2880;
    std::uint64_t maxScreenHeight = 1800;
    std::uint64_t maxScreenPixels = 5184000;
  };

  // One rule of the exclude or the include list. A window on both lists is
  // captured. Two rules are the same when all fields are equal.
  struct FilterWindowInfo {
    std::uint32_t type = 0;       // 0: by window handle; 1: by process; others match nothing
    std::uint32_t titleRule = 0;  // for type 1: 0 every window of the process, 1 only one
                                  // whose title equals `title`, 2 only one whose title differs
    void* window = nullptr;       // for type 0: the HWND
    std::uint32_t processId = 0;  // for type 1
    char title[2048] = {};        // for titleRule 1 and 2, UTF-8
    std::uint32_t reserved = 0;   // part of a rule's identity, not of the matching
  };

  // Behaviour of captures. The reserved fields are carried and have no effect.
  struct ScreenCaptureConfig {
    // Milliseconds. The period of keep-live frames while a share is paused, and
    // with DynamicFrameCallback the longest silence between frames (below 50 an
    // unchanged picture is not repeated). A share takes its keep-live period
    // when it starts.
    std::uint64_t KeepAliveInterval = 1000;
    // Milliseconds that a shared window must hold still after a move before it
    // is captured again.
    std::uint64_t MovedWindowStableKeepMinDuration = 200;
    // True: an unchanged picture is not delivered again until KeepAliveInterval
    // has nearly passed. False: every tick delivers a frame.
    bool DynamicFrameCallback = false;
    std::int32_t reservedInt1 = 0;
    bool GetDirtyRectInfo = false;  // gather dirty figures; OnFrameDirtyInfo comes
    bool reservedFlag1 = true;
    // Detect unchanged pictures. Without it the DXGI engine gives up on a still
    // screen.
    bool scDynamicCheck = true;
    bool reservedFlag2 = false;
    bool reservedFlag3 = false;
    bool reservedFlag4 = false;
    bool reservedFlag5 = false;
    bool reservedFlag6 = false;
    bool reservedFlag7 = false;
    std::int32_t reservedInt2 = 100;
    bool reservedFlag8 = false;
    std::int32_t reservedInt3 = 10;
    std::int32_t reservedInt4 = 3;
    bool reservedFlag9 = false;
    bool reservedFlag10 = false;
    // How the magnification engine draws the cursor, when one is next made.
    bool scNewMouseCaptureWay = false;
  };

  // ScreenCaptureConfig as far as a live broadcast sets it: the same fields in
  // the same order, without the last three.
  struct LivingScreenCaptureConfig {
    std::uint64_t KeepAliveInterval = 1000;
    std::uint64_t MovedWindowStableKeepMinDuration = 200;
    bool DynamicFrameCallback = false;
    std::int32_t reservedInt1 = 0;
    bool GetDirtyRectInfo = false;
    bool reservedFlag1 = true;
    bool scDynamicCheck = true;
    bool reservedFlag2 = false;
    bool reservedFlag3 = false;
    bool reservedFlag4 = false;
    bool reservedFlag5 = false;
    bool reservedFlag6 = false;
    bool reservedFlag7 = false;
    std::int32_t reservedInt2 = 100;
    bool reservedFlag8 = false;
    std::int32_t reservedInt3 = 10;
    std::int32_t reservedInt4 = 3;
  };

  // ----------------------------------------------------------------- frames

  enum ScreenFrameFormat : std::int32_t {
    ScreenFrameFormatARGB = 0,  // 32-bit pixels, bytes B, G, R, A in memory
    ScreenFrameFormatI420 = 1,  // planar 4:2:0: Y, U, V
  };

  // One delivered frame. The record and the pixels belong to the library and
  // are valid only during OnFrame. Read only the pixel fields of the group that
  // `format` names; the other group keeps whatever it held.
  struct ScreenFrameData {
    ScreenFrameFormat format = ScreenFrameFormatARGB;
    // Microseconds since 1970-01-01 UTC, read just before the capture. A
    // keep-live frame carries the time at which it was sent.
    std::int64_t timestamp = 0;
    std::uint32_t reserved = 0;
    std::int32_t width = 0;  // of the delivered picture
    std::int32_t height = 0;
    std::int32_t raw_width = 0;  // of the captured rectangle, before scaling
    std::int32_t raw_height = 0;
    std::int32_t stride = 0;       // ARGB: bytes per row, always width * 4
    std::uint8_t* data = nullptr;  // ARGB: first row, top to bottom
    std::int32_t strideY = 0;      // I420: bytes per row of each plane
    std::int32_t strideU = 0;
    std::int32_t strideV = 0;
    std::uint8_t* dataY = nullptr;  // I420: the planes; width and height are even
    std::uint8_t* dataU = nullptr;
    std::uint8_t* dataV = nullptr;
  };

  // The record of OnFrameStatistics.
  struct ScreenFrameStatistics {
    bool hasFps = false;  // `fps` is valid; always true
    std::int32_t fps = 0;
    bool reservedFlag = false;
    std::int32_t reservedA = -1;
    std::int32_t reservedB = -1;
  };

  // -------------------------------------------------------- codes and kinds

  enum CaptureEngineType : std::int32_t {
    CaptureEngineNone = 0,  // reported when no engine is left; selects nothing
    CaptureEngineMag = 1,   // Magnification API
    CaptureEngineDXGI = 2,  // desktop duplication
    CaptureEngineWGC = 3,   // Windows.Graphics.Capture
    CaptureEngineGDIBitBlt = 4,
    CaptureEngineGDIPrintWindow = 5,  // windows only
  };

  // Why ShareDesktop or ShareWindow answered false.
  enum ShareError : std::int32_t {
    ShareErrorNone = 0,
    ShareErrorTaskRunning = 2,    // this object has a share already; ShareStop first
    ShareErrorNullListener = 3,   // the listener argument is null
    ShareErrorTargetMissing = 4,  // no such monitor or window
    ShareErrorStartFailed = 5,    // no capture engine could start, or the window is on no
                                  // monitor
  };

  enum SharePauseReason : std::int32_t {
    PauseReasonCaptureFailed = 1,
    PauseReasonInvoked = 2,              // the host called SharePause
    PauseReasonWindowHidden = 3,         // invisible, minimised, cloaked or on no monitor
    PauseReasonWindowMoved = 4,          // the window moved or changed size
    PauseReasonOtherVirtualDesktop = 5,  // the window is on another virtual desktop
    PauseReasonFilterFailed = 6,         // excluded windows could not be kept out
  };

  // -------------------------------------------------------------- callbacks
  // Arrays and strings are valid only during the call. An empty result comes as
  // a null array with count 0. `user` is handed back as it was given.

  using DesktopListCallback = void (*)(const DesktopInfo* desktops, const int& count, void* user);
  using WindowListCallback = void (*)(const WindowInfo* windows, const int& count, void* user);
  // One text per id, ids ascending: "data:image/png; base64," and the picture, or ""
  // where the thumbnail failed.
  using ThumbnailListCallback = void (*)(const int* ids, const char** thumbnails, const int& count,
                                         void* user);
  using LogCallback = void (*)(int level, const char* file, int line, const char* message);

  // Implemented by the host, borrowed by the library from a successful
  // ShareDesktop or ShareWindow until ShareStop has returned.
  //
  // `context` is the pointer given to ShareDesktop or ShareWindow.
  //
  // OnStart, and OnCaptureEngineName for the first engine, run on the thread
  // that starts the share, before the start returns. All others run on the
  // share's capture thread, one at a time: an operation must return quickly, may
  // call settings, SharePause and ShareResume, and must not call ShareStop or
  // destroy the ScreenCapture, which wait for that very thread.
  class ShareListener {
   public:
    virtual ~ShareListener() = default;

    virtual void OnStart(void* context) = 0;
    // No new frames until OnResume. The last one is repeated every
    // KeepAliveInterval milliseconds, at first with width 0 and no pixels if
    // none was delivered yet. A further OnPause replaces the reason.
    virtual void OnPause(void* context, SharePauseReason reason) = 0;
    virtual void OnResume(void* context) = 0;
    // The library ended the share by itself: the monitor or window is gone, or
    // the screen was locked. ShareStop is still to be called. It does not come
    // from ShareStop.
    virtual void OnStop(void* context) = 0;
    // Once a share, right before the first OnFrame of a captured picture.
    virtual void OnFirstFrame(void* context) = 0;
    virtual void OnFrame(void* context, const ScreenFrameData* frame) = 0;
    // Comes before the OnFrame it belongs to, with GetDirtyRectInfo on, and alone
    // when an unchanged frame is held back; repeats of a pause have none. `valid`
    // is false when the engine does not know. `ratio` is the area of the changed
    // rectangles over that of the picture: 0 to 1, or a little more, since they may
    // overlap and the cursor counts as one. The DXGI engine counts none while
    // EnableFilterWindowWhenShareDesktop is on.
    virtual void OnFrameDirtyInfo(void* context, bool valid, std::uint64_t rectCount,
                                  double ratio) = 0;
    // The share moved over to the slide show of the shared window's program, or
    // back; it does so by itself. `reserved` is 0.
    virtual void OnShareWindowChanged(void* context, int window, int reserved) = 0;
    // The shared monitor got a new handle.
    virtual void OnShareDesktopChanged(void* context, int monitor) = 0;
    // The engine in use changed. `reserved` refers to 0, `flag` is true,
    // `reservedInt` is 0.
    virtual void OnCaptureEngineName(void* context, CaptureEngineType& engine, int& reserved,
                                     bool flag, int reservedInt) = 0;
    // About every five seconds, to one share of the process: the one that delivers
    // a frame then.
    virtual void OnFrameStatistics(void* context, const ScreenFrameStatistics* statistics) = 0;
    virtual void OnShareRectChanged(void* context, int x, int y, int width, int height) = 0;
  };

  // ------------------------------------------------------------- operations

  IScreenCapture();
  IScreenCapture(const IScreenCapture&);
  IScreenCapture& operator=(const IScreenCapture&);
  virtual ~IScreenCapture();

  // Whether a monitor share keeps excluded windows out of the picture, as far
  // as the engine in use can. Default true. Rebuilds the engine of a share. When
  // false the Mag engine comes after DXGI and WGC, and leaves them out all the same.
  //
  //   engine           excluded windows, or what       included windows
  //                    covers a shared window
  //   Mag              left out                        shown
  //   DXGI             shown                           shown
  //   WGC, a monitor   shown                           shown
  //   WGC, a window    left out                        (not used while there are some)
  //   GDIBitBlt        shown; left out only without    shown
  //                    desktop composition
  //   GDIPrintWindow   left out                        not shown
  //
  // An engine that fails gives way to the next one of the share's list, which may
  // show more: OnCaptureEngineName tells, and SetCaptureEngineConfig says which
  // engines may be used.
  virtual void EnableFilterWindowWhenShareDesktop(bool enable) = 0;

  // The exclude list: windows to keep out of the picture, and out of
  // GetWindowList. Set adds to what is there; the records are copied. A null
  // array or a negative count does nothing. Changes reach a running share at
  // its next frame.
  virtual void SetExcludeWindows(const FilterWindowInfo* windows, const int& count) = 0;
  virtual void AddExcludeWindow(const FilterWindowInfo& window) = 0;
  virtual void RemoveExcludeWindow(const FilterWindowInfo& window) = 0;
  virtual void ClearExcludeWindows() = 0;

  // The include list: windows to show although they would otherwise be cut out.
  virtual void SetIncludeWindows(const FilterWindowInfo* windows, const int& count) = 0;
  virtual void AddIncludeWindow(const FilterWindowInfo& window) = 0;
  virtual void RemoveIncludeWindow(const FilterWindowInfo& window) = 0;
  virtual void ClearIncludeWindows() = 0;

  // Monitors in the system's order. The callback runs before the call returns;
  // with Async on a thread made for the call, which keeps the library loaded and
  // needs this object no more. Callbacks of several Async calls may overlap. A
  // callback comes exactly once, on the caller's thread when there is no other; a
  // null one does nothing.
  virtual void GetDesktopList(DesktopListCallback callback, void* user) = 0;
  virtual void GetDesktopListAsync(DesktopListCallback callback, void* user) = 0;

  // Thumbnails: PNG pictures of exactly width x height, 1 to 16384 pixels each, as
  // text as in ThumbnailListCallback. `id` is one of the last list, by any object,
  // that was not empty; null when it isn't, for other sizes, and when there is no
  // picture, since the monitor or window is gone, say. The text belongs to the
  // library and is valid until the next call of the same operation that gives one,
  // on any object: call it on one thread at a time, and copy.
  //
  // The All forms make one of each monitor or window of that list; the callback
  // runs as for the lists.
  //
  // A monitor's thumbnail is what the screen shows, whole windows and all, with its
  // proportions; the bars above and below or left and right are transparent.
  virtual const char* GetDesktopThumbnail(int id, int width, int height) = 0;
  virtual void GetDesktopThumbnailAll(int width, int height, ThumbnailListCallback callback,
                                      void* user) = 0;
  virtual void GetDesktopThumbnailAllAsync(int width, int height, ThumbnailListCallback callback,
                                           void* user) = 0;

  // Top-level windows that can be shared, topmost first.
  virtual void GetWindowList(WindowListCallback callback, void* user) = 0;
  virtual void GetWindowListAsync(WindowListCallback callback, void* user) = 0;

  // A window's thumbnail shows that window alone, also when it is covered or
  // minimised, and leaves it as it is. The picture fills width x height, so ask for
  // the window's own proportions; only with the All forms on Windows 7 and 8, where
  // the magnification engine works, it has the window's proportions, with bars as
  // above. Below Windows 8.1 a window may have to print itself, for which a hung one
  // gets 200 milliseconds.
  //
  // While such a call runs, a window of the library lies left of and above the
  // monitors of the last list. It is never activated.
  virtual const char* GetWindowThumbnail(int id, int width, int height) = 0;
  virtual void GetWindowThumbnailAll(int width, int height, ThumbnailListCallback callback,
                                     void* user) = 0;
  virtual void GetWindowThumbnailAllAsync(int width, int height, ThumbnailListCallback callback,
                                          void* user) = 0;

  // Whether monitor shares and, before Windows 8.1, thumbnails of windows may use
  // the magnification engine. Default true. Holds for all ScreenCapture objects of
  // the process, and counts for a share when an engine is next made.
  virtual void SetCanUseMagCapture(bool canUseMag) = 0;

  // Icon and present title of a listed window; "" when there is none. Never
  // null. Valid until the next call.
  virtual const char* GetWindowIcon(int id) = 0;
  virtual const wchar_t* GetWindowTitle(int id) = 0;

  // The settings below can be changed at any time; they hold for the running
  // share, as each says, and for all later ones of this object. What concerns
  // the picture (cursor, size, format) shows within a few frames, also while
  // nothing changes on the screen.

  virtual void EnableCaptureCursor(bool enable) = 0;  // default true
  // Whether a shared window is raised: when the share starts, on ShareResume, and
  // when the share moves over to another window. Default true. A minimised window
  // is restored at the start in any case.
  virtual void EnableActiveShareWindow(bool enable) = 0;
  virtual void EnablePromptWindow(bool enable) = 0;  // default true: show the coloured frame
  // Of the running share's engine only, and only the Mag and WGC engines.
  virtual void SetDynamicCheck(bool check) = 0;
  // Restricts the engines to `types`; an empty list allows all. `wgcPriority`
  // puts WGC before DXGI. Takes effect when an engine is next created.
  virtual void SetCaptureEngineConfig(const CaptureEngineType* types, int count,
                                      bool wgcPriority) = 0;
  virtual void SetPromptWindowInfo(const PromptWindowInfo* info) = 0;  // null does nothing
  virtual void SetCaptureFrameResolutionLimit(const ScreenFrameResolutionLimit& limit) = 0;
  virtual void SetScreenFrameFormatType(const ScreenFrameFormat& type) = 0;  // default ARGB
  virtual void SetScreenCaptureConfig(const ScreenCaptureConfig& config) = 0;
  virtual void SetLivingScreenCaptureConfig(const LivingScreenCaptureConfig& config) = 0;
  virtual void SetCaptureFPS(int fps) = 0;           // 1 to 30, default 15; others change nothing
  virtual void SetWindows(int* ids, int count) = 0;  // reserved, does nothing

  // Starts a share of a monitor or a window. On false `error` says why, and the
  // object is as before. On success frames come until ShareStop.
  virtual bool ShareDesktop(void* context, int id, ShareListener* listener, ShareError& error) = 0;
  virtual bool ShareWindow(void* context, int id, ShareListener* listener, ShareError& error) = 0;
  // Reserved: answers false and leaves `error` alone.
  virtual bool ShareWindows(void* context, int* ids, int count, ShareListener* listener,
                            ShareError& error) = 0;

  // Take effect with the next capture tick; OnPause and OnResume tell.
  virtual void SharePause() = 0;
  virtual void ShareResume() = 0;
  // Ends the share. When it returns no listener operation is running, and none
  // will come. Does nothing without a share.
  virtual void ShareStop() = 0;
  virtual void GetCaptureRect(CaptureRect& rect) = 0;
};

// The one implementation of IScreenCapture.
class QX_SCREEN_CAPTURE_API ScreenCapture : public IScreenCapture {
 public:
  ScreenCapture();
  ScreenCapture(const ScreenCapture&) = delete;
  ScreenCapture& operator=(const ScreenCapture&) = delete;
  // Ends a running share without a call to its listener.
  ~ScreenCapture() override;

  void EnableFilterWindowWhenShareDesktop(bool enable) override;
  void SetExcludeWindows(const FilterWindowInfo* windows, const int& count) override;
  void AddExcludeWindow(const FilterWindowInfo& window) override;
  void RemoveExcludeWindow(const FilterWindowInfo& window) override;
  void ClearExcludeWindows() override;
  void SetIncludeWindows(const FilterWindowInfo* windows, const int& count) override;
  void AddIncludeWindow(const FilterWindowInfo& window) override;
  void RemoveIncludeWindow(const FilterWindowInfo& window) override;
  void ClearIncludeWindows() override;
  void GetDesktopList(DesktopListCallback callback, void* user) override;
  void GetDesktopListAsync(DesktopListCallback callback, void* user) override;
  const char* GetDesktopThumbnail(int id, int width, int height) override;
  void GetDesktopThumbnailAll(int width, int height, ThumbnailListCallback callback,
                              void* user) override;
  void GetDesktopThumbnailAllAsync(int width, int height, ThumbnailListCallback callback,
                                   void* user) override;
  void GetWindowList(WindowListCallback callback, void* user) override;
  void GetWindowListAsync(WindowListCallback callback, void* user) override;
  const char* GetWindowThumbnail(int id, int width, int height) override;
  void GetWindowThumbnailAll(int width, int height, ThumbnailListCallback callback,
                             void* user) override;
  void GetWindowThumbnailAllAsync(int width, int height, ThumbnailListCallback callback,
                                  void* user) override;
  void SetCanUseMagCapture(bool canUseMag) override;
  const char* GetWindowIcon(int id) override;
  const wchar_t* GetWindowTitle(int id) override;
  void EnableCaptureCursor(bool enable) override;
  void EnableActiveShareWindow(bool enable) override;
  void EnablePromptWindow(bool enable) override;
  void SetDynamicCheck(bool check) override;
  void SetCaptureEngineConfig(const CaptureEngineType* types, int count, bool wgcPriority) override;
  void SetPromptWindowInfo(const PromptWindowInfo* info) override;
  void SetCaptureFrameResolutionLimit(const ScreenFrameResolutionLimit& limit) override;
  void SetScreenFrameFormatType(const ScreenFrameFormat& type) override;
  void SetScreenCaptureConfig(const ScreenCaptureConfig& config) override;
  void SetLivingScreenCaptureConfig(const LivingScreenCaptureConfig& config) override;
  void SetCaptureFPS(int fps) override;
  void SetWindows(int* ids, int count) override;
  bool ShareDesktop(void* context, int id, ShareListener* listener, ShareError& error) override;
  bool ShareWindow(void* context, int id, ShareListener* listener, ShareError& error) override;
  bool ShareWindows(void* context, int* ids, int count, ShareListener* listener,
                    ShareError& error) override;
  void SharePause() override;
  void ShareResume() override;
  void ShareStop() override;
  void GetCaptureRect(CaptureRect& rect) override;

  // Keeps the magnification engine's hooks working beside Direct3D 12 content.
  // Call it once, before the first share.
  static void EnableScreenShareD3D12CompatibleFix();

  // Where the library's messages go; there is no other log. The callback is
  // called on any thread, also on the host's own during its calls, on several at
  // once, must return quickly and not throw, and must not stop a share or destroy an
  // object: the thread may be the share's own. Levels: 2 detail, 3 workflow, 4 a failure that the
  // library survives, 5 a failure that ends the operation. A call in flight can
  // reach the old callback after it was replaced or removed.
  static void RegisterLogCallback(LogCallback callback);
  static void UnregisterLogCallBack();

  // Reserved. No audio is captured and no callback is ever made.
  static void RegisterAudioErrorCallback(void (*callback)(const char* message));
  static void RegisterAudioVolumeCallback(void (*callback)(int volume));
  static void SetAudioCaptureDebugPath(const char* path);
  static void StartAudioCapture(int device);
  static void StopAudioCapture();

 private:
#ifdef _MSC_VER
#pragma warning(suppress : 4251)  // no host touches it
#endif
  std::unique_ptr<qx::ScreenCaptureImpl> m_impl;
};

#endif  // QX_SCREEN_CAPTURE_H_
