#include "platform/model/D3D11Objects.h"

#include <algorithm>
#include <iterator>
#include <mutex>
#include <new>

#include "platform/model/D3D11Device.h"

namespace vwin::d3d11 {
namespace {

constexpr std::size_t kKeptBlocks = 8;
constexpr std::size_t kPitchUnit = 256;
constexpr std::uint32_t kGarbage = 0xCDABCDAB;

// Drivers map pictures from the start of a page.
constexpr std::align_val_t kPage{4096};
struct FreePages {
  void operator()(std::uint32_t* pixels) const { ::operator delete[](pixels, kPage); }
};
using Pixels = std::unique_ptr<std::uint32_t[], FreePages>;

// Pixels of textures that are gone. New ones of the same size get them, with what is in
// them, as drivers do it.
class PixelPool {
 public:
  static PixelPool& Instance() {
    static auto* const pool = new PixelPool;
    return *pool;
  }

  std::shared_ptr<std::uint32_t[]> Take(std::size_t count) {
    Pixels pixels = takeKept(count);
    if (!pixels) {
      pixels.reset(new (kPage) std::uint32_t[count]);
      std::fill_n(pixels.get(), count, kGarbage);
    }
    return {pixels.release(), [this, count](std::uint32_t* gone) { keep({Pixels(gone), count}); }};
  }

 private:
  struct Block {
    Pixels pixels;
    std::size_t count;
  };

  Pixels takeKept(std::size_t count) {
    std::scoped_lock lock(m_mutex);
    // The last one, which the processor's caches know best.
    const auto found = std::find_if(m_kept.rbegin(), m_kept.rend(),
                                    [&](const Block& block) { return block.count == count; });
    if (found == m_kept.rend()) return nullptr;
    auto pixels = std::move(found->pixels);
    m_kept.erase(std::next(found).base());
    return pixels;
  }
  void keep(Block block) {
    std::scoped_lock lock(m_mutex);
    if (m_kept.size() == kKeptBlocks) m_kept.erase(m_kept.begin());
    m_kept.push_back(std::move(block));
  }

  std::mutex m_mutex;
  std::vector<Block> m_kept;
};

std::size_t strideOf(const D3D11_TEXTURE2D_DESC& desc) {
  if (desc.Usage != D3D11_USAGE_STAGING) return desc.Width;
  constexpr std::size_t kUnit = kPitchUnit / sizeof(std::uint32_t);
  return (desc.Width / kUnit + 1) * kUnit;
}

}  // namespace

TextureContent::TextureContent(const D3D11_TEXTURE2D_DESC& wanted)
    : desc(wanted),
      pixels(PixelPool::Instance().Take(strideOf(wanted) * wanted.Height)),
      stride(static_cast<std::ptrdiff_t>(strideOf(wanted))) {}

void STDMETHODCALLTYPE Texture::GetDesc(D3D11_TEXTURE2D_DESC* desc) {
  VWIN_METHOD_INFALLIBLE(ID3D11Texture2D::GetDesc);
  if (content()) *desc = content()->desc;
}

HRESULT STDMETHODCALLTYPE Texture::Map(DXGI_MAPPED_RECT* mapped, UINT flags) {
  VWIN_METHOD(IDXGISurface::Map);
  if (mapped == nullptr) return E_INVALIDARG;
  *mapped = {};
  if (fault) return fault->hresult;
  if (!content()) return DXGI_ERROR_INVALID_CALL;
  if (const HRESULT state = StateOf(device()); FAILED(state)) return state;
  TextureContent& texture = *content();
  UINT access = 0;
  if (flags & DXGI_MAP_READ) access |= D3D11_CPU_ACCESS_READ;
  if (flags & DXGI_MAP_WRITE) access |= D3D11_CPU_ACCESS_WRITE;
  if (access == 0 || (access & ~texture.desc.CPUAccessFlags) != 0) return E_INVALIDARG;
  if (std::exchange(texture.mapped, true)) {
    Lock lock;
    return outOfOrder(lock, "IDXGISurface::Map: it is mapped", DXGI_ERROR_INVALID_CALL);
  }
  mapped->Pitch = static_cast<INT>(texture.stride * std::ptrdiff_t{sizeof(std::uint32_t)});
  mapped->pBits = reinterpret_cast<BYTE*>(texture.pixels.get());
  return S_OK;
}

HRESULT STDMETHODCALLTYPE Texture::Unmap() {
  VWIN_METHOD(IDXGISurface::Unmap);
  if (!content() || !std::exchange(content()->mapped, false)) {
    Lock lock;
    return outOfOrder(lock, "IDXGISurface::Unmap: it is not mapped", DXGI_ERROR_INVALID_CALL);
  }
  // It is unmapped, whatever the answer is.
  return fault ? fault->hresult : S_OK;
}

void Texture::onLastRelease(Lock& lock) {
  if (content()->mapped) ledger::Misuse(lock, "ID3D11Texture2D: released while it was mapped");
}

}  // namespace vwin::d3d11
