#include "platform/model/GraphicsCaptureSession.h"

#include <utility>

#include "platform/model/Inspectable.h"
#include "platform/model/Machine.h"

namespace vwin::capture {
namespace {

constexpr Version kCursorSince{10, 0, 19041};
constexpr Version kBorderSince = kWindows11;

std::vector<std::shared_ptr<const SessionState>>& All(Lock&) {
  static auto* const all = new std::vector<std::shared_ptr<const SessionState>>;
  return *all;
}

class Session final
    : public Inspectable<wgc::IGraphicsCaptureSession, wgc::IGraphicsCaptureSession2,
                         wgc::IGraphicsCaptureSession3, wgc::IClosable> {
 public:
  Session(wgc::IGraphicsCaptureItem* item, std::shared_ptr<SessionState> state)
      : Inspectable("GraphicsCaptureSession", "IDirect3D11CaptureFramePool::CreateCaptureSession"),
        m_item(item),
        m_state(std::move(state)) {
    m_item->AddRef();
    Lock lock;
    All(lock).push_back(m_state);
  }

  HRESULT STDMETHODCALLTYPE StartCapture() override {
    VWIN_METHOD(IGraphicsCaptureSession::StartCapture);
    if (fault) return fault->hresult;
    Lock lock;
    if (m_state->ended) return RO_E_CLOSED;
    if (m_state->started) return E_ILLEGAL_METHOD_CALL;
    SpendTime(lock, "StartCapture", &Machine::captureStartTakes);
    if (m_state->ended) return RO_E_CLOSED;  // meanwhile
    m_state->started = true;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE get_IsCursorCaptureEnabled(wgc::Boolean* enabled) override {
    VWIN_METHOD(IGraphicsCaptureSession2::get_IsCursorCaptureEnabled);
    return fault ? fault->hresult : get(&SessionState::cursor, enabled);
  }
  HRESULT STDMETHODCALLTYPE put_IsCursorCaptureEnabled(wgc::Boolean enabled) override {
    VWIN_METHOD(IGraphicsCaptureSession2::put_IsCursorCaptureEnabled);
    return fault ? fault->hresult : put(&SessionState::cursor, enabled);
  }
  HRESULT STDMETHODCALLTYPE get_IsBorderRequired(wgc::Boolean* required) override {
    VWIN_METHOD(IGraphicsCaptureSession3::get_IsBorderRequired);
    return fault ? fault->hresult : get(&SessionState::border, required);
  }
  HRESULT STDMETHODCALLTYPE put_IsBorderRequired(wgc::Boolean required) override {
    VWIN_METHOD(IGraphicsCaptureSession3::put_IsBorderRequired);
    return fault ? fault->hresult : put(&SessionState::border, required);
  }

  HRESULT STDMETHODCALLTYPE Close() override {
    VWIN_METHOD(IClosable::Close);
    Lock lock;
    end(lock);
    // It is closed, whatever the answer is.
    return fault ? fault->hresult : S_OK;
  }

 private:
  bool has(REFIID iid) const override {
    Lock lock;
    const Version version = TheMachine(lock).version;
    if (iid == wgc::IID_IGraphicsCaptureSession2) return version >= kCursorSince;
    if (iid == wgc::IID_IGraphicsCaptureSession3) return version >= kBorderSince;
    return true;
  }
  void onLastRelease(Lock& lock) override { end(lock); }
  void afterLastRelease() override { m_item->Release(); }

  void end(Lock& lock) {
    m_state->ended = true;
    std::erase(All(lock), m_state);
  }

  HRESULT get(bool SessionState::*fact, wgc::Boolean* value) const {
    if (value == nullptr) return E_POINTER;
    Lock lock;
    if (m_state->ended) return RO_E_CLOSED;
    *value = *m_state.*fact;
    return S_OK;
  }
  HRESULT put(bool SessionState::*fact, wgc::Boolean value) const {
    Lock lock;
    if (m_state->ended) return RO_E_CLOSED;
    *m_state.*fact = value != 0;
    return S_OK;
  }

  wgc::IGraphicsCaptureItem* const m_item;
  const std::shared_ptr<SessionState> m_state;
};

}  // namespace

HRESULT MakeSession(wgc::IGraphicsCaptureItem* item, const std::shared_ptr<SessionState>& state,
                    wgc::IGraphicsCaptureSession** session) {
  return Session::Make<Session>(wgc::IID_IGraphicsCaptureSession, reinterpret_cast<void**>(session),
                                item, state);
}

std::vector<std::shared_ptr<const SessionState>> Sessions(Lock& lock) { return All(lock); }

}  // namespace vwin::capture
