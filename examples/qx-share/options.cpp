#include "options.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <map>
#include <stdexcept>
#include <utility>

namespace {

using Engine = IScreenCapture::CaptureEngineType;

struct WrongUsage : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The whole of `text` as a number from `low` to `high`; hexadecimal after "0x".
template <typename Number>
Number ParseNumber(const std::string& option, const std::string& text, Number low, Number high) {
  const bool hexadecimal = text.rfind("0x", 0) == 0 || text.rfind("0X", 0) == 0;
  const char* first = text.data() + (hexadecimal ? 2 : 0);
  const char* last = text.data() + text.size();
  Number value{};
  const auto result = std::from_chars(first, last, value, hexadecimal ? 16 : 10);
  if (result.ec != std::errc() || result.ptr != last || value < low || value > high) {
    throw WrongUsage(option + " takes a number from " + std::to_string(low) + " to " +
                     std::to_string(high) + ", not '" + text + "'");
  }
  return value;
}

double ParseSeconds(const std::string& option, const std::string& text) {
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0' || !std::isfinite(value) || value <= 0 || value > 86400) {
    throw WrongUsage(option + " takes a number of seconds above 0, not '" + text + "'");
  }
  return value;
}

// Both sides from 1 to `most`.
std::pair<std::uint32_t, std::uint32_t> ParseSize(const std::string& option,
                                                  const std::string& text, std::uint32_t most) {
  const std::size_t cross = text.find('x');
  if (cross == std::string::npos) {
    throw WrongUsage(option + " takes WIDTHxHEIGHT, not '" + text + "'");
  }
  return {ParseNumber<std::uint32_t>(option, text.substr(0, cross), 1, most),
          ParseNumber<std::uint32_t>(option, text.substr(cross + 1), 1, most)};
}

IScreenCapture::ScreenFrameResolutionLimit ParseLimit(const std::string& option,
                                                      const std::string& text) {
  const auto [width, height] = ParseSize(option, text, 16384);
  return LimitTo(width, height);
}

ThumbnailSize ParseThumbnailSize(const std::string& option, const std::string& text) {
  const auto [width, height] = ParseSize(option, text, 4096);
  return {static_cast<int>(width), static_cast<int>(height)};
}

std::vector<Engine> ParseEngines(const std::string& option, const std::string& text) {
  static const std::map<std::string, Engine> names = {
      {"dxgi", IScreenCapture::CaptureEngineDXGI},
      {"wgc", IScreenCapture::CaptureEngineWGC},
      {"mag", IScreenCapture::CaptureEngineMag},
      {"gdi", IScreenCapture::CaptureEngineGDIBitBlt},
      {"print", IScreenCapture::CaptureEngineGDIPrintWindow},
  };
  std::vector<Engine> engines;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(',', begin), text.size());
    const auto found = names.find(text.substr(begin, end - begin));
    if (found == names.end()) {
      throw WrongUsage(option + " takes dxgi, wgc, mag, gdi and print with commas between, not '" +
                       text + "'");
    }
    engines.push_back(found->second);
    begin = end + 1;
  }
  return engines;
}

SceneKind ParseScene(const std::string& option, const std::string& text) {
  static const std::map<std::string, SceneKind> kinds = {
      {"color-cursor", SceneKind::ColorCursor},
      {"monochrome-cursor", SceneKind::MonochromeCursor},
      {"masked-cursor", SceneKind::MaskedCursor},
      {"turned", SceneKind::Turned},
      {"mode-change", SceneKind::ModeChange},
      {"windows-11", SceneKind::Windows11},
      {"still", SceneKind::Still},
  };
  const auto found = kinds.find(text);
  if (found == kinds.end()) {
    throw WrongUsage(option + " takes the name of a scene, not '" + text + "'");
  }
  return found->second;
}

IScreenCapture::ScreenFrameFormat ParseFormat(const std::string& option, const std::string& text) {
  if (text == "argb") {
    return IScreenCapture::ScreenFrameFormatARGB;
  }
  if (text == "i420") {
    return IScreenCapture::ScreenFrameFormatI420;
  }
  throw WrongUsage(option + " takes argb or i420, not '" + text + "'");
}

IScreenCapture::FilterWindowInfo ExcludeProcess(const std::string& option,
                                                const std::string& text) {
  IScreenCapture::FilterWindowInfo rule;
  rule.type = 1;
  rule.processId = ParseNumber<std::uint32_t>(option, text, 1, UINT32_MAX);
  return rule;
}

IScreenCapture::FilterWindowInfo ExcludeWindow(const std::string& option, const std::string& text) {
  IScreenCapture::FilterWindowInfo rule;
  const auto handle = ParseNumber<std::uint32_t>(option, text, 1, UINT32_MAX);
  // Window handles are 32 bits wide, sign-extended.
  rule.window =
      reinterpret_cast<void*>(static_cast<std::intptr_t>(static_cast<std::int32_t>(handle)));
  return rule;
}

// The commands that an option goes with.
using Commands = unsigned;
constexpr Commands Bit(Options::Command command) { return 1u << static_cast<unsigned>(command); }
constexpr Commands kList = Bit(Options::Command::List);
constexpr Commands kDoctor = Bit(Options::Command::Doctor);
constexpr Commands kDesktop = Bit(Options::Command::Desktop);
constexpr Commands kWindow = Bit(Options::Command::Window);
constexpr Commands kPicker = Bit(Options::Command::Picker);
constexpr Commands kShares = kDesktop | kWindow | kPicker;

class Parser {
 public:
  explicit Parser(const std::vector<std::string>& arguments) : m_arguments(arguments) {}

  Options Parse() {
    if (m_arguments.empty()) {
      throw WrongUsage("a command is missing: list, doctor, desktop, window or picker");
    }
    m_options.command = command(m_arguments[m_next++]);
    while (m_next < m_arguments.size()) {
      option(m_arguments[m_next++]);
    }
    checkTogether();
    return std::move(m_options);
  }

 private:
  struct Option {
    Commands commands;
    std::function<void(Parser&, const std::string& name)> handle;
  };

  static Options::Command command(const std::string& name) {
    static const std::map<std::string, Options::Command> commands = {
        {"list", Options::Command::List},       {"doctor", Options::Command::Doctor},
        {"desktop", Options::Command::Desktop}, {"window", Options::Command::Window},
        {"picker", Options::Command::Picker},
    };
    const auto found = commands.find(name);
    if (found == commands.end()) {
      throw WrongUsage("unknown command '" + name +
                       "': it is list, doctor, desktop, window or picker");
    }
    return found->second;
  }

  const std::string& value(const std::string& name) {
    if (m_next == m_arguments.size()) {
      throw WrongUsage(name + " needs a value");
    }
    return m_arguments[m_next++];
  }

  const std::string& text(const std::string& name, const std::string& what) {
    const std::string& given = value(name);
    if (given.empty()) {
      throw WrongUsage(name + " needs " + what);
    }
    return given;
  }

  const std::string& path(const std::string& name) { return text(name, "a path"); }

  void option(const std::string& name) {
    const auto found = options().find(name);
    if (found == options().end() || (found->second.commands & Bit(m_options.command)) == 0) {
      throw WrongUsage("unknown option '" + name + "'");
    }
    found->second.handle(*this, name);
  }

  static const std::map<std::string, Option>& options() {
    using P = Parser&;
    using N = const std::string&;
    static const std::map<std::string, Option> options = {
        {"--json", {kList | kDoctor | kShares, [](P p, N) { p.m_options.json = true; }}},
        {"--scene",
         {kList | kDoctor | kShares,
          [](P p, N n) { p.m_options.scene = ParseScene(n, p.value(n)); }}},
        {"--icons", {kList, [](P p, N n) { p.m_options.iconDirectory = p.path(n); }}},
        {"--thumbnails", {kList, [](P p, N n) { p.m_options.thumbnailDirectory = p.path(n); }}},
        {"--sheet", {kList | kPicker, [](P p, N n) { p.m_options.sheetFile = p.path(n); }}},
        {"--size",
         {kList | kPicker,
          [](P p, N n) {
            p.m_options.thumbnailSize = ParseThumbnailSize(n, p.value(n));
            p.m_sizeGiven = true;
          }}},
        {"--id",
         {kDesktop | kWindow,
          [](P p, N n) {
            p.m_options.id = ParseNumber<std::int32_t>(n, p.value(n), INT32_MIN, INT32_MAX);
          }}},
        {"--title",
         {kWindow, [](P p, N n) { p.m_options.title = p.text(n, "a part of a title"); }}},
        {"--class", {kWindow, [](P p, N n) { p.m_options.className = p.text(n, "a name"); }}},
        {"--track", {kWindow | kPicker, [](P p, N) { p.m_options.track = true; }}},
        {"--frames",
         {kShares,
          [](P p, N n) {
            p.m_options.frames = ParseNumber<std::uint32_t>(n, p.value(n), 1, 1000000);
          }}},
        {"--seconds",
         {kShares, [](P p, N n) { p.m_options.seconds = ParseSeconds(n, p.value(n)); }}},
        {"--fps",
         {kShares, [](P p, N n) { p.m_options.fps = ParseNumber<int>(n, p.value(n), 1, 30); }}},
        {"--format",
         {kShares,
          [](P p, N n) {
            p.m_options.format = ParseFormat(n, p.value(n));
            p.m_formatGiven = true;
          }}},
        {"--limit", {kShares, [](P p, N n) { p.m_options.limit = ParseLimit(n, p.value(n)); }}},
        {"--engines",
         {kShares, [](P p, N n) { p.m_options.engines = ParseEngines(n, p.value(n)); }}},
        {"--wgc-first", {kShares, [](P p, N) { p.m_options.wgcFirst = true; }}},
        {"--no-cursor", {kShares, [](P p, N) { p.m_options.cursor = false; }}},
        {"--no-prompt", {kShares, [](P p, N) { p.m_options.prompt = false; }}},
        {"--no-filter", {kShares, [](P p, N) { p.m_options.filter = false; }}},
        {"--exclude-pid",
         {kShares,
          [](P p, N n) { p.m_options.excluded.push_back(ExcludeProcess(n, p.value(n))); }}},
        {"--exclude-window",
         {kShares, [](P p, N n) { p.m_options.excluded.push_back(ExcludeWindow(n, p.value(n))); }}},
        {"--exclude-title",
         {kShares, [](P p, N n) { p.m_options.excludedTitles.push_back(p.text(n, "a title")); }}},
        {"--include-title",
         {kShares, [](P p, N n) { p.m_options.includedTitles.push_back(p.text(n, "a title")); }}},
        {"--dynamic", {kShares, [](P p, N) { p.m_options.dynamic = true; }}},
        {"--change-settings", {kShares, [](P p, N) { p.m_options.changeSettings = true; }}},
        {"--dirty", {kShares, [](P p, N) { p.m_options.dirty = true; }}},
        {"--save", {kShares, [](P p, N n) { p.m_options.saveDirectory = p.path(n); }}},
        {"--beside", {kShares, [](P p, N) { p.m_options.beside = true; }}},
        {"--y4m", {kShares, [](P p, N n) { p.m_options.y4mFile = p.path(n); }}},
        {"--events", {kShares, [](P p, N n) { p.m_options.eventFile = p.path(n); }}},
        {"--log", {kShares, [](P p, N n) { p.m_options.logFile = p.path(n); }}},
    };
    return options;
  }

  void checkTogether() {
    if (m_sizeGiven && m_options.thumbnailDirectory.empty() && m_options.sheetFile.empty()) {
      throw WrongUsage("--size goes with --thumbnails or --sheet");
    }
    if ((Bit(m_options.command) & kShares) == 0) {
      return;
    }
    if (m_options.command == Options::Command::Window &&
        m_options.id.has_value() + !m_options.title.empty() + !m_options.className.empty() != 1) {
      throw WrongUsage("window needs one of --id, --title and --class");
    }
    if ((m_options.frames != 0) == (m_options.seconds > 0)) {
      throw WrongUsage(m_arguments.front() + " needs one of --frames and --seconds");
    }
    if (m_options.beside && (m_options.saveDirectory.empty() || !m_options.y4mFile.empty() ||
                             m_options.format != IScreenCapture::ScreenFrameFormatARGB)) {
      throw WrongUsage("--beside goes with --save and ARGB frames");
    }
    if (!m_options.y4mFile.empty()) {
      if (m_formatGiven && m_options.format != IScreenCapture::ScreenFrameFormatI420) {
        throw WrongUsage("--y4m writes I420 frames and can't go with --format argb");
      }
      m_options.format = IScreenCapture::ScreenFrameFormatI420;
    }
  }

  const std::vector<std::string>& m_arguments;
  std::size_t m_next = 0;
  Options m_options;
  bool m_formatGiven = false;
  bool m_sizeGiven = false;
};

}  // namespace

IScreenCapture::ScreenFrameResolutionLimit LimitTo(std::uint64_t width, std::uint64_t height) {
  IScreenCapture::ScreenFrameResolutionLimit limit;
  limit.maxScreenWidth = width;
  limit.maxScreenHeight = height;
  limit.maxScreenPixels = width * height;
  return limit;
}

std::optional<Options> ParseOptions(const std::vector<std::string>& arguments, std::string& error) {
  try {
    return Parser(arguments).Parse();
  } catch (const WrongUsage& wrong) {
    error = wrong.what();
    return std::nullopt;
  }
}

const char* UsageText() {
  return "usage: qx-share list [--json] [--icons DIR] [--thumbnails DIR] [--sheet FILE.png]\n"
         "                [--size WxH]\n"
         "       qx-share doctor [--json]\n"
         "       qx-share desktop [--id N] SHARE\n"
         "       qx-share window (--id H | --title TEXT | --class CLASS) [--track] SHARE\n"
         "       qx-share picker [--sheet FILE.png [--size WxH]] [--track] SHARE\n"
         "SHARE: (--frames N | --seconds S) [--fps F] [--format argb|i420] [--limit WxH]\n"
         "       [--engines dxgi,wgc,mag,gdi,print] [--wgc-first]\n"
         "       [--no-cursor] [--no-prompt] [--no-filter]\n"
         "       [--exclude-pid P] [--exclude-window H] [--exclude-title TITLE]\n"
         "       [--include-title TITLE] [--dynamic] [--dirty] [--change-settings]\n"
         "       [--save DIR [--beside]] [--y4m FILE] [--json] [--events FILE] [--log FILE]\n"
         "doctor tries each engine on each monitor for half a second and tells what became of\n"
         "       it, and why.\n"
         "--thumbnails writes a small picture of each monitor and window, monitor-ID.png and\n"
         "       window-ID.png; --sheet one picture of all, each with the number that picker\n"
         "       asks for. --size is that of each small picture, else 320x180.\n"
         "--dirty tells of each frame how many rectangles of the screen have changed and how\n"
         "       large they are together, in percent, where the engine knows. The dxgi engine\n"
         "       gathers them with --no-filter only; without it, it tells of none.\n"
         "--change-settings first turns the format to i420, limits the frames to 640x360, then\n"
         "       to 1280x720, and turns the cursor off and on, 0.8 seconds apart.\n"
         "--exclude-title and --include-title take the whole title of a window on the list.\n"
         "--beside, on virtual Windows only, saves beside each frame what was on the screen.\n"
         "--scene NAME, with any command, on virtual Windows only: what there is to see is\n"
         "       color-cursor, monochrome-cursor, masked-cursor, turned, mode-change,\n"
         "       windows-11 or still\n";
}
