#include "win/util/Trampoline.h"

#if defined(_WIN32)

#include <Zydis/Zydis.h>
#include <fmt/format.h>
#include <windows.h>

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <limits>

namespace qx {

namespace {

using Instruction = ZydisDecodedInstruction;
using Bytes = std::span<const std::uint8_t>;

// How far a function is searched for jumps to its entry.
constexpr std::size_t kLookAhead = 0x4000;
constexpr std::uint8_t kNop = 0x90;

bool Decode(Bytes bytes, Instruction* instruction) {
  static const ZydisDecoder decoder = [] {
    ZydisDecoder made;
    ZydisDecoderInit(&made, ZYDIS_MACHINE_MODE_LONG_64, ZYDIS_STACK_WIDTH_64);
    return made;
  }();
  return ZYAN_SUCCESS(
      ZydisDecoderDecodeInstruction(&decoder, nullptr, bytes.data(), bytes.size(), instruction));
}

bool Has(const Instruction& instruction, std::uint64_t attribute) {
  return (instruction.attributes & attribute) != 0;
}

// Jumps and calls by a distance, unlike operands at one.
bool IsRelativeBranch(const Instruction& instruction) { return instruction.raw.imm[0].is_relative; }

bool IsCall(const Instruction& instruction) {
  return instruction.meta.category == ZYDIS_CATEGORY_CALL;
}

bool IsPadding(const Instruction& instruction) {
  return instruction.mnemonic == ZYDIS_MNEMONIC_NOP || instruction.mnemonic == ZYDIS_MNEMONIC_INT3;
}

// What follows it in memory does not run after it.
bool EndsFlow(const Instruction& instruction) {
  switch (instruction.mnemonic) {
    case ZYDIS_MNEMONIC_JMP:
    case ZYDIS_MNEMONIC_INT3:
    case ZYDIS_MNEMONIC_UD2:
    case ZYDIS_MNEMONIC_HLT:
      return true;
    default:
      return instruction.meta.category == ZYDIS_CATEGORY_RET;
  }
}

// Padding from its first byte to its last.
bool IsPadding(Bytes bytes) {
  Instruction instruction;
  while (!bytes.empty() && Decode(bytes, &instruction) && IsPadding(instruction)) {
    bytes = bytes.subspan(instruction.length);
  }
  return bytes.empty();
}

bool EndsInPadding(Bytes bytes) {
  for (std::size_t size = kJumpSize; size <= bytes.size(); ++size) {
    if (IsPadding(bytes.last(size))) {
      return true;
    }
  }
  return false;
}

bool FitsIntoStore(std::uint64_t address, std::size_t size) {
  return address % kStoreSize + size <= kStoreSize;
}

// Puts instructions together for the place where they are to run.
class Assembler {
 public:
  Assembler(std::uint64_t where, std::vector<std::uint8_t>* code) : m_where(where), m_code(code) {}

  void Add(Bytes bytes) { m_code->insert(m_code->end(), bytes.begin(), bytes.end()); }

  // An instruction that ends in the distance to `target`. False when that is too far.
  bool AddBranch(std::initializer_list<std::uint8_t> opcode, std::uint64_t target) {
    m_code->insert(m_code->end(), opcode);
    m_code->resize(m_code->size() + sizeof(std::int32_t));
    return setDistance(m_code->size() - sizeof(std::int32_t), target);
  }

  // An instruction that runs at `from`, with an operand at a distance.
  bool AddRelative(Bytes bytes, const Instruction& instruction, std::uint64_t from) {
    const std::size_t start = m_code->size();
    Add(bytes);
    const std::uint64_t next = from + bytes.size();
    return setDistance(start + instruction.raw.disp.offset,
                       next + static_cast<std::uint64_t>(instruction.raw.disp.value));
  }

 private:
  // The distance counts from the end of the code.
  bool setDistance(std::size_t at, std::uint64_t target) {
    const auto distance = static_cast<std::int64_t>(target - (m_where + m_code->size()));
    if (distance != static_cast<std::int32_t>(distance)) {
      return false;
    }
    for (std::size_t i = 0; i < sizeof(std::int32_t); ++i) {
      (*m_code)[at + i] = static_cast<std::uint8_t>(distance >> (8 * i));
    }
    return true;
  }

  const std::uint64_t m_where;
  std::vector<std::uint8_t>* const m_code;
};

constexpr const char* kTooFar = "what it leads to is out of reach";

std::string MoveBranch(const Instruction& instruction, std::uint64_t from, Assembler* assembler) {
  // Processors of different makers disagree about it.
  if (Has(instruction, ZYDIS_ATTRIB_HAS_OPERANDSIZE)) {
    return "a branch with a size prefix";
  }
  const std::uint64_t target =
      from + instruction.length + static_cast<std::uint64_t>(instruction.raw.imm[0].value.s);
  bool isReached = false;
  if (instruction.mnemonic == ZYDIS_MNEMONIC_JMP) {
    isReached = assembler->AddBranch({0xE9}, target);
  } else if (instruction.mnemonic == ZYDIS_MNEMONIC_CALL) {
    isReached = assembler->AddBranch({0xE8}, target);
  } else if (instruction.opcode >> 4 == 0x7 || instruction.opcode >> 4 == 0x8) {
    // The low half of the opcode is the condition, in the short form and in the long one.
    const auto condition = static_cast<std::uint8_t>(instruction.opcode & 0x0F);
    isReached = assembler->AddBranch({0x0F, static_cast<std::uint8_t>(0x80 | condition)}, target);
  } else {
    return "a branch that has no long form";
  }
  return isReached ? "" : kTooFar;
}

std::string Move(Bytes bytes, const Instruction& instruction, std::uint64_t from,
                 Assembler* assembler) {
  if (instruction.mnemonic == ZYDIS_MNEMONIC_INT3) {
    return "a breakpoint";
  }
  if (IsRelativeBranch(instruction)) {
    return MoveBranch(instruction, from, assembler);
  }
  if (!Has(instruction, ZYDIS_ATTRIB_IS_RELATIVE)) {
    assembler->Add(bytes);
    return {};
  }
  if (Has(instruction, ZYDIS_ATTRIB_HAS_ADDRESSSIZE)) {
    return "an address of 32 bits";
  }
  return assembler->AddRelative(bytes, instruction, from) ? "" : kTooFar;
}

// Looks for what would run into the overwritten bytes. A function of unknown size ends
// with an instruction that nothing jumps over.
std::string FindWayIn(const FunctionCode& function, std::size_t overwritten) {
  const std::size_t limit = function.extent != 0 ? function.extent : kLookAhead;
  const Bytes bytes = function.bytes.first(std::min({limit, kLookAhead, function.bytes.size()}));
  std::size_t furthest = 0;
  Instruction instruction;
  for (std::size_t at = 0; at < bytes.size();) {
    if (!Decode(bytes.subspan(at), &instruction)) {
      ++at;  // data
      continue;
    }
    at += instruction.length;
    if (IsRelativeBranch(instruction)) {
      const std::uint64_t target = at + static_cast<std::uint64_t>(instruction.raw.imm[0].value.s);
      // A function may well call itself.
      if (target < overwritten && !(target == 0 && IsCall(instruction))) {
        return fmt::format("a branch before byte {} leads to byte {}", at, target);
      }
      if (target < bytes.size() && !IsCall(instruction)) {
        furthest = std::max(furthest, static_cast<std::size_t>(target));
      }
    }
    if (function.extent == 0 && EndsFlow(instruction) && at > furthest) {
      break;
    }
  }
  return {};
}

}  // namespace

std::string ReadFunction(const void* entry, FunctionCode* code) {
  constexpr DWORD kExecutable =
      PAGE_EXECUTE | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
  constexpr std::size_t kBefore = 15;  // the longest instruction

  MEMORY_BASIC_INFORMATION region;
  if (VirtualQuery(entry, &region, sizeof(region)) == 0 || region.State != MEM_COMMIT ||
      (region.Protect & kExecutable) == 0) {
    return "there is no code";
  }
  const auto* const begin = static_cast<const std::uint8_t*>(entry);
  const auto* const base = static_cast<const std::uint8_t*>(region.BaseAddress);
  const auto available = static_cast<std::size_t>(base + region.RegionSize - begin);
  const std::size_t before = std::min(kBefore, static_cast<std::size_t>(begin - base));
  *code = FunctionCode{reinterpret_cast<std::uint64_t>(begin),
                       {begin - before, before},
                       {begin, std::min(available, kLookAhead)}};

  DWORD64 image = 0;
  const auto* const entryOfTable = RtlLookupFunctionEntry(code->address, &image, nullptr);
  if (entryOfTable == nullptr) {
    return {};  // a leaf
  }
  constexpr DWORD kLeadsToAnother = 1;
  if (image + entryOfTable->BeginAddress != code->address ||
      (entryOfTable->UnwindData & kLeadsToAnother) != 0) {
    return "it is the middle of a function";
  }
  code->extent = entryOfTable->EndAddress - entryOfTable->BeginAddress;
  code->unwindInfo = reinterpret_cast<const std::uint8_t*>(image + entryOfTable->UnwindData);
  return {};
}

std::string PlanEntry(const FunctionCode& function, std::size_t* overwritten) {
  Instruction first;
  if (!Decode(function.bytes, &first)) {
    return "the first instruction is unknown";
  }
  const bool hasRoom = first.length >= kShortJumpSize && EndsInPadding(function.before);
  const bool preferShort = first.length < kJumpSize || !FitsIntoStore(function.address, kJumpSize);
  *overwritten = hasRoom && preferShort ? kShortJumpSize : kJumpSize;
  return FitsIntoStore(function.address, *overwritten) ? ""
                                                       : "the entry lies across 8 aligned bytes";
}

std::string MakeTrampoline(const FunctionCode& function, std::size_t overwritten,
                           std::uint64_t where, Trampoline* trampoline) {
  *trampoline = {};
  Assembler assembler(where, &trampoline->code);
  std::size_t& moved = trampoline->moved;
  bool isOver = false;
  while (moved < overwritten && !isOver) {
    const Bytes rest = function.bytes.subspan(moved);
    Instruction instruction;
    if (!Decode(rest, &instruction)) {
      return fmt::format("the instruction at byte {} is unknown", moved);
    }
    const std::string why =
        Move(rest.first(instruction.length), instruction, function.address + moved, &assembler);
    if (!why.empty()) {
      return fmt::format("at byte {}: {}", moved, why);
    }
    moved += instruction.length;
    if (IsCall(instruction)) {
      // Threads may be in it for long.
      if (moved < overwritten) {
        return fmt::format("a call returns to byte {}", moved);
      }
      // The unwinder takes a frame that returns to a jump for one that is given up.
      assembler.Add(Bytes(&kNop, 1));
    }
    trampoline->ends.push_back({moved, trampoline->code.size()});
    isOver = EndsFlow(instruction);
  }
  if (moved < overwritten) {
    // The last padding may go on behind what is overwritten.
    std::size_t end = overwritten;
    while (end < function.bytes.size() && end < overwritten + ZYDIS_MAX_INSTRUCTION_LENGTH &&
           !IsPadding(function.bytes.subspan(moved, end - moved))) {
      ++end;
    }
    if (end > function.bytes.size() || !IsPadding(function.bytes.subspan(moved, end - moved))) {
      return fmt::format("it ends after {} bytes", moved);
    }
  }
  if (!isOver && !assembler.AddBranch({0xE9}, function.address + moved)) {
    return kTooFar;
  }
  return FindWayIn(function, overwritten);
}

std::vector<std::uint8_t> MoveUnwindInfo(const std::uint8_t* original,
                                         const Trampoline& trampoline) {
  constexpr std::uint8_t kVersion = 1;  // and no handler, which would cover none of it
  constexpr std::size_t kHeader = 4;
  constexpr std::size_t kCodeSize = 2;
  constexpr int kAllocLarge = 1;
  constexpr int kSetFrameRegister = 3;
  constexpr int kEpilogue = 6;  // of version 2: says nothing of a prologue
  constexpr std::uint8_t kSlots[16] = {1, 2, 1, 1, 2, 3, 2, 3, 2, 3, 1, 1, 1, 1, 1, 1};

  std::vector<std::uint8_t> info(kHeader);
  info[0] = kVersion;
  const Bytes codes(original + kHeader, original[2] * kCodeSize);
  for (std::size_t at = 0; at + kCodeSize <= codes.size();) {
    const int operation = codes[at + 1] & 0x0F;
    const bool isHuge = operation == kAllocLarge && codes[at + 1] >> 4 != 0;
    const std::size_t size =
        std::min((kSlots[operation] + (isHuge ? 1u : 0u)) * kCodeSize, codes.size() - at);
    const Bytes code = codes.subspan(at, size);
    at += size;
    if (operation == kEpilogue || code[0] > trampoline.moved) {
      continue;
    }
    const auto end = std::find_if(trampoline.ends.begin(), trampoline.ends.end(),
                                  [&](const auto& e) { return e.original >= code[0]; });
    if (end == trampoline.ends.end()) {
      continue;  // of padding
    }
    const auto offset = static_cast<std::uint8_t>(end->moved);
    info.push_back(offset);
    info.insert(info.end(), code.begin() + 1, code.end());
    info[1] = std::max(info[1], offset);
    info[3] = operation == kSetFrameRegister ? original[3] : info[3];
  }
  if (info.size() == kHeader) {
    return {};
  }
  info[2] = static_cast<std::uint8_t>((info.size() - kHeader) / kCodeSize);
  return info;
}

}  // namespace qx

#endif
