#pragma once

#include <cstdio>
#include <string>
#include <vector>

// What a console program of each system does in its own way so that all its text
// is UTF-8.

// The arguments after the program's name.
std::vector<std::string> Utf8Arguments(int argc, char** argv);

// std::fopen.
std::FILE* OpenFile(const std::string& path, const char* mode);

// The console reads what the program writes as UTF-8 for as long as this lives.
class Utf8Output {
 public:
  Utf8Output();
  Utf8Output(const Utf8Output&) = delete;
  Utf8Output& operator=(const Utf8Output&) = delete;
  ~Utf8Output();

 private:
  const unsigned m_before;  // the console's code page
};
