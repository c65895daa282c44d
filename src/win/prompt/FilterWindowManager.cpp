#include "win/prompt/FilterWindowManager.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <mutex>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "common/Logging.h"
#include "win/util/Utils.h"
#include "win/util/WindowHelpers.h"

namespace qx {

namespace {

using FilterWindowInfo = IScreenCapture::FilterWindowInfo;

enum : std::uint32_t { kByWindow = 0, kByProcess = 1 };
enum : std::uint32_t { kAnyTitle = 0, kTitleEquals = 1, kTitleDiffers = 2 };

// A host may fill the field to its end, without a NUL.
std::string_view TitleOf(const FilterWindowInfo& info) {
  return {info.title, strnlen(info.title, std::size(info.title))};
}

bool IsSame(const FilterWindowInfo& a, const FilterWindowInfo& b) {
  return a.type == b.type && a.titleRule == b.titleRule && a.window == b.window &&
         a.processId == b.processId && a.reserved == b.reserved && TitleOf(a) == TitleOf(b);
}

void Log(const FilterWindowInfo& info) {
  QX_LOG_INFO("filter window info:{},{:#08x},{},{},{},{}", info.type,
              reinterpret_cast<std::uintptr_t>(info.window), info.titleRule, info.processId,
              TitleOf(info), info.reserved);
}

// The present title of a window as UTF-8, without an allocation.
class WindowTitle {
 public:
  explicit WindowTitle(HWND window) {
    wchar_t wide[kUnits];
    SetLastError(ERROR_SUCCESS);
    const std::size_t units = WindowsUtil::ReadWindowTitle(window, wide);
    m_length = WideToUtf8({wide, units}, m_text);
    m_isKnown = m_length > 0 || (units == 0 && GetLastError() == ERROR_SUCCESS);
  }
  // False when the system did not tell.
  bool IsKnown() const { return m_isKnown; }
  std::string_view Get() const { return {m_text, m_length}; }

 private:
  static constexpr int kUnits = 260;
  char m_text[kUnits * 4];  // no character takes more
  std::size_t m_length;
  bool m_isKnown;
};

}  // namespace

// An immutable list, with what it takes to match a window quickly.
class FilterWindowManager::Rules {
 public:
  using Entry = std::shared_ptr<const FilterWindowInfo>;

  Rules() = default;
  explicit Rules(std::vector<Entry> entries) : m_entries(std::move(entries)) {
    for (const Entry& entry : m_entries) {
      if (entry->type == kByWindow) {
        m_windows.insert(static_cast<HWND>(entry->window));
      } else if (entry->type == kByProcess && entry->titleRule <= kTitleDiffers) {
        m_processes[entry->processId].push_back(entry);
      }
    }
  }

  const std::vector<Entry>& Entries() const { return m_entries; }
  const std::unordered_set<HWND>& Windows() const { return m_windows; }

  // `inDoubt` is the answer where the system does not tell what a rule asks for.
  bool Match(HWND window, bool inDoubt) const {
    if (m_windows.contains(window)) {
      return true;
    }
    if (m_processes.empty()) {
      return false;
    }
    DWORD processId = 0;
    if (GetWindowThreadProcessId(window, &processId) == 0) {
      return inDoubt;
    }
    const auto found = m_processes.find(processId);
    return found != m_processes.end() && matchTitle(window, found->second, inDoubt);
  }

 private:
  static bool matchTitle(HWND window, const std::vector<Entry>& rules, bool inDoubt) {
    std::optional<WindowTitle> title;
    return std::any_of(rules.begin(), rules.end(), [&](const Entry& rule) {
      if (rule->titleRule == kAnyTitle) {
        return true;
      }
      if (!title) {
        title.emplace(window);
      }
      if (!title->IsKnown()) {
        return inDoubt;
      }
      return (TitleOf(*rule) == title->Get()) == (rule->titleRule == kTitleEquals);
    });
  }

  std::vector<Entry> m_entries;
  std::unordered_set<HWND> m_windows;
  std::unordered_map<std::uint32_t, std::vector<Entry>> m_processes;
};

// Readers hold a lock only to copy a pointer. Writers make the next snapshot, one
// at a time.
class FilterWindowManager::List {
 public:
  std::shared_ptr<const Rules> Snapshot() const {
    const std::lock_guard lock(m_snapshotMutex);
    return m_rules;
  }

  // Replaces the list by what `change` makes of a copy of its entries.
  template <typename Change>
  void Edit(Change change) {
    const std::lock_guard writer(m_writerMutex);
    std::vector<Rules::Entry> entries = Snapshot()->Entries();
    change(entries);
    std::shared_ptr<const Rules> next = std::make_shared<const Rules>(std::move(entries));
    const std::lock_guard lock(m_snapshotMutex);
    m_rules.swap(next);
  }

  // Logs each entry, without a lock: a host may call back from there.
  void Insert(std::span<const FilterWindowInfo> windows) {
    Edit([&](std::vector<Rules::Entry>& entries) {
      for (const FilterWindowInfo& window : windows) {
        if (Find(entries, window) == entries.end()) {
          entries.push_back(std::make_shared<const FilterWindowInfo>(window));
        }
      }
    });
    std::for_each(windows.begin(), windows.end(), Log);
  }

  void Erase(const FilterWindowInfo& window) {
    Edit([&](std::vector<Rules::Entry>& entries) {
      const auto found = Find(entries, window);
      if (found != entries.end()) {
        entries.erase(found);
      }
    });
    Log(window);
  }

  void Clear() {
    Edit([](std::vector<Rules::Entry>& entries) { entries.clear(); });
  }

 private:
  static std::vector<Rules::Entry>::iterator Find(std::vector<Rules::Entry>& entries,
                                                  const FilterWindowInfo& window) {
    return std::find_if(entries.begin(), entries.end(),
                        [&](const Rules::Entry& entry) { return IsSame(*entry, window); });
  }

  std::mutex m_writerMutex;
  mutable std::mutex m_snapshotMutex;
  std::shared_ptr<const Rules> m_rules = std::make_shared<const Rules>();
};

FilterWindowManager::FilterWindowManager()
    : m_exclude(std::make_unique<List>()), m_include(std::make_unique<List>()) {}

FilterWindowManager::~FilterWindowManager() = default;

void FilterWindowManager::SetExcludeWindows(const std::vector<FilterWindowInfo>& windows) {
  QX_TRACE("FilterWindowManager::SetExcludeWindows");
  m_exclude->Insert(windows);
}

void FilterWindowManager::AddExcludeWindow(const FilterWindowInfo& window) {
  QX_TRACE("FilterWindowManager::AddExcludeWindow");
  m_exclude->Insert({&window, 1});
}

void FilterWindowManager::RemoveExcludeWindow(const FilterWindowInfo& window) {
  QX_TRACE("FilterWindowManager::RemoveExcludeWindow");
  m_exclude->Erase(window);
}

void FilterWindowManager::ClearExcludeWindows() {
  QX_TRACE("FilterWindowManager::ClearExcludeWindows");
  m_exclude->Clear();
}

void FilterWindowManager::SetIncludeWindows(const std::vector<FilterWindowInfo>& windows) {
  QX_TRACE("FilterWindowManager::SetIncludeWindows");
  m_include->Insert(windows);
}

void FilterWindowManager::AddIncludeWindow(const FilterWindowInfo& window) {
  QX_TRACE("FilterWindowManager::AddIncludeWindow");
  m_include->Insert({&window, 1});
}

void FilterWindowManager::RemoveIncludeWindow(const FilterWindowInfo& window) {
  QX_TRACE("FilterWindowManager::RemoveIncludeWindow");
  m_include->Erase(window);
}

void FilterWindowManager::ClearIncludeWindows() {
  QX_TRACE("FilterWindowManager::ClearIncludeWindows");
  m_include->Clear();
}

bool FilterWindowManager::HasExcludeWindows() const {
  return !m_exclude->Snapshot()->Entries().empty();
}

bool FilterWindowManager::IsExcludedWindow(HWND window) const {
  return m_exclude->Snapshot()->Match(window, true);
}

bool FilterWindowManager::IsIncludedWindow(HWND window) const {
  return m_include->Snapshot()->Match(window, false);
}

bool FilterWindowManager::NeedIncludeWindow() {
  const std::shared_ptr<const Rules> rules = m_include->Snapshot();
  const auto isDead = [](HWND window) { return !IsWindow(window); };
  if (std::none_of(rules->Windows().begin(), rules->Windows().end(), isDead)) {
    return !rules->Entries().empty();
  }
  m_include->Edit([&](std::vector<Rules::Entry>& entries) {
    std::erase_if(entries, [&](const Rules::Entry& entry) {
      return entry->type == kByWindow && isDead(static_cast<HWND>(entry->window));
    });
  });
  return !m_include->Snapshot()->Entries().empty();
}

}  // namespace qx
