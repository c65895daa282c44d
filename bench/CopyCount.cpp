#include "CopyCount.h"

#include <dlfcn.h>
#include <libyuv.h>
#include <link.h>

#include <atomic>
#include <cstring>
#include <string_view>

// The functions here take the place of the C library's and libyuv's for the whole
// process. Compiled without the compiler's own idea of memcpy: it would call itself.

namespace {

std::atomic<bool> counting{false};
std::atomic<std::uint64_t> counted{0};

struct Range {
  std::uintptr_t begin = 0;
  std::uintptr_t end = 0;
};

// Where the library's code lies.
Range FindLibrary() {
  Range range;
  dl_iterate_phdr(
      [](dl_phdr_info* info, std::size_t, void* found) {
        if (std::string_view(info->dlpi_name).find("libqx-screen-capture") ==
            std::string_view::npos) {
          return 0;
        }
        for (int i = 0; i < info->dlpi_phnum; ++i) {
          const auto& part = info->dlpi_phdr[i];
          if (part.p_type == PT_LOAD && (part.p_flags & PF_X) != 0) {
            const std::uintptr_t begin = info->dlpi_addr + part.p_vaddr;
            *static_cast<Range*>(found) = {begin, begin + part.p_memsz};
          }
        }
        return 1;
      },
      &range);
  return range;
}

Range g_library;

// Below that it is a list or a text, and no row of a picture.
constexpr std::uint64_t kLeastBytes = 256;

using Copy = void*(void*, const void*, std::size_t);

void CountCopy(const void* caller, std::uint64_t bytes) {
  const auto address = reinterpret_cast<std::uintptr_t>(caller);
  if (bytes >= kLeastBytes && counting.load(std::memory_order_relaxed) &&
      address >= g_library.begin && address < g_library.end) {
    counted.fetch_add(bytes, std::memory_order_relaxed);
  }
}

// The function whose place `name` here takes.
template <typename Function>
Function* Real(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

std::uint64_t Pixels(int width, int height) {
  return static_cast<std::uint64_t>(width) *
         static_cast<std::uint64_t>(height < 0 ? -height : height);
}

}  // namespace

extern "C" {

void* memcpy(void* to, const void* from, std::size_t size) {
  static Copy* const real = Real<Copy>("memcpy");
  CountCopy(__builtin_return_address(0), size);
  return real(to, from, size);
}

void* memmove(void* to, const void* from, std::size_t size) {
  static Copy* const real = Real<Copy>("memmove");
  CountCopy(__builtin_return_address(0), size);
  return real(to, from, size);
}

}  // extern "C"

namespace libyuv {
extern "C" {

int ARGBScale(const uint8_t* from, int fromStride, int fromWidth, int fromHeight, uint8_t* to,
              int toStride, int width, int height, FilterMode filter) {
  static auto* const real = Real<decltype(ARGBScale)>("ARGBScale");
  CountCopy(__builtin_return_address(0), Pixels(width, height) * 4);
  return real(from, fromStride, fromWidth, fromHeight, to, toStride, width, height, filter);
}

int ARGBToI420(const uint8_t* argb, int argbStride, uint8_t* y, int yStride, uint8_t* u,
               int uStride, uint8_t* v, int vStride, int width, int height) {
  static auto* const real = Real<decltype(ARGBToI420)>("ARGBToI420");
  CountCopy(__builtin_return_address(0), Pixels(width, height) * 3 / 2);
  return real(argb, argbStride, y, yStride, u, uStride, v, vStride, width, height);
}

}  // extern "C"
}  // namespace libyuv

LibraryCopies::LibraryCopies() {
  g_library = FindLibrary();
  counted = 0;
  counting = true;
}

LibraryCopies::~LibraryCopies() { counting = false; }

std::uint64_t LibraryCopies::Bytes() const { return counted; }
