#include "tests/share/AllocationHook.h"

#include <dlfcn.h>
#include <execinfo.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <mutex>
#include <new>
#include <sstream>
#include <string_view>
#include <unordered_map>

namespace {

constexpr int kDepth = 24;

std::atomic<bool> counting{false};
std::atomic<int> counted{0};
std::array<void*, kDepth> firstStack;
std::atomic<int> firstDepth{0};
std::atomic<std::size_t> failFrom{0};  // 0: nothing fails
std::atomic<int> failures{0};
std::atomic<int> untilFailure{0};      // allocations up to the one that fails; 0: none does
std::atomic<std::size_t> holdFrom{0};  // 0: nobody asks
std::mutex heldMutex;                  // guards what follows
std::unordered_map<void*, std::size_t> held;

// The hook is at work, and what it allocates itself is nobody's.
thread_local bool looking = false;

// Whether the library made the allocation that returns to `caller`: of all frames
// from there outwards, the first that belongs to one of our modules is its.
bool madeByLibrary(void* const* stack, int depth, const void* caller) {
  static const std::string_view self = [] {
    Dl_info info = {};
    return dladdr(reinterpret_cast<const void*>(&counting), &info) != 0 ? info.dli_fname : "";
  }();
  bool reached = false;
  for (int i = 0; i < depth; ++i) {
    reached = reached || stack[i] == caller;
    Dl_info info = {};
    if (!reached || dladdr(stack[i], &info) == 0 || info.dli_fname == nullptr) {
      continue;
    }
    const std::string_view module = info.dli_fname;
    if (module == self || module.find("libvirtual-windows") != module.npos) {
      return false;
    }
    if (module.find("libqx-screen-capture") != module.npos) {
      return true;
    }
  }
  return false;
}

void* hold(void* block, std::size_t size) {
  looking = true;
  if (block) {
    const std::scoped_lock lock(heldMutex);
    held[block] = size;
  }
  looking = false;
  return block;
}

// Null when this allocation is to fail, or when there really is no memory.
void* allocate(std::size_t size, const void* caller) {
  const std::size_t limit = failFrom;
  const bool large = limit != 0 && size >= limit;
  const bool kept = holdFrom != 0 && size >= holdFrom;
  const bool sweeping = untilFailure > 0;
  if ((counting || large || kept || sweeping) && !looking) {
    looking = true;
    std::array<void*, kDepth> stack;
    const int depth = backtrace(stack.data(), kDepth);
    const bool byLibrary = madeByLibrary(stack.data(), depth, caller);
    looking = false;
    if (byLibrary && counting && counted.fetch_add(1) == 0) {
      firstStack = stack;
      firstDepth = depth;
    }
    if (byLibrary && (large || (sweeping && untilFailure.fetch_sub(1) == 1))) {
      ++failures;
      return nullptr;
    }
    if (byLibrary && kept) {
      return hold(std::malloc(size), size);
    }
  }
  return std::malloc(size == 0 ? 1 : size);
}

void release(void* block) {
  if (holdFrom != 0 && !looking) {
    looking = true;
    {
      const std::scoped_lock lock(heldMutex);
      held.erase(block);
    }
    looking = false;
  }
  std::free(block);
}

}  // namespace

void* operator new(std::size_t size) {
  if (void* block = allocate(size, __builtin_return_address(0))) {
    return block;
  }
  throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size, __builtin_return_address(0));
}
void* operator new[](std::size_t size) {
  if (void* block = allocate(size, __builtin_return_address(0))) {
    return block;
  }
  throw std::bad_alloc();
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size, __builtin_return_address(0));
}
void operator delete(void* block) noexcept { release(block); }
void operator delete[](void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t) noexcept { release(block); }
void operator delete[](void* block, std::size_t) noexcept { release(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { release(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { release(block); }

namespace qx::test {

LibraryAllocations::LibraryAllocations() {
  void* warmUp[1];
  backtrace(warmUp, 1);  // loads what it needs at its first call
  counted = 0;
  firstDepth = 0;
  counting = true;
}

LibraryAllocations::~LibraryAllocations() { counting = false; }

int LibraryAllocations::count() const { return counted; }

std::string LibraryAllocations::where() const {
  std::ostringstream text;
  const int depth = firstDepth;
  char** symbols = backtrace_symbols(firstStack.data(), depth);
  for (int i = 0; symbols != nullptr && i < depth; ++i) {
    text << symbols[i] << '\n';
  }
  std::free(symbols);
  return text.str();
}

FailLargeAllocations::FailLargeAllocations(std::size_t minimum) {
  failures = 0;
  failFrom = minimum;
}

FailLargeAllocations::~FailLargeAllocations() { failFrom = 0; }

int FailLargeAllocations::failed() const { return failures; }

FailNthAllocation::FailNthAllocation(int n) {
  failures = 0;
  untilFailure = n;
}

FailNthAllocation::~FailNthAllocation() { untilFailure = 0; }

bool FailNthAllocation::failed() const { return failures > 0; }

LibraryBlocks::LibraryBlocks(std::size_t minimum) { holdFrom = minimum; }

LibraryBlocks::~LibraryBlocks() {
  holdFrom = 0;
  const std::scoped_lock lock(heldMutex);
  held.clear();
}

std::size_t LibraryBlocks::bytes() const {
  const std::scoped_lock lock(heldMutex);
  std::size_t sum = 0;
  for (const auto& [block, size] : held) {
    sum += size;
  }
  return sum;
}

}  // namespace qx::test
