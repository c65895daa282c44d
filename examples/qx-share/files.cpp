#include "files.h"

#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "console.h"

void CreateDirectories(const std::string& path) {
  std::error_code error;
  std::filesystem::create_directories(std::u8string(path.begin(), path.end()), error);
  if (error) {
    throw std::runtime_error("can't create " + path + ": " + error.message());
  }
}

void WriteFile(const std::string& path, const std::vector<std::uint8_t>& bytes) {
  std::FILE* file = OpenFile(path, "wb");
  const bool written =
      file != nullptr && std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  if ((file != nullptr && std::fclose(file) != 0) || !written) {
    throw std::runtime_error("can't write " + path);
  }
}
