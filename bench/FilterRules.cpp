#include "FilterRules.h"

#include <cstdint>
#include <cstring>
#include <string>

std::vector<IScreenCapture::FilterWindowInfo> MakeFilterRules(const std::vector<HWND>& windows) {
  std::vector<IScreenCapture::FilterWindowInfo> rules(std::size_t{4} * kFilteredWindows);
  for (std::size_t i = 0; i < rules.size(); ++i) {
    auto& rule = rules[i];
    rule.reserved = static_cast<std::uint32_t>(i);
    if (i % 2 == 0) {
      const bool matches = i % 4 == 0;
      rule.window =
          matches ? windows[i * 3] : reinterpret_cast<void*>(0x7F000000 + std::uintptr_t{i} * 8);
      continue;
    }
    rule.type = 1;
    rule.processId = static_cast<std::uint32_t>(900000 + i);
    if (i % 4 == 3) {
      rule.titleRule = 1 + i / 4 % 2;
      const std::string title = "Document " + std::to_string(i);
      std::memcpy(rule.title, title.c_str(), title.size() + 1);
    }
  }
  return rules;
}
