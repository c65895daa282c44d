// Text is UTF-8 here anyway.
#include "console.h"

std::vector<std::string> Utf8Arguments(int argc, char** argv) {
  return {argv + (argc > 0 ? 1 : 0), argv + argc};
}

std::FILE* OpenFile(const std::string& path, const char* mode) {
  return std::fopen(path.c_str(), mode);
}

Utf8Output::Utf8Output() : m_before(0) {}

Utf8Output::~Utf8Output() = default;
