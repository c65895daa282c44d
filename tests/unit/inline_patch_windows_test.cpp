// Redirecting real functions, and what is done to code for that.
#include <Zydis/Zydis.h>
#include <d3d9.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "win/util/ComPtr.h"
#include "win/util/InlinePatch.h"
#include "win/util/StructuredGuard.h"
#include "win/util/Trampoline.h"

namespace qx {
namespace {

// -------------------------------------------------------------------- code in general

// How an instruction reads, with absolute targets in place of distances.
struct Reading {
  ZydisMnemonic mnemonic;
  std::vector<std::uint64_t> operands;
  bool operator==(const Reading&) const = default;
};

std::vector<Reading> Read(std::span<const std::uint8_t> code, std::uint64_t address) {
  ZydisDecoder decoder;
  ZydisDecoderInit(&decoder, ZYDIS_MACHINE_MODE_LONG_64, ZYDIS_STACK_WIDTH_64);
  std::vector<Reading> readings;
  while (!code.empty()) {
    ZydisDecodedInstruction instruction;
    ZydisDecodedOperand operands[ZYDIS_MAX_OPERAND_COUNT];
    if (!ZYAN_SUCCESS(
            ZydisDecoderDecodeFull(&decoder, code.data(), code.size(), &instruction, operands))) {
      break;
    }
    Reading reading{instruction.mnemonic, {}};
    for (int i = 0; i < instruction.operand_count_visible; ++i) {
      const ZydisDecodedOperand& o = operands[i];
      ZyanU64 target = 0;
      static_cast<void>(ZydisCalcAbsoluteAddress(&instruction, &o, address, &target));
      std::vector<std::uint64_t> parts{target, static_cast<std::uint64_t>(o.type)};
      if (o.type == ZYDIS_OPERAND_TYPE_REGISTER) {
        parts.push_back(o.reg.value);
      } else if (o.type == ZYDIS_OPERAND_TYPE_MEMORY) {
        const auto distance = static_cast<std::uint64_t>(o.mem.disp.value);
        parts.insert(parts.end(), {o.size, o.mem.segment, o.mem.base, o.mem.index, o.mem.scale,
                                   target == 0 ? distance : 0});
      } else if (o.type == ZYDIS_OPERAND_TYPE_IMMEDIATE && !o.imm.is_relative) {
        parts.push_back(o.imm.value.u);
      }
      reading.operands.insert(reading.operands.end(), parts.begin(), parts.end());
    }
    readings.push_back(std::move(reading));
    code = code.subspan(instruction.length);
    address += instruction.length;
  }
  return readings;
}

std::uint64_t Target(const Reading& reading) { return reading.operands[0]; }

// Plans and makes a trampoline at `where`, and compares it with the function.
std::string Build(const FunctionCode& function, std::uint64_t where) {
  std::size_t overwritten = 0;
  std::string why = PlanEntry(function, &overwritten);
  Trampoline trampoline;
  if (why.empty()) {
    why = MakeTrampoline(function, overwritten, where, &trampoline);
  }
  if (!why.empty()) {
    return why;
  }
  const auto original = Read(function.bytes.first(trampoline.moved), function.address);
  auto moved = Read(trampoline.code, where);
  if (moved.size() > original.size()) {
    EXPECT_EQ(ZYDIS_MNEMONIC_JMP, moved.back().mnemonic);
    EXPECT_EQ(function.address + trampoline.moved, Target(moved.back()));
    moved.pop_back();
  } else {
    const ZydisMnemonic last = original.back().mnemonic;
    EXPECT_TRUE(last == ZYDIS_MNEMONIC_JMP || last == ZYDIS_MNEMONIC_RET) << last;
  }
  if (original.back().mnemonic == ZYDIS_MNEMONIC_CALL) {
    EXPECT_EQ(ZYDIS_MNEMONIC_NOP, moved.back().mnemonic) << "after a call";
    moved.pop_back();
  }
  EXPECT_TRUE(original == moved) << "at " << std::hex << function.address;
  return {};
}

struct Sequence {
  const char* what;
  const char* refusal;  // what is said then, or empty
  const char* bytes;    // in hexadecimal digits
  const char* before = "";
  std::uint64_t address = 0x180001000;
  std::int64_t distance = 0x10000000;
};

std::vector<std::uint8_t> Bytes(const std::string& digits) {
  std::vector<std::uint8_t> bytes;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

TEST(Trampoline, MovesInstructionsOrRefuses) {
  const Sequence kSequences[] = {
      {"short jcc", "", "85C9744031C0C3"},
      {"near jcc", "", "0F8F40000000C3"},
      {"short jmp, then padding", "", "EB40CCCCCCCC"},
      {"call", "", "4883EC28E840000000C3"},
      {"call through a pointer", "", "FF1540000000C3"},
      {"lea", "", "488D0540000000C3"},
      {"a distance before a constant", "", "C7054000000001020304C3"},
      {"a forwarder", "", "FF2540000000"},
      {"redirected by somebody else", "", "E940000000"},
      {"tiny, then padding", "", "31C0C3660F1F44000055"},
      {"it calls itself", "", "9090909090E8F6FFFFFFC3"},
      {"what follows it jumps to it", "", "B801000000C3EBF8"},
      {"room before", "", "405390C3", "C3CCCCCCCCCC", 0x18000100C},
      {"room before, short", "", "89C8C3", "660F1F440000"},
      {"far away", "out of reach", "488D0500000000C3", "", 0x180001000, 0x80000000},
      {"far away, jump", "out of reach", "0F8440000000", "", 0x180001000,
       -std::int64_t{0x80001000}},
      {"loop", "no long form", "90E2409090C3"},
      {"jrcxz", "no long form", "E340909090C3"},
      {"xbegin", "no long form", "C7F840000000C3"},
      {"size prefix", "size prefix", "66E940000000C3"},
      {"address prefix", "32 bits", "678B0540000000C3"},
      {"breakpoint", "breakpoint", "CC4883EC28C3"},
      {"a jump back", "leads to byte 3", "31C090FFC075FCC3"},
      {"a jump to the entry", "leads to byte 0", "B80100000075F9C3"},
      {"a jump back behind a return", "leads to byte 2", "7506B801000000C3EBF8C3"},
      {"a call into it", "leads to byte 4", "E8FFFFFFFFC3"},
      {"a call that returns into it", "a call returns to byte 2", "FFD0909090"},
      {"tiny", "ends after 3", "31C0C3535557"},
      {"tiny, at the end", "ends after 1", "C39090"},
      {"no code", "unknown", "0690909090"},
      {"no code later", "byte 1 is unknown", "9006909090"},
      {"across 8 bytes", "across 8", "488D0540000000", "", 0x18000100C},
      {"across 8 bytes, short", "across 8", "89C8C3", "CCCCCCCCCC", 0x18000100F},
      {"one byte, with room before", "across 8", "53B801000000C3", "CCCCCCCCCC", 0x18000100C},
  };
  for (const Sequence& sequence : kSequences) {
    SCOPED_TRACE(sequence.what);
    const auto before = Bytes(sequence.before);
    const auto bytes = Bytes(sequence.bytes);
    const FunctionCode function{sequence.address, before, bytes};
    const std::string why =
        Build(function, sequence.address + static_cast<std::uint64_t>(sequence.distance));
    EXPECT_EQ(std::strlen(sequence.refusal) == 0, why.empty()) << why;
    EXPECT_NE(std::string::npos, why.find(sequence.refusal)) << why;
  }
}

// Beginnings of all functions that a module exports.
std::vector<const std::uint8_t*> Exports(HMODULE module) {
  const auto* const base = reinterpret_cast<const std::uint8_t*>(module);
  const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(
      base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
  const IMAGE_DATA_DIRECTORY& directory =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
  const auto* const exports =
      reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + directory.VirtualAddress);
  const auto* const functions = reinterpret_cast<const DWORD*>(base + exports->AddressOfFunctions);
  const IMAGE_SECTION_HEADER* const sections = IMAGE_FIRST_SECTION(headers);
  std::vector<const std::uint8_t*> found;
  for (DWORD i = 0; i < exports->NumberOfFunctions; ++i) {
    // Data and forwarders to other modules don't lie in such a section.
    if (std::any_of(sections, sections + headers->FileHeader.NumberOfSections, [&](const auto& s) {
          return (s.Characteristics & IMAGE_SCN_MEM_EXECUTE) != 0 &&
                 functions[i] - s.VirtualAddress < s.Misc.VirtualSize;
        })) {
      found.push_back(base + functions[i]);
    }
  }
  return found;
}

TEST(Trampoline, IsMadeForNearlyEveryFunctionOfTheSystem) {
  for (const wchar_t* const name :
       {L"d3d9.dll", L"d3d11.dll", L"dxgi.dll", L"user32.dll", L"gdi32.dll", L"kernel32.dll"}) {
    const HMODULE module = LoadLibraryExW(name, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    ASSERT_NE(nullptr, module);
    std::size_t built = 0;
    std::size_t refused = 0;
    for (const std::uint8_t* const entry : Exports(module)) {
      FunctionCode function;
      std::string why = ReadFunction(entry, &function);
      if (why.empty()) {
        why = Build(function, function.address + 0x20000000);
      }
      ++(why.empty() ? built : refused);
      if (!why.empty() && refused <= 5) {
        std::printf(
            "  +%llx: %s\n",
            static_cast<unsigned long long>(entry - reinterpret_cast<const std::uint8_t*>(module)),
            why.c_str());
      }
    }
    std::printf("%ls: %zu built, %zu refused\n", name, built, refused);
    EXPECT_GT(built, 0u);
    EXPECT_GE(built, refused * 20);
  }
}

// ------------------------------------------------------------------ functions that run

int g_calls = 0;
std::atomic<void*> g_create;
std::atomic<void*> g_stretch;
std::atomic<void*> g_faulting;

HRESULT WINAPI CreateDetour(UINT version, IDirect3D9Ex** d3d) {
  ++g_calls;
  return reinterpret_cast<decltype(&CreateDetour)>(g_create.load())(version, d3d);
}

HRESULT WINAPI StretchDetour(IDirect3DDevice9* device, IDirect3DSurface9* source, const RECT* from,
                             IDirect3DSurface9* target, const RECT* to,
                             D3DTEXTUREFILTERTYPE filter) {
  ++g_calls;
  return reinterpret_cast<decltype(&StretchDetour)>(g_stretch.load())(device, source, from, target,
                                                                      to, filter);
}

ComPtr<IDirect3DSurface9> MakeSurface(IDirect3DDevice9Ex* device, D3DCOLOR color) {
  ComPtr<IDirect3DSurface9> surface;
  EXPECT_HRESULT_SUCCEEDED(device->CreateRenderTarget(8, 8, D3DFMT_X8R8G8B8, D3DMULTISAMPLE_NONE, 0,
                                                      TRUE, surface.Put(), nullptr));
  EXPECT_HRESULT_SUCCEEDED(device->ColorFill(surface.Get(), nullptr, color));
  return surface;
}

DWORD FirstPixel(IDirect3DSurface9* surface) {
  D3DLOCKED_RECT locked{};
  EXPECT_HRESULT_SUCCEEDED(surface->LockRect(&locked, nullptr, D3DLOCK_READONLY));
  const DWORD pixel = locked.pBits == nullptr ? 0 : *static_cast<const DWORD*>(locked.pBits);
  EXPECT_HRESULT_SUCCEEDED(surface->UnlockRect());
  return pixel & 0xFFFFFF;
}

DWORD Protection(const void* address) {
  MEMORY_BASIC_INFORMATION region{};
  VirtualQuery(address, &region, sizeof(region));
  return region.Protect;
}

// Redirects what can be redirected once, and looks at what is left of it.
void ExpectRedirect(std::atomic<void*>& function, void* detour) {
  void* const entry = function;
  const DWORD protection = Protection(entry);
  ASSERT_EQ("", Redirect(function, detour));
  EXPECT_NE(entry, function.load());
  EXPECT_EQ(DWORD{PAGE_EXECUTE_READ}, Protection(function));
  EXPECT_EQ(protection, Protection(entry));

  std::atomic<void*> again = entry;
  EXPECT_EQ("it is redirected already", Redirect(again, detour));
  EXPECT_EQ(entry, again.load());
}

TEST(InlinePatch, Direct3D9GoesThroughDetours) {
  g_create = FindSystemFunction(L"d3d9.dll", "Direct3DCreate9Ex");
  ASSERT_NE(nullptr, g_create.load());
  const auto create = reinterpret_cast<decltype(&CreateDetour)>(g_create.load());
  ExpectRedirect(g_create, reinterpret_cast<void*>(&CreateDetour));
  ComPtr<IDirect3D9Ex> d3d;
  ASSERT_EQ(S_OK, create(D3D_SDK_VERSION, d3d.Put()));
  EXPECT_EQ(1, g_calls);

  D3DPRESENT_PARAMETERS parameters{};
  parameters.SwapEffect = D3DSWAPEFFECT_DISCARD;
  parameters.Windowed = TRUE;
  ComPtr<IDirect3DDevice9Ex> device;
  ASSERT_HRESULT_SUCCEEDED(d3d->CreateDeviceEx(0, D3DDEVTYPE_HAL, GetDesktopWindow(),
                                               D3DCREATE_HARDWARE_VERTEXPROCESSING, &parameters,
                                               nullptr, device.Put()));
  const auto red = MakeSurface(device.Get(), 0xFF0000);
  const auto blue = MakeSurface(device.Get(), 0x0000FF);
  const auto stretch = [&](IDirect3DSurface9* source, IDirect3DSurface9* target) {
    const RECT all{0, 0, 8, 8};
    return device->StretchRect(source, &all, target, &all, D3DTEXF_NONE);
  };
  const auto target = MakeSurface(device.Get(), 0);
  ASSERT_EQ(D3D_OK, stretch(red.Get(), target.Get()));
  EXPECT_EQ(0xFF0000u, FirstPixel(target.Get()));

  constexpr int kStretchRect = 34;
  g_stretch = (*reinterpret_cast<void***>(device.Get()))[kStretchRect];
  ExpectRedirect(g_stretch, reinterpret_cast<void*>(&StretchDetour));
  EXPECT_EQ(D3D_OK, stretch(blue.Get(), target.Get()));
  EXPECT_EQ(0x0000FFu, FirstPixel(target.Get()));
  EXPECT_EQ(2, g_calls);
}

// Functions that fault: in the first instructions, in what these call, and later. They
// take the address to read. The guard's own frame needs rbp again.
#define FUNCTION(name, body)                                                        \
  asm(".text\n.p2align 4\n.globl " #name "\n.seh_proc " #name "\n" #name ":\n" body \
      "\n.seh_endproc\n");                                                          \
  extern "C" int name(const int*);

FUNCTION(FaultsEarly,
         "pushq %rbp\n.seh_pushreg %rbp\n"
         ".seh_endprologue\n"
         "xorl %ebp, %ebp\nmovl (%rcx), %eax\npopq %rbp\nret")
FUNCTION(FaultsInACall,
         "pushq %rbp\n.seh_pushreg %rbp\n"
         ".seh_endprologue\n"
         "xorl %ebp, %ebp\ncall FaultsEarly\npopq %rbp\nret")
FUNCTION(FaultsLate,
         "movq %rbx, 8(%rsp)\n"
         "subq $40, %rsp\n.seh_stackalloc 40\n.seh_savereg %rbx, 48\n"
         ".seh_endprologue\n"
         "xorl %ebx, %ebx\nmovl (%rcx), %eax\nmovq 48(%rsp), %rbx\naddq $40, %rsp\nret")

int FaultingDetour(const int* number) {
  ++g_calls;
  return reinterpret_cast<decltype(&FaultingDetour)>(g_faulting.load())(number);
}

class FaultingFunction : public testing::TestWithParam<decltype(&FaultingDetour)> {};

TEST_P(FaultingFunction, IsGuardedThroughItsTrampoline) {
  const auto function = GetParam();
  g_faulting = reinterpret_cast<void*>(function);
  ExpectRedirect(g_faulting, reinterpret_cast<void*>(&FaultingDetour));
  int result = 0;
  const int number = 42;
  EXPECT_TRUE(RunGuarded([&] { result = function(&number); }));
  EXPECT_EQ(42, result);
  for (int i = 0; i < 2; ++i) {
    EXPECT_FALSE(RunGuarded([&] { result = function(nullptr); }));
  }
  EXPECT_EQ(3, g_calls);
}

INSTANTIATE_TEST_SUITE_P(All, FaultingFunction,
                         testing::Values(&FaultsEarly, &FaultsInACall, &FaultsLate));

}  // namespace
}  // namespace qx
