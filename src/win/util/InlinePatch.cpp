#include "win/util/InlinePatch.h"

#include <fmt/format.h>
#include <windows.h>

#include "win/util/Handles.h"

#if defined(_WIN32)

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <set>
#include <utility>

#include "win/util/Trampoline.h"

namespace qx {

namespace {

struct CodeMemoryPolicy {
  using Value = std::uint8_t*;
  void Close(std::uint8_t* memory) const { VirtualFree(memory, 0, MEM_RELEASE); }
};
using CodeMemory = Handle<CodeMemoryPolicy>;

using EntryBytes = std::array<std::uint8_t, kJumpSize>;

constexpr std::size_t kPageSize = 0x1000;
constexpr std::uintptr_t kGranularity = 0x10000;  // of what VirtualAlloc reserves

std::uintptr_t Address(const void* pointer) { return reinterpret_cast<std::uintptr_t>(pointer); }

std::string LastError(const char* what) {
  return fmt::format("{} failed,error:{}", what, static_cast<std::uint32_t>(GetLastError()));
}

// A page that can be written and not run, at most 2 GB from `target`, or null.
CodeMemory AllocateNear(const void* target) {
  constexpr std::uintptr_t kReach = 0x7F000000;
  const auto take = [](std::uintptr_t at) {
    return CodeMemory(static_cast<std::uint8_t*>(VirtualAlloc(
        reinterpret_cast<void*>(at), kPageSize, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE)));
  };
  MEMORY_BASIC_INFORMATION region;
  const auto query = [&](std::uintptr_t at) {
    return VirtualQuery(reinterpret_cast<void*>(at), &region, sizeof(region)) != 0;
  };
  const std::uintptr_t origin = Address(target);
  for (std::uintptr_t at = origin; at > kGranularity && origin - at < kReach && query(at);) {
    const std::uintptr_t begin = Address(region.BaseAddress);
    const std::uintptr_t last = (begin + region.RegionSize - 1) & ~(kGranularity - 1);
    if (region.State == MEM_FREE && last >= begin && origin - last < kReach) {
      if (CodeMemory memory = take(last)) {
        return memory;
      }
    }
    at = begin - 1;
  }
  for (std::uintptr_t at = origin; at - origin < kReach && query(at);) {
    const std::uintptr_t begin = Address(region.BaseAddress);
    const std::uintptr_t first = (begin + kGranularity - 1) & ~(kGranularity - 1);
    at = begin + region.RegionSize;
    if (region.State == MEM_FREE && first < at) {
      if (CodeMemory memory = take(first)) {
        return memory;
      }
    }
  }
  return {};
}

// A page near a function, with its trampoline at the beginning and a jump to the detour.
class PatchPage {
 public:
  PatchPage() = default;
  PatchPage(const PatchPage&) = delete;
  PatchPage& operator=(const PatchPage&) = delete;
  ~PatchPage() {
    if (m_table != nullptr) {
      RtlDeleteFunctionTable(m_table);
    }
  }

  std::string Make(const FunctionCode& function, std::size_t overwritten, const void* detour) {
    m_memory = AllocateNear(reinterpret_cast<const void*>(function.address));
    if (!m_memory) {
      return "no memory within reach";
    }
    std::string why = MakeTrampoline(function, overwritten, Address(m_memory.Get()), &m_trampoline);
    if (why.empty()) {
      addDetour(detour);
      addUnwindInfo(function);
      why = makeExecutable();
    }
    return why;
  }

  void* trampoline() const { return m_memory.Get(); }
  const void* toDetour() const { return m_memory.Get() + m_toDetour; }
  void KeepForLife() {
    static_cast<void>(m_memory.Release());
    m_table = nullptr;
  }

 private:
  std::size_t add(const void* bytes, std::size_t size, std::size_t alignment) {
    m_used = (m_used + alignment - 1) & ~(alignment - 1);
    std::memcpy(m_memory.Get() + m_used, bytes, size);
    m_used += size;
    return m_used - size;
  }

  void addDetour(const void* detour) {
    constexpr std::uint8_t kJumpToNextEightBytes[] = {0xFF, 0x25, 0, 0, 0, 0};
    add(m_trampoline.code.data(), m_trampoline.code.size(), 1);
    m_toDetour = add(kJumpToNextEightBytes, sizeof(kJumpToNextEightBytes), 16);
    add(&detour, sizeof(detour), 1);
  }

  // A fault in a moved instruction, and in what a moved call calls, goes through a frame
  // of the trampoline. Once it has jumped back the frame is the function's own, with the
  // function's own unwind data.
  void addUnwindInfo(const FunctionCode& function) {
    if (function.unwindInfo == nullptr) {
      return;
    }
    const auto info = MoveUnwindInfo(function.unwindInfo, m_trampoline);
    if (info.empty()) {
      return;
    }
    RUNTIME_FUNCTION entry{};
    entry.EndAddress = static_cast<DWORD>(m_trampoline.code.size());
    entry.UnwindData = static_cast<DWORD>(add(info.data(), info.size(), 4));
    m_table = reinterpret_cast<RUNTIME_FUNCTION*>(m_memory.Get() + add(&entry, sizeof(entry), 4));
  }

  std::string makeExecutable() {
    RUNTIME_FUNCTION* const table = std::exchange(m_table, nullptr);
    DWORD before = 0;
    if (!VirtualProtect(m_memory.Get(), kPageSize, PAGE_EXECUTE_READ, &before) ||
        !FlushInstructionCache(GetCurrentProcess(), m_memory.Get(), kPageSize)) {
      return LastError("making a trampoline");
    }
    if (table != nullptr) {
      if (!RtlAddFunctionTable(table, 1, Address(m_memory.Get()))) {
        return "the system refuses a trampoline's unwind data";
      }
      m_table = table;
    }
    return {};
  }

  CodeMemory m_memory;
  Trampoline m_trampoline;
  std::size_t m_used = 0;
  std::size_t m_toDetour = 0;
  RUNTIME_FUNCTION* m_table = nullptr;
};

// Lets code be written. Other threads may be running it, and what lies beside it: it has
// to stay executable meanwhile, and so is both for a moment.
class WritableCode {
 public:
  WritableCode(void* begin, std::size_t size) : m_begin(begin), m_size(size) {
    m_isWritable = VirtualProtect(m_begin, m_size, PAGE_EXECUTE_READWRITE, &m_before) != FALSE;
  }
  WritableCode(const WritableCode&) = delete;
  WritableCode& operator=(const WritableCode&) = delete;
  ~WritableCode() {
    if (m_isWritable) {
      static_cast<void>(VirtualProtect(m_begin, m_size, m_before, &m_before));
      static_cast<void>(FlushInstructionCache(GetCurrentProcess(), m_begin, m_size));
    }
  }
  explicit operator bool() const { return m_isWritable; }

 private:
  void* const m_begin;
  const std::size_t m_size;
  DWORD m_before = 0;
  bool m_isWritable = false;
};

// Writes what lies within 8 aligned bytes, all at once. False when somebody else has
// changed something there since `expected` was read.
bool StoreAtOnce(std::uint8_t* at, const std::uint8_t* bytes, std::size_t size,
                 const std::uint8_t* expected) {
  const std::size_t offset = Address(at) % kStoreSize;
  auto* const place = reinterpret_cast<volatile LONG64*>(at - offset);
  const LONG64 old = *place;
  LONG64 wanted = old;
  if (std::memcmp(reinterpret_cast<const std::uint8_t*>(&old) + offset, expected, size) != 0) {
    return false;
  }
  std::memcpy(reinterpret_cast<std::uint8_t*>(&wanted) + offset, bytes, size);
  return InterlockedCompareExchange64(place, wanted, old) == old;
}

void WriteJump(std::uint8_t* jump, std::uintptr_t runsAt, std::uintptr_t target) {
  const auto distance = static_cast<std::int32_t>(target - (runsAt + kJumpSize));
  jump[0] = 0xE9;
  std::memcpy(jump + 1, &distance, sizeof(distance));
}

// The entry gets a jump in one store, so every call runs either the old or the new code.
// Where it can, it takes the place of one instruction, so that no thread is amid what it
// replaces: the system's own modules are built for that. Elsewhere, with short
// instructions and no room before them, a thread would have to stop just between two
// of them; stopping all others to look might deadlock, which is worse.
//
// `expected` is what the entry held when the trampoline was made of it.
std::string WriteEntry(std::uint8_t* entry, std::size_t overwritten, const EntryBytes& expected,
                       const PatchPage& page) {
  const bool isShort = overwritten == kShortJumpSize;
  std::uint8_t* const place = isShort ? entry - kJumpSize : entry;
  std::uint8_t jump[kJumpSize];
  WriteJump(jump, Address(place), Address(page.toDetour()));

  const WritableCode writable(place, static_cast<std::size_t>(entry - place) + overwritten);
  if (!writable) {
    return LastError("unprotecting the entry");
  }
  if (!isShort) {
    return StoreAtOnce(entry, jump, kJumpSize, expected.data()) ? ""
                                                                : "the entry has changed meanwhile";
  }
  constexpr std::uint8_t kBackOverJump[] = {0xEB, 0x100 - kJumpSize - kShortJumpSize};
  std::uint8_t padding[kJumpSize];
  std::memcpy(padding, place, kJumpSize);
  std::memcpy(place, jump, kJumpSize);
  if (!StoreAtOnce(entry, kBackOverJump, kShortJumpSize, expected.data())) {
    std::memcpy(place, padding, kJumpSize);
    return "the entry has changed meanwhile";
  }
  return {};
}

// What somebody else has redirected with a jump of five bytes is redirected again: both
// detours run. What we have is not, since one of ours would run twice.
std::string RedirectEntry(std::atomic<void*>& function, void* detour) {
  static std::mutex mutex;
  static std::set<void*> redirected;
  const std::lock_guard lock(mutex);

  void* const entry = function;
  if (redirected.contains(entry)) {
    return "it is redirected already";
  }
  FunctionCode code;
  EntryBytes expected{};
  std::size_t overwritten = 0;
  PatchPage page;
  std::string why = ReadFunction(entry, &code);
  if (why.empty()) {
    std::copy_n(code.bytes.begin(), std::min(code.bytes.size(), expected.size()), expected.begin());
    why = PlanEntry(code, &overwritten);
  }
  if (why.empty()) {
    why = page.Make(code, overwritten, detour);
  }
  if (!why.empty()) {
    return why;
  }
  const auto known = redirected.insert(entry).first;
  function = page.trampoline();
  why = WriteEntry(static_cast<std::uint8_t*>(entry), overwritten, expected, page);
  if (!why.empty()) {
    function = entry;
    redirected.erase(known);
    return why;
  }
  page.KeepForLife();
  return {};
}

}  // namespace

}  // namespace qx

#else

#include <virtual_windows.h>

namespace qx {

namespace {

std::string RedirectEntry(std::atomic<void*>& function, void* detour) {
  return vwin::Redirect(function, detour) ? "" : "it can't be redirected, or is already";
}

}  // namespace

}  // namespace qx

#endif

namespace qx {

void* FindSystemFunction(const wchar_t* module, const char* name) {
  Module library(LoadLibraryExW(module, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32));
  if (!library) {
    return nullptr;
  }
  void* const function = reinterpret_cast<void*>(GetProcAddress(library.Get(), name));
  if (function != nullptr) {
    static_cast<void>(library.Release());  // it stays
  }
  return function;
}

std::string Redirect(std::atomic<void*>& function, void* detour) {
  HMODULE self = nullptr;
  if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                          reinterpret_cast<LPCWSTR>(&FindSystemFunction), &self)) {
    return fmt::format("can't keep the library loaded,error:{}",
                       static_cast<std::uint32_t>(GetLastError()));
  }
  return RedirectEntry(function, detour);
}

}  // namespace qx
