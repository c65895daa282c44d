#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace qx::c {

// Of all tables. The first number drawn is 3: none is -1, 0 or 1.
inline std::atomic<std::uintptr_t> g_lastHandleNumber = 1;

// The objects of one kind, by what the host holds of them: a number in the shape of a
// pointer. Numbers are odd, so that none is an address of anything, and none comes twice
// in a process, in whatever table. So a handle that is stale, null or of another kind is
// simply not in here.
//
// Any thread. Who got an object keeps it, whoever takes it out meanwhile.
template <typename Handle, typename Object>
class HandleTable {
 public:
  Handle* Add(std::shared_ptr<Object> object) {
    const std::lock_guard lock(m_mutex);
    // Numbers are drawn under the lock, so the entries lie in their order.
    const std::uintptr_t number = g_lastHandleNumber.fetch_add(2) + 2;
    m_entries.emplace_back(number, std::move(object));
    return reinterpret_cast<Handle*>(number);
  }

  // Null when it is not there.
  std::shared_ptr<Object> Find(const Handle* handle) {
    const std::lock_guard lock(m_mutex);
    const auto entry = find(handle);
    return entry == m_entries.end() ? nullptr : entry->second;
  }

  // The handle is stale from now on.
  std::shared_ptr<Object> Take(const Handle* handle) {
    const std::lock_guard lock(m_mutex);
    const auto entry = find(handle);
    if (entry == m_entries.end()) {
      return nullptr;
    }
    std::shared_ptr<Object> object = std::move(entry->second);
    m_entries.erase(entry);
    return object;
  }

 private:
  using Entries = std::vector<std::pair<std::uintptr_t, std::shared_ptr<Object>>>;

  typename Entries::iterator find(const Handle* handle) {
    const auto number = reinterpret_cast<std::uintptr_t>(handle);
    const auto entry = std::ranges::lower_bound(m_entries, number, {}, &Entries::value_type::first);
    return entry != m_entries.end() && entry->first == number ? entry : m_entries.end();
  }

  std::mutex m_mutex;  // held for moments only
  Entries m_entries;   // few, and no memory is taken while their count is steady
};

}  // namespace qx::c
