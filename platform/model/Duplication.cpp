#include "platform/model/Duplication.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/model/ChangedParts.h"
#include "platform/model/Compositor.h"
#include "platform/model/D3D11Device.h"
#include "platform/model/D3D11Objects.h"
#include "platform/model/Machine.h"
#include "platform/model/Rects.h"
#include "platform/model/Threads.h"
#include "platform/model/TurnedPicture.h"

// The loops over pixels are worth vector instructions in every build.
#pragma GCC optimize("O3")

namespace vwin {

VWIN_INTERFACE_IDS(IDXGIOutputDuplication, &IID_IDXGIObject, &IID_IDXGIOutputDuplication);

namespace dxgi {
namespace {

constexpr std::uint32_t kOpaque = 0xFF000000;
// Of a frame that brings no picture.
constexpr std::uint32_t kNeverDrawn = 0xFFBADBAD;

// The cursor as a duplication tells of it.
struct Pointer {
  bool visible = false;
  POINT position{};                     // of the shape's top left, on the monitor
  std::shared_ptr<const void> shapeId;  // which shape; another one is another object

  bool LooksLike(const Pointer& other) const {
    if (!visible || !other.visible) return visible == other.visible;
    return position.x == other.position.x && position.y == other.position.y &&
           shapeId == other.shapeId;
  }
};

std::shared_ptr<const PointerShape> shapeOf(const CursorShape& cursor) {
  const auto shape = std::make_shared<PointerShape>();
  shape->type = DXGI_OUTDUPL_POINTER_SHAPE_TYPE_COLOR;
  shape->width = static_cast<std::uint32_t>(cursor.width);
  shape->height = static_cast<std::uint32_t>(cursor.height);
  shape->pitch = shape->width * 4;
  shape->hotspot = {cursor.hotspotX, cursor.hotspotY};
  shape->bytes.resize(cursor.pixels.size() * sizeof(std::uint32_t));
  std::memcpy(shape->bytes.data(), cursor.pixels.data(), shape->bytes.size());
  return shape;
}

// What a caller gets of a list: all of it, or how much there is.
template <typename Item>
HRESULT copyOut(const std::vector<Item>& items, UINT size, void* buffer, UINT* required) {
  *required = static_cast<UINT>(items.size() * sizeof(Item));
  if (size < *required) return DXGI_ERROR_MORE_DATA;
  if (*required != 0) std::memcpy(buffer, items.data(), *required);
  return S_OK;
}

class Duplication final : public ComImplementation<IDXGIOutputDuplication> {
 public:
  Duplication(ID3D11Device* device, const Monitor& monitor)
      : ComImplementation("IDXGIOutputDuplication", "IDXGIOutput1::DuplicateOutput"),
        m_device(device),
        m_monitor(monitor.handle),
        m_rect(monitor.rect),
        m_quarterTurns(monitor.quarterTurns),
        m_rotation(RotationOf(monitor)),
        m_modeChanges(monitor.modeChanges),
        m_movesSeen(monitor.moves.size()) {
    m_device->AddRef();
    Lock lock;
    m_desktopSwitches = TheMachine(lock).desktopSwitches;
    m_format = static_cast<DXGI_FORMAT>(TheMachine(lock).duplicateFormat);
  }

  void STDMETHODCALLTYPE GetDesc(DXGI_OUTDUPL_DESC* desc) override {
    VWIN_METHOD_INFALLIBLE(IDXGIOutputDuplication::GetDesc);
    *desc = {};
    // Upright, unlike the picture.
    desc->ModeDesc.Width = static_cast<UINT>(WidthOf(m_rect));
    desc->ModeDesc.Height = static_cast<UINT>(HeightOf(m_rect));
    desc->ModeDesc.RefreshRate = {60, 1};
    desc->ModeDesc.Format = m_format;
    desc->Rotation = m_rotation;
  }

  HRESULT STDMETHODCALLTYPE AcquireNextFrame(UINT timeoutMs, DXGI_OUTDUPL_FRAME_INFO* info,
                                             IDXGIResource** resource) override {
    VWIN_METHOD(IDXGIOutputDuplication::AcquireNextFrame);
    if (info == nullptr || resource == nullptr) return E_INVALIDARG;
    *info = {};
    *resource = nullptr;
    if (fault) return fault->hresult;
    std::shared_ptr<d3d11::TextureContent> picture;
    {
      Lock lock;
      if (m_held) {
        return outOfOrder(lock, "IDXGIOutputDuplication::AcquireNextFrame: a frame is held",
                          DXGI_ERROR_INVALID_CALL);
      }
      const auto hasNews = [&] { return isLost(lock) || look(lock); };
      const bool found = scheduler::WaitUntil(lock, "AcquireNextFrame", hasNews,
                                              threads::Deadline(lock, timeoutMs));
      if (isLost(lock)) return DXGI_ERROR_ACCESS_LOST;
      if (!found) return DXGI_ERROR_WAIT_TIMEOUT;
      picture = take(lock, *info);
    }
    return d3d11::Texture::Make<d3d11::Texture>(
        IID_IDXGIResource, reinterpret_cast<void**>(resource), m_device, picture,
        "IDXGIOutputDuplication::AcquireNextFrame");
  }

  HRESULT STDMETHODCALLTYPE GetFrameDirtyRects(UINT size, RECT* rects, UINT* required) override {
    VWIN_METHOD(IDXGIOutputDuplication::GetFrameDirtyRects);
    if (rects == nullptr || required == nullptr) return E_INVALIDARG;
    if (fault) return fault->hresult;
    Lock lock;
    const HRESULT state = stateOfFrame(lock);
    return FAILED(state) ? state : copyOut(m_dirtyRects, size, rects, required);
  }
  HRESULT STDMETHODCALLTYPE GetFrameMoveRects(UINT size, DXGI_OUTDUPL_MOVE_RECT* rects,
                                              UINT* required) override {
    VWIN_METHOD(IDXGIOutputDuplication::GetFrameMoveRects);
    if (rects == nullptr || required == nullptr) return E_INVALIDARG;
    if (fault) return fault->hresult;
    Lock lock;
    const HRESULT state = stateOfFrame(lock);
    return FAILED(state) ? state : copyOut(m_moveRects, size, rects, required);
  }
  HRESULT STDMETHODCALLTYPE GetFramePointerShape(UINT size, void* buffer, UINT* required,
                                                 DXGI_OUTDUPL_POINTER_SHAPE_INFO* info) override {
    VWIN_METHOD(IDXGIOutputDuplication::GetFramePointerShape);
    if (buffer == nullptr || required == nullptr || info == nullptr) return E_INVALIDARG;
    *info = {};
    if (fault) return fault->hresult;
    Lock lock;
    if (const HRESULT state = stateOfFrame(lock); FAILED(state)) return state;
    *required = 0;
    if (!m_newShape) return S_OK;
    const HRESULT copied = copyOut(m_newShape->bytes, size, buffer, required);
    if (SUCCEEDED(copied)) {
      *info = {m_newShape->type, m_newShape->width, m_newShape->height, m_newShape->pitch,
               m_newShape->hotspot};
    }
    return copied;
  }

  HRESULT STDMETHODCALLTYPE ReleaseFrame() override {
    VWIN_METHOD(IDXGIOutputDuplication::ReleaseFrame);
    Lock lock;
    if (!std::exchange(m_held, false)) {
      return outOfOrder(lock, "IDXGIOutputDuplication::ReleaseFrame: no frame is held",
                        DXGI_ERROR_INVALID_CALL);
    }
    m_lent->withdrawn = true;
    m_lent.reset();
    m_dirtyRects.clear();
    m_moveRects.clear();
    m_newShape.reset();
    // The frame is gone, whatever the answer is.
    if (fault) return fault->hresult;
    return isLost(lock) ? DXGI_ERROR_ACCESS_LOST : S_OK;
  }

 private:
  void onLastRelease(Lock& lock) override {
    TheMachine(lock).duplicated.erase(m_monitor);
    if (m_held)
      ledger::Misuse(lock, "IDXGIOutputDuplication: released before the frame that it gave");
  }
  void afterLastRelease() override {
    m_shown.reset();
    m_next.reset();
    m_lent.reset();
    m_device->Release();
  }

  // For good: what is counted never goes back.
  bool isLost(Lock& lock) const {
    const auto monitor = desktop::FindMonitor(lock, m_monitor);
    return !monitor || monitor->modeChanges != m_modeChanges ||
           FAILED(d3d11::StateOf(lock, m_device)) ||
           TheMachine(lock).desktopSwitches != m_desktopSwitches;
  }

  HRESULT stateOfFrame(Lock& lock) const {
    if (isLost(lock)) return DXGI_ERROR_ACCESS_LOST;
    return m_held ? S_OK : DXGI_ERROR_INVALID_CALL;
  }

  // ------------------------------------------------------------ what is on the screen

  std::shared_ptr<d3d11::TextureContent> makePicture() const {
    const bool sideways = m_quarterTurns % 2 != 0;
    D3D11_TEXTURE2D_DESC desc{};
    desc.Width = static_cast<UINT>(sideways ? HeightOf(m_rect) : WidthOf(m_rect));
    desc.Height = static_cast<UINT>(sideways ? WidthOf(m_rect) : HeightOf(m_rect));
    desc.MipLevels = 1;
    desc.ArraySize = 1;
    desc.Format = DXGI_FORMAT_B8G8R8A8_UNORM;
    desc.SampleDesc = {1, 0};
    desc.BindFlags = D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_RENDER_TARGET;
    return std::make_shared<d3d11::TextureContent>(desc);
  }

  // Draws the screen as it is into `m_next`.
  void draw(Lock& lock) {
    if (!m_next) m_next = makePicture();
    const d3d11::Image image = m_next->image();
    if (m_quarterTurns == 0) {
      compositor::Compose(lock, m_rect, image.pixels, image.stride);
    } else {
      // A card holds the picture of a turned monitor as it was before.
      const int width = WidthOf(m_rect), height = HeightOf(m_rect);
      m_upright.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
      compositor::Compose(lock, m_rect, m_upright.data(), width);
      TurnPicture(m_upright.data(), width, height, width, 4 - m_quarterTurns, image.pixels,
                  image.stride);
    }
    std::uint32_t* const end = image.Row(image.height);
    for (std::uint32_t* pixel = image.pixels; pixel != end; ++pixel) *pixel |= kOpaque;
  }

  std::optional<Pointer> pointerNews(Lock& lock) const {
    const Cursor& cursor = desktop::Get(lock).cursor;
    const auto picture = handles::Get<CursorShape>(lock, HandleKind::kCursor, cursor.shape);
    const auto& given = TheMachine(lock).pointerShape;
    Pointer pointer;
    pointer.visible = cursor.showing && picture && Holds(m_rect, cursor.position);
    if (picture) {
      const POINT hotspot = given ? given->hotspot : POINT{picture->hotspotX, picture->hotspotY};
      pointer.position = {cursor.position.x - hotspot.x - m_rect.left,
                          cursor.position.y - hotspot.y - m_rect.top};
      pointer.shapeId = given ? std::shared_ptr<const void>(given) : picture;
    }
    if (m_pointer && m_pointer->LooksLike(pointer)) return std::nullopt;
    return pointer;
  }

  bool hasMoves(Lock& lock) const {
    return desktop::FindMonitor(lock, m_monitor)->moves.size() > m_movesSeen;
  }

  // Whether there is anything to tell. Leaves the screen in `m_next` and what changed in
  // `m_dirtyRects`.
  bool look(Lock& lock) {
    draw(lock);
    const d3d11::Image next = m_next->image();
    m_dirtyRects = m_shown ? ChangedParts(m_shown->pixels.get(), next.pixels, next.width,
                                          next.height, next.stride)
                           : std::vector<RECT>{{0, 0, next.width, next.height}};
    return !m_dirtyRects.empty() || hasMoves(lock) || pointerNews(lock);
  }

  // ------------------------------------------------------------------------- frames

  // Times differ from frame to frame, even when the clock stands still.
  static std::int64_t laterThan(std::int64_t last, Lock& lock) {
    return std::max(scheduler::PerformanceCounter(lock), last + 1);
  }

  // Makes a frame of what `look` found.
  std::shared_ptr<d3d11::TextureContent> take(Lock& lock, DXGI_OUTDUPL_FRAME_INFO& info) {
    const bool withoutPicture =
        !std::exchange(m_begun, true) && TheMachine(lock).pointerBeforePicture;
    if (withoutPicture) m_dirtyRects.clear();
    if (!m_dirtyRects.empty() || (!withoutPicture && hasMoves(lock))) takePicture(lock, info);
    if (auto pointer = pointerNews(lock)) takePointer(lock, std::move(*pointer), info);
    m_held = true;
    m_lent = m_shown;
    if (TheMachine(lock).blackDuplicates || withoutPicture) {
      m_lent = makePicture();
      const d3d11::Image image = m_lent->image();
      std::fill(image.pixels, image.Row(image.height), withoutPicture ? kNeverDrawn : 0u);
    }
    m_lent->withdrawn = false;
    return m_lent;
  }

  void takePicture(Lock& lock, DXGI_OUTDUPL_FRAME_INFO& info) {
    std::swap(m_shown, m_next);
    m_lastPresentTime = laterThan(m_lastPresentTime, lock);
    info.LastPresentTime.QuadPart = m_lastPresentTime;
    info.AccumulatedFrames = 1;
    const auto& moves = desktop::FindMonitor(lock, m_monitor)->moves;
    for (; m_movesSeen < moves.size(); ++m_movesSeen)
      m_moveRects.push_back({moves[m_movesSeen].from, moves[m_movesSeen].to});
    info.TotalMetadataBufferSize = static_cast<UINT>(
        m_moveRects.size() * sizeof(DXGI_OUTDUPL_MOVE_RECT) + m_dirtyRects.size() * sizeof(RECT));
  }

  void takePointer(Lock& lock, Pointer pointer, DXGI_OUTDUPL_FRAME_INFO& info) {
    m_lastMouseTime = laterThan(m_lastMouseTime, lock);
    info.LastMouseUpdateTime.QuadPart = m_lastMouseTime;
    info.PointerPosition.Position = pointer.position;
    info.PointerPosition.Visible = pointer.visible ? TRUE : FALSE;
    if (pointer.visible && pointer.shapeId != m_shapeTold) {
      m_shapeTold = pointer.shapeId;
      const auto& given = TheMachine(lock).pointerShape;
      m_newShape =
          given ? given : shapeOf(*std::static_pointer_cast<const CursorShape>(m_shapeTold));
      info.PointerShapeBufferSize = static_cast<UINT>(m_newShape->bytes.size());
    }
    m_pointer = std::move(pointer);
  }

  ID3D11Device* const m_device;
  const HMONITOR m_monitor;
  const RECT m_rect;
  const int m_quarterTurns;
  const DXGI_MODE_ROTATION m_rotation;
  const std::uint32_t m_modeChanges;
  std::uint32_t m_desktopSwitches;
  DXGI_FORMAT m_format;

  std::shared_ptr<d3d11::TextureContent> m_shown;  // as the last frame told it
  std::shared_ptr<d3d11::TextureContent> m_next;
  std::vector<std::uint32_t> m_upright;
  std::size_t m_movesSeen;
  std::int64_t m_lastPresentTime = 0;
  bool m_begun = false;                     // a frame has been given
  std::optional<Pointer> m_pointer;         // as the last frame told it
  std::shared_ptr<const void> m_shapeTold;  // the last one
  std::int64_t m_lastMouseTime = 0;

  // The frame that is held.
  bool m_held = false;
  std::shared_ptr<d3d11::TextureContent> m_lent;
  std::vector<RECT> m_dirtyRects;
  std::vector<DXGI_OUTDUPL_MOVE_RECT> m_moveRects;
  std::shared_ptr<const PointerShape> m_newShape;
};

}  // namespace

DXGI_MODE_ROTATION RotationOf(const Monitor& monitor) {
  return static_cast<DXGI_MODE_ROTATION>(DXGI_MODE_ROTATION_IDENTITY + monitor.quarterTurns);
}

HRESULT MakeDuplication(ID3D11Device* device, const Monitor& monitor,
                        IDXGIOutputDuplication** duplication) {
  return Duplication::Make<Duplication>(IID_IDXGIOutputDuplication,
                                        reinterpret_cast<void**>(duplication), device, monitor);
}

}  // namespace dxgi
}  // namespace vwin
