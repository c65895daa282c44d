// Sees and fails heap allocations of this process (operator new).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace qx::test {

// Counts the allocations that the library makes itself while this object lives,
// on any thread; what virtual Windows or the test allocates is not counted. One
// at a time.
class LibraryAllocations {
 public:
  LibraryAllocations();
  ~LibraryAllocations();
  LibraryAllocations(const LibraryAllocations&) = delete;
  LibraryAllocations& operator=(const LibraryAllocations&) = delete;

  int count() const;
  std::string where() const;  // symbols of the first one counted
};

// While this object lives, every allocation of at least `minimum` bytes that the
// library makes fails.
class FailLargeAllocations {
 public:
  explicit FailLargeAllocations(std::size_t minimum);
  ~FailLargeAllocations();
  FailLargeAllocations(const FailLargeAllocations&) = delete;
  FailLargeAllocations& operator=(const FailLargeAllocations&) = delete;

  int failed() const;
};

// While this object lives, the n-th allocation (from 1) that the library makes, on any
// thread, fails. One at a time.
class FailNthAllocation {
 public:
  explicit FailNthAllocation(int n);
  ~FailNthAllocation();
  FailNthAllocation(const FailNthAllocation&) = delete;
  FailNthAllocation& operator=(const FailNthAllocation&) = delete;

  bool failed() const;
};

// Sums up the blocks of at least `minimum` bytes that the library has allocated itself
// while this object lives and has not given back. One at a time.
class LibraryBlocks {
 public:
  explicit LibraryBlocks(std::size_t minimum);
  ~LibraryBlocks();
  LibraryBlocks(const LibraryBlocks&) = delete;
  LibraryBlocks& operator=(const LibraryBlocks&) = delete;

  std::size_t bytes() const;
};

}  // namespace qx::test
