#include "platform/model/ChangedParts.h"

#include <algorithm>
#include <cstring>

#include "platform/model/Rects.h"

// The loops over pixels are worth vector instructions in every build.
#pragma GCC optimize("O3")

namespace vwin {
namespace {

// Changes with fewer unchanged pixels between them are one: the letters of a line.
constexpr int kApart = 8;

struct Span {
  int begin;
  int end;
};

// The runs of `changed`, closer ones joined.
std::vector<Span> spansOf(const std::vector<std::uint8_t>& changed, int first) {
  std::vector<Span> spans;
  for (int i = 0; i < static_cast<int>(changed.size()); ++i) {
    if (!changed[static_cast<std::size_t>(i)]) continue;
    if (spans.empty() || first + i - spans.back().end >= kApart)
      spans.push_back({first + i, first + i});
    spans.back().end = first + i + 1;
  }
  return spans;
}

class Comparison {
 public:
  Comparison(const std::uint32_t* before, const std::uint32_t* after, std::ptrdiff_t stride)
      : m_before(before), m_after(after), m_stride(stride) {}

  // Cuts `area` along unchanged rows, then along unchanged columns, until nothing is left
  // to cut.
  void Cut(const RECT& area, std::vector<RECT>& parts) const {
    const auto bands = spansOf(changedRows(area), area.top);
    for (const Span& band : bands) {
      const RECT rows = {area.left, band.begin, area.right, band.end};
      const auto columns = spansOf(changedColumns(rows), area.left);
      const bool final = bands.size() == 1 && columns.size() == 1;
      for (const Span& column : columns) {
        const RECT part = {column.begin, rows.top, column.end, rows.bottom};
        if (final || AreSame(part, area)) {
          parts.push_back(part);
        } else {
          Cut(part, parts);
        }
      }
    }
  }

 private:
  std::ptrdiff_t offsetOf(const RECT& area, int y) const { return m_stride * y + area.left; }

  std::vector<std::uint8_t> changedRows(const RECT& area) const {
    std::vector<std::uint8_t> changed;
    const std::size_t bytes = static_cast<std::size_t>(WidthOf(area)) * sizeof(std::uint32_t);
    for (int y = area.top; y < area.bottom; ++y) {
      const std::ptrdiff_t at = offsetOf(area, y);
      changed.push_back(std::memcmp(m_before + at, m_after + at, bytes) != 0);
    }
    return changed;
  }
  std::vector<std::uint8_t> changedColumns(const RECT& area) const {
    std::vector<std::uint32_t> differences(static_cast<std::size_t>(WidthOf(area)));
    for (int y = area.top; y < area.bottom; ++y) {
      const std::uint32_t* const before = m_before + offsetOf(area, y);
      const std::uint32_t* const after = m_after + offsetOf(area, y);
      for (std::size_t x = 0; x < differences.size(); ++x) differences[x] |= before[x] ^ after[x];
    }
    std::vector<std::uint8_t> changed(differences.size());
    std::transform(differences.begin(), differences.end(), changed.begin(),
                   [](std::uint32_t difference) { return difference != 0; });
    return changed;
  }

  const std::uint32_t* const m_before;
  const std::uint32_t* const m_after;
  const std::ptrdiff_t m_stride;
};

}  // namespace

std::vector<RECT> ChangedParts(const std::uint32_t* before, const std::uint32_t* after, int width,
                               int height, std::ptrdiff_t stride) {
  std::vector<RECT> parts;
  Comparison(before, after, stride).Cut({0, 0, width, height}, parts);
  return parts;
}

}  // namespace vwin
