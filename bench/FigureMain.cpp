#include "FigureMain.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>

namespace {

Figure ParseFigure(const std::string& argument) {
  const std::size_t equals = argument.find('=');
  if (equals == std::string::npos) {
    throw std::invalid_argument("wrong argument '" + argument + "'");
  }
  return {argument.substr(0, equals), std::strtod(argument.c_str() + equals + 1, nullptr)};
}

}  // namespace

int FigureMain(int argc, char** argv, const char* program,
               const std::function<std::unique_ptr<Scene>(int width, int height)>& open,
               const std::function<void(Report& report, const std::string& size,
                                        const Figure& figure)>& measure) {
  int width = 0;
  int height = 0;
  if (argc < 3 || std::sscanf(argv[1], "%dx%d", &width, &height) != 2) {
    std::fprintf(stderr, "usage: %s WIDTHxHEIGHT FIGURE=LIMIT...\n", program);
    return 2;
  }
  try {
    const auto scene = open(width, height);
    Report report;
    for (int i = 2; i < argc; ++i) {
      measure(report, argv[1], ParseFigure(argv[i]));
    }
    return report.ExitCode();
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s: %s\n", program, failure.what());
    return 2;
  }
}
