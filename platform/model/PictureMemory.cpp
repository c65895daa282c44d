#include "platform/model/PictureMemory.h"

#include <atomic>

namespace vwin::pictures {
namespace {

std::atomic<std::uint64_t> bytesNow{0};

}  // namespace

std::uint64_t Bytes() { return bytesNow; }

Counted::Counted(std::size_t bytes) : m_bytes(bytes) { bytesNow += m_bytes; }

Counted::~Counted() { bytesNow -= m_bytes; }

}  // namespace vwin::pictures
