#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Paths are UTF-8. Both throw std::runtime_error when they fail.

void CreateDirectories(const std::string& path);

void WriteFile(const std::string& path, const std::vector<std::uint8_t>& bytes);
