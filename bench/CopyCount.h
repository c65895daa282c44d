// Counts what the library copies on the processor.
#pragma once

#include <cstdint>

// Counts, while this object lives, the bytes that the library copies from memory to
// memory itself, on any thread: by memcpy and memmove, which compilers also make of
// most loops and algorithms that copy, and by the functions of libyuv that it uses. They
// are caught on their way out of the library, so what virtual Windows copies, in the
// place of a graphics processor, is told apart by who calls. What is not seen are copies of
// less than 256 bytes and single pixels that are worked out one by one, as of a cursor. One
// at a time.
class LibraryCopies {
 public:
  LibraryCopies();
  LibraryCopies(const LibraryCopies&) = delete;
  LibraryCopies& operator=(const LibraryCopies&) = delete;
  ~LibraryCopies();

  std::uint64_t Bytes() const;
};
