#include "tests/host/two_processes/Puppet.h"

#include <cstdio>
#include <stdexcept>

namespace qx::test {
namespace {

constexpr DWORD kLongEnough = 40000;

std::wstring puppetPath() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  std::wstring text(path);
  return text.substr(0, text.rfind(L'\\') + 1) + L"POWERPNT.exe";
}

// A pipe whose end for the other process, and only that, is inherited.
void openPipe(HANDLE& reader, HANDLE& writer, HANDLE& own) {
  SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
  if (!CreatePipe(&reader, &writer, &inherited, 0) ||
      !SetHandleInformation(own, HANDLE_FLAG_INHERIT, 0)) {
    throw std::runtime_error("can't open a pipe");
  }
}

}  // namespace

Puppet::Puppet() {
  HANDLE input = nullptr;
  HANDLE output = nullptr;
  openPipe(input, m_commands, m_commands);
  openPipe(m_answers, output, m_answers);
  STARTUPINFOW start = {};
  start.cb = sizeof(start);
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = input;
  start.hStdOutput = output;
  start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  PROCESS_INFORMATION process = {};
  const BOOL started = CreateProcessW(puppetPath().c_str(), nullptr, nullptr, nullptr, TRUE, 0,
                                      nullptr, nullptr, &start, &process);
  CloseHandle(input);
  CloseHandle(output);
  if (!started) {
    throw std::runtime_error("can't start the puppet");
  }
  CloseHandle(process.hThread);
  m_process = process.hProcess;
}

Puppet::~Puppet() {
  CloseHandle(m_commands);
  if (WaitForSingleObject(m_process, kLongEnough) != WAIT_OBJECT_0) {
    TerminateProcess(m_process, 1);
  }
  CloseHandle(m_process);
  CloseHandle(m_answers);
}

std::int32_t Puppet::Do(const std::string& command) {
  const std::lock_guard lock(m_mutex);
  const std::string line = command + "\n";
  DWORD count = 0;
  WriteFile(m_commands, line.data(), static_cast<DWORD>(line.size()), &count, nullptr);
  std::string answer;
  char c = 0;
  while (ReadFile(m_answers, &c, 1, &count, nullptr) && count == 1 && c != '\n') {
    answer += c;
  }
  std::int32_t id = 0;
  if (std::sscanf(answer.c_str(), "ok %d", &id) != 1) {
    throw std::runtime_error("the puppet answered '" + answer + "' to: " + command);
  }
  return id;
}

}  // namespace qx::test
