#include "tests/host/two_processes/XScreen.h"

#include <windows.h>

#include <stdexcept>
#include <string>

namespace qx::test {
namespace {

constexpr int kAttempts = 4000;
constexpr DWORD kAttemptMillis = 10;

// Wine starts a program of the system below, but can't wait for it.
void startBelow(const std::string& command) {
  std::string line = "Z:\\bin\\sh -c \"" + command + "\"";
  STARTUPINFOA start = {};
  start.cb = sizeof(start);
  PROCESS_INFORMATION process = {};
  if (!CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start,
                      &process)) {
    throw std::runtime_error("can't start " + command);
  }
}

}  // namespace

bool HasXScreen() {
  return GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") != nullptr;
}

Image XScreenshot() {
  const std::string file = "/tmp/qx-screen-" + std::to_string(GetCurrentProcessId()) + ".xwd";
  const std::string path = "Z:" + file;
  // The server refuses now and then, while windows come and go.
  startBelow("for i in 1 2 3 4 5 6 7 8 9; do xwd -root -silent -out " + file +
             ".part 2>/dev/null && mv " + file + ".part " + file + " && exit; sleep 0.1; done");
  for (int attempt = 0; GetFileAttributesA(path.c_str()) == INVALID_FILE_ATTRIBUTES; ++attempt) {
    if (attempt == kAttempts) {
      throw std::runtime_error("xwd wrote no screenshot");
    }
    Sleep(kAttemptMillis);
  }
  Image image = ReadXwd(path);
  DeleteFileA(path.c_str());
  return image;
}

}  // namespace qx::test
