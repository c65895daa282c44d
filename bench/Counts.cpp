#include "Counts.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <stdexcept>

#include "CopyCount.h"
#include "LibraryLoop.h"
#include "scene.h"
#include "tests/share/AllocationHook.h"

namespace {

std::uint64_t CountAll(const std::vector<std::string>& functions) {
  std::uint64_t count = 0;
  for (const std::string& function : functions) {
    count += CountCalls(function);
  }
  return count;
}

void Demand(bool counted) {
  if (!counted) {
    throw std::runtime_error("nothing is counted where something has to be");
  }
}

}  // namespace

double CopiedTimesFrame(Round round) {
  std::unique_ptr<LibraryCopies> copies;
  std::uint64_t bytes = 0;
  round.onBegin = [&] { copies = std::make_unique<LibraryCopies>(); };
  round.onEnd = [&] {
    bytes = copies->Bytes();
    copies.reset();
  };
  const SIZE picture = MeasureLibrary(round).picture;
  const double frames = 4.0 * picture.cx * picture.cy * round.frames;
  Demand(static_cast<double>(bytes) >= frames);
  return static_cast<double>(bytes) / frames;
}

double PictureMemoryTimesFrame(Round round) {
  // Less than that is a list or a text.
  constexpr std::size_t kLeastBytes = 65536;
  const qx::test::LibraryBlocks blocks(kLeastBytes);
  const std::uint64_t before = PictureBytes();
  std::uint64_t bytes = 0;
  round.onEnd = [&] { bytes = blocks.bytes() + PictureBytes() - before; };
  const SIZE picture = MeasureLibrary(round).picture;
  const double frames = static_cast<double>(bytes) / (4.0 * picture.cx * picture.cy);
  Demand(frames >= 1);
  // Blocks are some pages longer than what they hold.
  return std::round(frames * 100) / 100;
}

double CallsPerFrame(Round round, const std::vector<std::string>& functions) {
  const std::uint64_t first = CountAll(functions);
  std::uint64_t before = 0;
  std::uint64_t after = 0;
  round.onBegin = [&] { before = CountAll(functions); };
  round.onEnd = [&] { after = CountAll(functions); };
  MeasureLibrary(round);
  Demand(before > first);
  return static_cast<double>(after - before) / round.frames;
}

double AllocationsPerFrame(Round round) {
  {
    Round start = round;
    start.frames = 1;
    const qx::test::LibraryAllocations allocations;
    MeasureLibrary(start);
    Demand(allocations.count() > 0);
  }
  std::unique_ptr<qx::test::LibraryAllocations> allocations;
  int count = 0;
  round.onBegin = [&] { allocations = std::make_unique<qx::test::LibraryAllocations>(); };
  round.onEnd = [&] {
    count = allocations->count();
    if (count != 0) {
      std::fputs(allocations->where().c_str(), stderr);
    }
    allocations.reset();
  };
  MeasureLibrary(round);
  return static_cast<double>(count) / round.frames;
}
