#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>

namespace qx::fuzz {

// The bytes that somebody acts by, one after the other; zeros when there are no more.
// Who has them has them alone.
class Bytes {
 public:
  Bytes() = default;
  explicit Bytes(std::span<const std::uint8_t> bytes) : m_left(bytes) {}

  bool IsEmpty() const { return m_left.empty(); }

  std::uint8_t Next() {
    if (m_left.empty()) {
      return 0;
    }
    const std::uint8_t next = m_left.front();
    m_left = m_left.subspan(1);
    return next;
  }

  bool Flag() { return Next() % 2 == 1; }

  template <typename Items>
  const auto& OneOf(const Items& items) {
    return std::data(items)[Next() % std::size(items)];
  }

  // Some for somebody else; the next one says how many.
  Bytes Part() {
    const std::size_t size = std::min<std::size_t>(Next() % 32, m_left.size());
    const Bytes part(m_left.first(size));
    m_left = m_left.subspan(size);
    return part;
  }

 private:
  std::span<const std::uint8_t> m_left;
};

}  // namespace qx::fuzz
