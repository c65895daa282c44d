#include "win/engine/wgc/CaptureThread.h"

#include "win/engine/wgc/CaptureThreadLife.h"

namespace qx {

CaptureThread::CaptureThread(HWND window) : m_life(std::make_shared<Life>(window)) {
  if (m_life->IsPrepared() && m_thread.Start([life = m_life] { life->Run(); })) {
    m_life->WaitUntilUp();
  }
}

CaptureThread::~CaptureThread() {
  if (m_thread.IsStarted()) {
    static_cast<void>(m_thread.JoinWithin(m_life->End()));
  }
}

bool CaptureThread::Start(const std::shared_ptr<CaptureSession>& session) {
  return m_life->Start(session);
}

void CaptureThread::Stop(const std::shared_ptr<CaptureSession>& session) { m_life->Stop(session); }

bool CaptureThread::HasWindowStateChanged() const { return m_life->HasWindowStateChanged(); }

void CaptureThread::ForgetWindowStateChange() { m_life->ForgetWindowStateChange(); }

}  // namespace qx
