#pragma once

#include <windows.h>

#include <memory>
#include <mutex>

#include "common/Singleton.h"
#include "win/engine/mag/MagPicture.h"

namespace qx {

struct MagWindowParams {
  RECT rect = {};                       // where the window goes, in pixels of the virtual screen
  std::shared_ptr<MagPicture> picture;  // gets what the window draws
};

// "SC-MagThread", which runs the Magnification API for all engines: it initialises it,
// makes the magnifier windows, which never show, destroys them, and serves them in
// between. A window holds its picture as long as it lives, also when nobody waits for its
// end any more.
//
// Any thread may call, SC-MagThread apart. Who has to wait for that thread answers
// messages meanwhile and holds no lock, so a host that is called then may call the library
// again.
class MagThread : public Singleton<MagThread> {
 public:
  // Starts the thread unless it runs. False when the API is not to be had here (logged);
  // nothing is left behind then.
  bool Initialize();

  enum class Ending { Always, IfUnused };
  // Ends the thread, with all windows, and waits for it. `IfUnused`: unless there are
  // windows. Does nothing when it doesn't run, or is ending already.
  void UnInitialize(Ending ending = Ending::Always);

  bool IsInitialized() const;

  // Null when the thread doesn't run, doesn't answer within a second or can't make one.
  HWND CreateMagWindowOnThread(const MagWindowParams& params);

  // Whether the window is gone for certain. If not, it goes as soon as the thread gets
  // round to it, and nothing that its picture holds must be touched meanwhile.
  bool DestroyMagWindowOnThread(HWND window);

  // Whether somebody has a window, or is about to have one.
  bool HasMagWindow() const;

  // What a window of the thread draws for; null for any other window, and for one that
  // nobody wants any more. Any thread.
  std::shared_ptr<MagPicture> FindPicture(HWND window) const;

 private:
  friend class Singleton<MagThread>;
  MagThread() = default;
  ~MagThread() override { UnInitialize(); }

  class Life;
  struct Running;

  static std::shared_ptr<Running> prepare();
  std::shared_ptr<Running> present() const;
  std::shared_ptr<Life> presentLife() const;
  void forget(const std::shared_ptr<Running>& running);

  mutable std::mutex m_mutex;  // held for moments only
  std::shared_ptr<Running> m_running;
};

}  // namespace qx
