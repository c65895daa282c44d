#include "win/engine/mag/MagThread.h"

#include <utility>

#include "common/Logging.h"
#include "win/engine/mag/MagThreadLife.h"
#include "win/engine/mag/MagnificationLibrary.h"
#include "win/util/Thread.h"

namespace qx {

// Who drops it last joins the thread, which therefore holds the life alone.
struct MagThread::Running {
  const std::shared_ptr<Life> life = std::make_shared<Life>();
  Thread thread;
};

// Null on failure (logged).
std::shared_ptr<MagThread::Running> MagThread::prepare() {
  auto running = std::make_shared<Running>();
  if (!running->life->Prepare()) {
    return nullptr;
  }
  if (!Magnification::LoadMagnificationFunctions()) {
    QX_LOG_ERROR("Load Magnification functions failed");
    return nullptr;
  }
  return running;
}

bool MagThread::Initialize() {
  for (;;) {
    std::shared_ptr<Running> running = present();
    if (running && running->life->GetPhase() == Life::Phase::Up) {
      return true;
    }
    if (!running) {
      const std::shared_ptr<Running> made = prepare();
      if (!made) {
        return false;
      }
      bool first = false;
      {
        const std::lock_guard lock(m_mutex);
        first = !m_running;
        if (first) {
          m_running = made;
        }
        running = m_running;
      }
      if (first && !running->thread.Start([life = running->life] { life->Run(); })) {
        running->life->Fail();
      }
    }
    Life& life = *running->life;
    QX_LOG_INFO("WaitForSingleObject begin");
    life.WaitWhile(Life::Phase::Starting);
    QX_LOG_INFO("WaitForSingleObject end");
    if (life.GetPhase() == Life::Phase::Up) {
      return true;
    }
    // One that is ending must be gone before there is another one.
    life.WaitWhile(Life::Phase::Ending);
    forget(running);
    if (life.GetPhase() == Life::Phase::Failed) {
      return false;
    }
  }
}

void MagThread::UnInitialize(Ending ending) {
  const std::shared_ptr<Running> running = present();
  if (!running) {
    return;
  }
  Life& life = *running->life;
  if (life.BeginEnd(ending)) {
    life.CloseMessageWindow();
    running->thread.Join();
  } else if (!life.IsOver()) {
    return;
  }
  forget(running);
}

bool MagThread::IsInitialized() const {
  const std::shared_ptr<Life> life = presentLife();
  return life && life->GetPhase() == Life::Phase::Up;
}

HWND MagThread::CreateMagWindowOnThread(const MagWindowParams& params) {
  const std::shared_ptr<Life> life = presentLife();
  return life ? life->Create(params) : nullptr;
}

bool MagThread::DestroyMagWindowOnThread(HWND window) {
  const std::shared_ptr<Life> life = presentLife();
  return !life || life->Destroy(window);
}

bool MagThread::HasMagWindow() const {
  const std::shared_ptr<Life> life = presentLife();
  return life && life->HasWindows();
}

std::shared_ptr<MagPicture> MagThread::FindPicture(HWND window) const {
  const std::shared_ptr<Life> life = presentLife();
  return life ? life->FindPicture(window) : nullptr;
}

std::shared_ptr<MagThread::Running> MagThread::present() const {
  const std::lock_guard lock(m_mutex);
  return m_running;
}

// What SC-MagThread itself may ask for: it must not come to join itself.
std::shared_ptr<MagThread::Life> MagThread::presentLife() const {
  const std::lock_guard lock(m_mutex);
  return m_running ? m_running->life : nullptr;
}

void MagThread::forget(const std::shared_ptr<Running>& running) {
  const std::lock_guard lock(m_mutex);
  if (m_running == running) {
    m_running.reset();  // the caller holds it
  }
}

}  // namespace qx
