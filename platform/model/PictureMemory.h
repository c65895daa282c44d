// How much memory the pictures take that programs have asked the system for and that the
// processor can reach: DIB sections, staging textures, surfaces in system memory. What a
// graphics card would hold, and the screen's own pictures, don't count.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

namespace vwin::pictures {

// Of those there are now, in bytes.
std::uint64_t Bytes();

// Counts while it lives.
class Counted {
 public:
  explicit Counted(std::size_t bytes);
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;
  ~Counted();

 private:
  const std::size_t m_bytes;
};

// The same picture, counted until the last of those who hold the result lets go of it.
template <typename T>
std::shared_ptr<T> Count(std::shared_ptr<T> picture, std::size_t bytes) {
  struct Holder {
    Holder(std::shared_ptr<T> held, std::size_t size) : picture(std::move(held)), counted(size) {}
    const std::shared_ptr<T> picture;
    const Counted counted;
  };
  const auto holder = std::make_shared<Holder>(std::move(picture), bytes);
  return {holder, holder->picture.get()};
}

}  // namespace vwin::pictures
