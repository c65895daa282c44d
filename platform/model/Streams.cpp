#include "platform/model/Streams.h"

#include <algorithm>
#include <cstddef>

#include "platform/model/ComObject.h"
#include "platform/model/GlobalMemory.h"

namespace vwin {

VWIN_INTERFACE_IDS(IStream, &IID_ISequentialStream, &IID_IStream);

namespace {

class MemoryStream final : public ComImplementation<IStream> {
 public:
  MemoryStream(HGLOBAL memory, bool freeWithStream)
      : ComImplementation("MemoryStream", "CreateStreamOnHGlobal"),
        m_memory(memory),
        m_freeWithStream(freeWithStream) {}

  HGLOBAL memory() const { return m_memory; }

  HRESULT STDMETHODCALLTYPE Write(const void* bytes, ULONG count, ULONG* written) override {
    VWIN_METHOD(IStream::Write);
    if (written) *written = 0;
    if (!bytes) return E_INVALIDARG;
    if (fault) return fault->hresult;
    Lock lock;
    const auto memory = memory::Find(lock, m_memory);
    if (!memory) return E_HANDLE;
    const std::size_t end = m_position + count;
    if (memory->bytes.size() < end) memory->bytes.resize(end);
    std::copy_n(static_cast<const std::uint8_t*>(bytes), count,
                memory->bytes.begin() + static_cast<std::ptrdiff_t>(m_position));
    m_position = end;
    if (written) *written = count;
    return S_OK;
  }

 private:
  void onLastRelease(Lock& lock) override {
    if (m_freeWithStream) memory::Free(lock, m_memory);
  }

  const HGLOBAL m_memory;
  const bool m_freeWithStream;
  std::size_t m_position = 0;  // guarded by the machine's lock
};

}  // namespace

HRESULT streams::Create(HGLOBAL memory, bool freeWithStream, IStream** stream) {
  {
    Lock lock;
    if (!memory)
      memory = memory::Allocate(lock, "CreateStreamOnHGlobal");
    else if (!memory::Find(lock, memory))
      return E_INVALIDARG;
  }
  return MemoryStream::Make<MemoryStream>(IID_IStream, reinterpret_cast<void**>(stream), memory,
                                          freeWithStream);
}

std::optional<HGLOBAL> streams::MemoryOf(IStream* stream) {
  const auto* const known = dynamic_cast<MemoryStream*>(stream);
  return known ? std::optional(known->memory()) : std::nullopt;
}

}  // namespace vwin
