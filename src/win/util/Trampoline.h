#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace qx {

// Running the first instructions of a function elsewhere, on x86-64. Nothing here writes
// to code, and addresses are numbers: code can be looked at away from where it runs.
// What answers with a string answers why not, and with an empty one when it is done.

// A function as far as it can be read.
struct FunctionCode {
  std::uint64_t address = 0;                 // that it runs at
  std::span<const std::uint8_t> before;      // ends where the function begins
  std::span<const std::uint8_t> bytes;       // begins there, and may be more than it
  std::size_t extent = 0;                    // its size if the system knows it, or 0
  const std::uint8_t* unwindInfo = nullptr;  // UNWIND_INFO; null when it has none
};

// The code at `entry`, where a function of this process begins.
std::string ReadFunction(const void* entry, FunctionCode* code);

inline constexpr std::size_t kJumpSize = 5;       // with a distance of 32 bits
inline constexpr std::size_t kShortJumpSize = 2;  // with one of 8 bits
// Bytes that are written at once have to lie within so many, aligned: processors promise
// no more for code that others run.
inline constexpr std::size_t kStoreSize = 8;

// How many bytes of the entry a jump to somewhere else takes: kJumpSize, or
// kShortJumpSize when it goes over a jump that finds room just before the entry.
std::string PlanEntry(const FunctionCode& function, std::size_t* overwritten);

// What runs a function whose first bytes are overwritten.
struct Trampoline {
  struct End {
    std::size_t original, moved;
  };
  std::vector<std::uint8_t> code;
  std::size_t moved = 0;  // how many bytes of the function it stands for
  std::vector<End> ends;  // of its instructions, from the function's and from its own start
};

// Makes one that is to lie at `where`. Its targets have to be within 2 GB of there.
std::string MakeTrampoline(const FunctionCode& function, std::size_t overwritten,
                           std::uint64_t where, Trampoline* trampoline);

// UNWIND_INFO for it: what the moved instructions have done to the stack, in a function
// that has such data. Empty when they have done nothing, as in a leaf.
std::vector<std::uint8_t> MoveUnwindInfo(const std::uint8_t* original,
                                         const Trampoline& trampoline);

}  // namespace qx
