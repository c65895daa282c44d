#include "platform/model/D3D9Surface.h"

#include <libyuv/scale_argb.h>

#include <algorithm>
#include <string>
#include <utility>

#include "platform/model/Ledger.h"
#include "platform/model/Rects.h"

namespace vwin::d3d9 {
namespace {

constexpr std::uint32_t kGarbage = 0xCDABCDAB;
constexpr std::ptrdiff_t kPitchUnit = 16;  // in pixels

int bytesOf(std::ptrdiff_t pixels) {
  return static_cast<int>(pixels * static_cast<std::ptrdiff_t>(sizeof(std::uint32_t)));
}

std::uint8_t* bytesAt(SurfaceContent& content, const RECT& rect) {
  return reinterpret_cast<std::uint8_t*>(content.At(rect.left, rect.top));
}

// What GDI draws on while a DC is out.
std::shared_ptr<Bitmap> bitmapOf(SurfaceContent& content) {
  auto bitmap = std::make_shared<Bitmap>();
  bitmap->surface = vwin::Surface(content.width(), content.height(), 0);
  for (int y = 0; y < content.height(); ++y)
    std::copy_n(content.At(0, y), content.width(), bitmap->surface.MutableRow(y));
  bitmap->surface.ClearTopBytes();
  return bitmap;
}

// What has an alpha of its own, as cursors do, leaves an opaque picture opaque.
void takeBack(SurfaceContent& content, Bitmap& bitmap) {
  for (int y = 0; y < content.height(); ++y) {
    const std::uint32_t* const drawn = bitmap.surface.MutableRow(y);
    std::uint32_t* const pixels = content.At(0, y);
    for (int x = 0; x < content.width(); ++x) pixels[x] = (pixels[x] & 0xFF000000) | drawn[x];
  }
}

}  // namespace

SurfaceContent::SurfaceContent(const D3DSURFACE_DESC& wanted, bool canBeLocked)
    : desc(wanted),
      lockable(canBeLocked),
      stride((static_cast<std::ptrdiff_t>(wanted.Width) / kPitchUnit + 1) * kPitchUnit),
      pixels(static_cast<std::size_t>(stride) * wanted.Height, kGarbage) {}

void Scale(SurfaceContent& from, const RECT& fromRect, SurfaceContent& to, const RECT& toRect,
           bool linear) {
  libyuv::ARGBScale(bytesAt(from, fromRect), bytesOf(from.stride), WidthOf(fromRect),
                    HeightOf(fromRect), bytesAt(to, toRect), bytesOf(to.stride), WidthOf(toRect),
                    HeightOf(toRect), linear ? libyuv::kFilterBilinear : libyuv::kFilterNone);
}

void ThreadRule::Check(Lock& lock, const char* call) const {
  if (anyThread || threadId == scheduler::CurrentThreadId()) return;
  ledger::Misuse(lock, std::string(call) + ": the device is another thread's");
}

Surface::Surface(IDirect3DDevice9* device, const ThreadRule& rule,
                 std::shared_ptr<SurfaceContent> content, const char* call)
    : ComImplementation("IDirect3DSurface9", call),
      m_device(device),
      m_rule(rule),
      m_content(std::move(content)) {
  m_device->AddRef();
}

void Surface::onLastRelease(Lock& lock) {
  if (m_content->isBusy()) outOfOrder(lock, "IDirect3DSurface9::Release: it is locked", S_OK);
}

void Surface::afterLastRelease() {
  m_content.reset();
  m_device->Release();
}

HRESULT Surface::GetDesc(D3DSURFACE_DESC* desc) {
  VWIN_METHOD(IDirect3DSurface9::GetDesc);
  if (fault) return fault->hresult;
  if (!desc) return D3DERR_INVALIDCALL;
  *desc = m_content->desc;
  return D3D_OK;
}

HRESULT Surface::LockRect(D3DLOCKED_RECT* locked, const RECT* rect, DWORD) {
  VWIN_METHOD(IDirect3DSurface9::LockRect);
  if (fault) return fault->hresult;
  Lock lock;
  m_rule.Check(lock, "IDirect3DSurface9::LockRect");
  const RECT whole = m_content->bounds();
  const RECT part = rect ? *rect : whole;
  if (!locked || !m_content->lockable || m_content->isBusy() || IsEmpty(part) ||
      !Covers(whole, part)) {
    return D3DERR_INVALIDCALL;
  }
  m_content->locked = true;
  *locked = {bytesOf(m_content->stride), m_content->At(part.left, part.top)};
  return D3D_OK;
}

HRESULT Surface::UnlockRect() {
  VWIN_METHOD_INFALLIBLE(IDirect3DSurface9::UnlockRect);
  Lock lock;
  m_rule.Check(lock, "IDirect3DSurface9::UnlockRect");
  return std::exchange(m_content->locked, false) ? D3D_OK : D3DERR_INVALIDCALL;
}

HRESULT Surface::GetDC(HDC* dc) {
  VWIN_METHOD(IDirect3DSurface9::GetDC);
  if (fault) return fault->hresult;
  Lock lock;
  m_rule.Check(lock, "IDirect3DSurface9::GetDC");
  if (!dc || !m_content->lockable || m_content->isBusy()) return D3DERR_INVALIDCALL;
  m_content->bitmap = bitmapOf(*m_content);
  m_content->dc = gdi::OpenBitmapDC(lock, m_content->bitmap, "IDirect3DSurface9::GetDC");
  *dc = m_content->dc;
  return D3D_OK;
}

HRESULT Surface::ReleaseDC(HDC dc) {
  VWIN_METHOD_INFALLIBLE(IDirect3DSurface9::ReleaseDC);
  Lock lock;
  m_rule.Check(lock, "IDirect3DSurface9::ReleaseDC");
  if (!dc || dc != m_content->dc) return D3DERR_INVALIDCALL;
  if (const auto out = gdi::FindDC(lock, dc)) gdi::CloseDC(lock, *out);
  takeBack(*m_content, *m_content->bitmap);
  m_content->dc = nullptr;
  m_content->bitmap.reset();
  return D3D_OK;
}

}  // namespace vwin::d3d9
