#pragma once

#include <qx-screen-capture.h>
#include <windows.h>

#include <memory>
#include <vector>

namespace qx {

// The exclude list (windows to keep out of a picture) and the include list
// (windows to keep in it although they would be cut out). The lists outlive a
// share, and a change shows from the next question on.
//
// Any thread may call. A question works on an immutable snapshot of its list, so
// no lock is held while windows are asked about, and it asks for a window's
// process and title once at most, and only when a rule needs them.
class FilterWindowManager {
 public:
  using FilterWindowInfo = IScreenCapture::FilterWindowInfo;

  FilterWindowManager();
  ~FilterWindowManager();
  FilterWindowManager(const FilterWindowManager&) = delete;
  FilterWindowManager& operator=(const FilterWindowManager&) = delete;

  // The lists are sets: entries that are equal in all fields are one. Set adds
  // to what is there.
  void SetExcludeWindows(const std::vector<FilterWindowInfo>& windows);
  void AddExcludeWindow(const FilterWindowInfo& window);
  void RemoveExcludeWindow(const FilterWindowInfo& window);
  void ClearExcludeWindows();

  void SetIncludeWindows(const std::vector<FilterWindowInfo>& windows);
  void AddIncludeWindow(const FilterWindowInfo& window);
  void RemoveIncludeWindow(const FilterWindowInfo& window);
  void ClearIncludeWindows();

  bool HasExcludeWindows() const;

  // Whether some entry of the list matches the window. In doubt, when the system does not
  // tell its process or title, it is excluded and not included.
  bool IsExcludedWindow(HWND window) const;
  bool IsIncludedWindow(HWND window) const;

  // Whether the include list has entries. Drops those that name a window that is
  // gone; entries by process stay, and so does all of the exclude list.
  bool NeedIncludeWindow();

 private:
  class Rules;
  class List;

  std::unique_ptr<List> m_exclude;
  std::unique_ptr<List> m_include;
};

}  // namespace qx
