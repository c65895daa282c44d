#pragma once

#include <windows.h>

#include <cstdint>
#include <mutex>
#include <string>

namespace qx::test {

// Another process with windows, under the program name that a slide show is known
// by. tests/tools/puppet.cpp tells what it understands. It ends with this object.
class Puppet {
 public:
  // Throws std::runtime_error when the program can't be started.
  Puppet();
  Puppet(const Puppet&) = delete;
  Puppet& operator=(const Puppet&) = delete;
  ~Puppet();

  // Returns the id of the window when the command has been carried out; throws
  // std::runtime_error when it could not be. Any thread may ask.
  std::int32_t Do(const std::string& command);

 private:
  std::mutex m_mutex;  // from a command to its answer
  HANDLE m_process = nullptr;
  HANDLE m_commands = nullptr;
  HANDLE m_answers = nullptr;
};

}  // namespace qx::test
