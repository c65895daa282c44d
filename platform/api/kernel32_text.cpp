#include <windows.h>

#include <algorithm>
#include <string_view>

#include "platform/model/Faults.h"
#include "platform/model/Text.h"

using namespace vwin;

namespace {

// A length of -1 means up to and with the NUL.
template <typename Char>
std::basic_string_view<Char> Source(const Char* text, int length) {
  if (length >= 0) return {text, static_cast<std::size_t>(length)};
  return {text, std::char_traits<Char>::length(text) + 1};
}

// Without room (size 0) only the length is told.
template <typename Text, typename Char>
int Deliver(const Text& text, Char* buffer, int size) {
  const int length = static_cast<int>(text.size());
  if (size == 0) return length;
  if (size < length) return SetLastError(ERROR_INSUFFICIENT_BUFFER), 0;
  std::copy(text.begin(), text.end(), buffer);
  return length;
}

bool Accepts(UINT codePage, DWORD flags, const void* source, int length) {
  if (codePage == CP_UTF8 && flags == 0 && source != nullptr && length != 0) return true;
  SetLastError(ERROR_INVALID_PARAMETER);
  return false;
}

}  // namespace

int WINAPI WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR wide, int wideLength,
                               LPSTR narrow, int narrowSize, LPCSTR, LPBOOL) {
  VWIN_CALL(WideCharToMultiByte);
  if (fault) return SetLastError(fault->win32), 0;
  if (!Accepts(codePage, flags, wide, wideLength)) return 0;
  return Deliver(ToUtf8(Source(wide, wideLength)), narrow, narrowSize);
}

int WINAPI MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR narrow, int narrowLength,
                               LPWSTR wide, int wideSize) {
  VWIN_CALL(MultiByteToWideChar);
  if (fault) return SetLastError(fault->win32), 0;
  if (!Accepts(codePage, flags, narrow, narrowLength)) return 0;
  return Deliver(FromUtf8(Source(narrow, narrowLength)), wide, wideSize);
}
