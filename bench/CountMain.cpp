#include "CountMain.h"

#include <cstdio>
#include <cstdlib>
#include <exception>

int CountMain(int argc, char** argv, const char* program,
              const std::function<int(int windows, double limit)>& run) {
  const int windows = argc == 3 ? std::atoi(argv[1]) : 0;
  const double limit = argc == 3 ? std::strtod(argv[2], nullptr) : 0;
  if (windows <= 0 || limit <= 0) {
    std::fprintf(stderr, "usage: %s WINDOWS LIMIT\n", program);
    return 2;
  }
  try {
    return run(windows, limit);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s: %s\n", program, failure.what());
    return 2;
  }
}
