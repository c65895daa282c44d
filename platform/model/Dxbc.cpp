#include "platform/model/Dxbc.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>

namespace vwin::dxbc {
namespace {

constexpr std::size_t kHashedFrom = 20;  // what follows the digest
constexpr std::size_t kHeaderSize = 32;
constexpr std::size_t kBlockSize = 64;

// One round of MD5.
void digestBlock(Digest& digest, const std::uint8_t* bytes) {
  constexpr int kShifts[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};
  std::array<std::uint32_t, 16> words;
  std::memcpy(words.data(), bytes, kBlockSize);
  auto [a, b, c, d] = digest;
  for (unsigned i = 0; i < kBlockSize; ++i) {
    const unsigned round = i / 16;
    const std::uint32_t mixed = round == 0   ? (b & c) | (~b & d)
                                : round == 1 ? (d & b) | (~d & c)
                                : round == 2 ? b ^ c ^ d
                                             : c ^ (b | ~d);
    const unsigned word = (round == 0   ? i
                           : round == 1 ? 5 * i + 1
                           : round == 2 ? 3 * i + 5
                                        : 7 * i) %
                          16;
    const auto sine = static_cast<std::uint32_t>(std::floor(std::abs(std::sin(i + 1.0)) * 0x1p32));
    const std::uint32_t sum = a + mixed + sine + words[word];
    a = d;
    d = c;
    c = b;
    b += std::rotl(sum, kShifts[round][i % 4]);
  }
  digest[0] += a;
  digest[1] += b;
  digest[2] += c;
  digest[3] += d;
}

}  // namespace

// MD5 but for its end: the length stands first and, in another form, last in the last
// block.
Digest DigestOf(std::span<const std::uint8_t> container) {
  const auto bytes = container.subspan(kHashedFrom);
  Digest digest{0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};
  const std::size_t left = bytes.size() % kBlockSize;
  const std::size_t whole = bytes.size() - left;
  for (std::size_t at = 0; at < whole; at += kBlockSize) digestBlock(digest, bytes.data() + at);
  std::array<std::uint8_t, kBlockSize> last{};
  const auto bits = static_cast<std::uint32_t>(bytes.size() * 8);
  const std::uint32_t closing = bits >> 2 | 1;
  const bool alone = left >= kBlockSize - 8;  // no room for both numbers
  std::uint8_t* const rest = last.data() + (alone ? 0 : sizeof(bits));
  std::copy_n(bytes.data() + whole, left, rest);
  rest[left] = 0x80;
  if (alone) {
    digestBlock(digest, last.data());
    last = {};
  }
  std::memcpy(last.data(), &bits, sizeof(bits));
  std::memcpy(last.data() + kBlockSize - sizeof(closing), &closing, sizeof(closing));
  digestBlock(digest, last.data());
  return digest;
}

std::optional<std::uint32_t> NumberAt(std::span<const std::uint8_t> bytes, std::size_t offset) {
  std::uint32_t number = 0;
  if (offset > bytes.size() || bytes.size() - offset < sizeof(number)) return std::nullopt;
  std::memcpy(&number, bytes.data() + offset, sizeof(number));
  return number;
}

std::optional<std::vector<Chunk>> Chunks(std::span<const std::uint8_t> bytes) {
  if (bytes.size() < kHeaderSize || std::memcmp(bytes.data(), "DXBC", 4) != 0) return std::nullopt;
  const std::size_t size = *NumberAt(bytes, 24);
  if (size < kHeaderSize || size > bytes.size()) return std::nullopt;
  bytes = bytes.first(size);
  const Digest digest = DigestOf(bytes);
  if (std::memcmp(bytes.data() + kDigestOffset, digest.data(), sizeof(digest)) != 0)
    return std::nullopt;
  std::vector<Chunk> chunks;
  const std::uint32_t count = *NumberAt(bytes, 28);
  for (std::uint32_t i = 0; i < count; ++i) {
    const auto offset = NumberAt(bytes, kHeaderSize + std::size_t{i} * 4);
    const auto length = offset ? NumberAt(bytes, std::size_t{*offset} + 4) : std::nullopt;
    if (!length || *length > bytes.size() - *offset - 8) return std::nullopt;
    const auto chunk = bytes.subspan(*offset, std::size_t{*length} + 8);
    chunks.push_back({std::string(chunk.begin(), chunk.begin() + 4), chunk.subspan(8)});
  }
  return chunks;
}

const Chunk* Find(const std::vector<Chunk>& chunks, const char* name) {
  const auto found = std::find_if(chunks.begin(), chunks.end(),
                                  [&](const Chunk& chunk) { return chunk.name == name; });
  return found == chunks.end() ? nullptr : &*found;
}

}  // namespace vwin::dxbc
