#include "picker.h"

#include <charconv>
#include <string>

#include "text.h"

namespace {

// The next line without its end, or none at the end of the input.
std::optional<std::string> ReadLine(std::FILE* in) {
  std::string line;
  int c = std::fgetc(in);
  if (c == EOF) {
    return std::nullopt;
  }
  for (; c != EOF && c != '\n'; c = std::fgetc(in)) {
    line += static_cast<char>(c);
  }
  return line;
}

// The number that is all of `line` but blanks at its ends; 0 for anything else.
std::size_t ToNumber(const std::string& line) {
  const char* const kBlanks = " \t\r";
  const std::size_t begin = line.find_first_not_of(kBlanks);
  if (begin == std::string::npos) {
    return 0;
  }
  const char* first = line.data() + begin;
  const char* last = line.data() + line.find_last_not_of(kBlanks) + 1;
  std::size_t number = 0;
  const auto result = std::from_chars(first, last, number);
  return result.ec == std::errc() && result.ptr == last ? number : 0;
}

}  // namespace

std::optional<Target> PickSource(const std::vector<IScreenCapture::DesktopInfo>& desktops,
                                 const std::vector<WindowSource>& windows, std::FILE* in,
                                 std::FILE* out) {
  std::vector<Target> targets;
  const auto row = [&](const Target& target, int width, int height, const std::string& process,
                       const std::string& what) {
    targets.push_back(target);
    const std::string size = std::to_string(width) + "x" + std::to_string(height);
    std::fprintf(out, "%4zu  %11s  %-16s  %s\n", targets.size(), size.c_str(), process.c_str(),
                 what.c_str());
  };
  std::fprintf(out, "%4s  %11s  %-16s  %s\n", "No.", "Size", "Program", "What");
  for (const IScreenCapture::DesktopInfo& d : desktops) {
    row({false, d.id}, d.width, d.height, "",
        d.isPrimary != 0 ? "the primary monitor"
                         : "the monitor at " + std::to_string(d.x) + "," + std::to_string(d.y));
  }
  for (const WindowSource& w : windows) {
    row({true, w.id}, w.width, w.height, OneLine(w.processName),
        w.title.empty() ? "(without a title)" : OneLine(w.title));
  }
  if (targets.empty()) {
    return std::nullopt;
  }
  for (;;) {
    std::fprintf(out, "Share which one, 1 to %zu? ", targets.size());
    std::fflush(out);
    const std::optional<std::string> line = ReadLine(in);
    if (!line) {
      std::fputs("\n", out);
      return std::nullopt;
    }
    const std::size_t number = ToNumber(*line);
    if (number >= 1 && number <= targets.size()) {
      return targets[number - 1];
    }
    std::fprintf(out, "'%s' is not a number of the table.\n", OneLine(*line).c_str());
  }
}
