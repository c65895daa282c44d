#pragma once

#include <functional>
#include <memory>
#include <string>

#include "Report.h"
#include "scene.h"

// A figure that the command line asks for, with its limit.
struct Figure {
  std::string name;
  double limit = 0;
};

// main() of `program`, which takes WIDTHxHEIGHT FIGURE=LIMIT...: opens the scene of that
// size and measures one figure after the other. 0 when all kept their limits, 1 when not,
// and 2, with a line that says why, for wrong usage and when something throws.
int FigureMain(int argc, char** argv, const char* program,
               const std::function<std::unique_ptr<Scene>(int width, int height)>& open,
               const std::function<void(Report& report, const std::string& size,
                                        const Figure& figure)>& measure);
