#include <windows.h>

#include "console.h"
// shellapi.h needs names of windows.h.
#include <shellapi.h>

#include <memory>

#include "text.h"

namespace {

std::wstring ToWide(const std::string& text) {
  const auto length = static_cast<int>(text.size());
  std::wstring wide(text.size(), L'\0');  // never more units than bytes
  const int units = MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), length);
  wide.resize(static_cast<std::size_t>(units));
  return wide;
}

}  // namespace

// The arguments of main() come in the system's code page and may have lost
// characters on their way.
std::vector<std::string> Utf8Arguments(int, char**) {
  int count = 0;
  const std::unique_ptr<LPWSTR, decltype(&LocalFree)> wide(
      CommandLineToArgvW(GetCommandLineW(), &count), &LocalFree);
  std::vector<std::string> arguments;
  for (int i = 1; wide != nullptr && i < count; ++i) {
    arguments.push_back(ToUtf8(wide.get()[i]));
  }
  return arguments;
}

std::FILE* OpenFile(const std::string& path, const char* mode) {
  return _wfopen(ToWide(path).c_str(), ToWide(mode).c_str());
}

Utf8Output::Utf8Output() : m_before(GetConsoleOutputCP()) { SetConsoleOutputCP(CP_UTF8); }

Utf8Output::~Utf8Output() {
  if (m_before != 0) {
    SetConsoleOutputCP(m_before);
  }
}
