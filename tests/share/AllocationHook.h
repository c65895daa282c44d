// Sees and fails heap allocations of this process (operator new).
#pragma once

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

}  // namespace qx::test
