// The container of compiled shaders: a checksum and named chunks.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace vwin::dxbc {

// A container's checksum, and where it lies in it.
using Digest = std::array<std::uint32_t, 4>;
inline constexpr std::size_t kDigestOffset = 4;
Digest DigestOf(std::span<const std::uint8_t> container);

struct Chunk {
  std::string name;  // four letters
  std::span<const std::uint8_t> content;
};

// The chunks of a container, parts of `bytes`. Nothing when it is damaged: Windows
// looks at the checksum as well.
std::optional<std::vector<Chunk>> Chunks(std::span<const std::uint8_t> bytes);
// Null when there is none.
const Chunk* Find(const std::vector<Chunk>& chunks, const char* name);

// A little-endian number; nothing beyond the end.
std::optional<std::uint32_t> NumberAt(std::span<const std::uint8_t> bytes, std::size_t offset);

}  // namespace vwin::dxbc
