#pragma once

#include <functional>

// main() of a bench that measures with so many windows against one limit: reads WINDOWS
// LIMIT and runs. Its exit code is what `run` returns, or 2 for a wrong usage and for what
// `run` throws, which is printed.
int CountMain(int argc, char** argv, const char* program,
              const std::function<int(int windows, double limit)>& run);
