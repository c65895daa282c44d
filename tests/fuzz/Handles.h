#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

#include "tests/fuzz/Bytes.h"

namespace qx::fuzz {

// The handles of one kind that a host got, also those that are gone. Any thread.
template <typename Handle>
class Handles {
 public:
  void Add(Handle* handle) {
    const std::lock_guard lock(m_mutex);
    m_entries.push_back({handle});
  }

  std::size_t Count() const {
    const std::lock_guard lock(m_mutex);
    return m_entries.size();
  }

  // The first one more often than others, and sometimes what never was one.
  Handle* Any(Bytes& bytes) const {
    const std::size_t byte = bytes.Next();
    const std::lock_guard lock(m_mutex);
    if (byte >= 248 || m_entries.empty()) {
      return reinterpret_cast<Handle*>((byte - 252) * 2);
    }
    return m_entries[byte < 128 ? 0 : byte % m_entries.size()].handle;
  }

  std::vector<Handle*> All() const {
    const std::lock_guard lock(m_mutex);
    std::vector<Handle*> all;
    for (const Entry& entry : m_entries) {
      all.push_back(entry.handle);
    }
    return all;
  }

  // Certainly. While it is being destroyed it is neither.
  bool IsThere(const Handle* handle) const { return is(handle, State::kThere); }
  bool IsGone(const Handle* handle) const { return is(handle, State::kGone); }

  // Before it is destroyed. False when somebody else has begun to.
  bool BeginEnd(const Handle* handle) {
    const std::lock_guard lock(m_mutex);
    Entry* const entry = find(handle);
    if (!entry || entry->state != State::kThere) {
      return false;
    }
    entry->state = State::kGoing;
    return true;
  }
  void End(const Handle* handle, bool gone) {
    const std::lock_guard lock(m_mutex);
    if (Entry* const entry = find(handle)) {
      entry->state = gone ? State::kGone : State::kThere;
    }
  }

  // In the order in which they came; -1 for what never was one.
  std::ptrdiff_t Place(const Handle* handle) const {
    const std::lock_guard lock(m_mutex);
    const auto entry = std::ranges::find(m_entries, handle, &Entry::handle);
    return entry == m_entries.end() ? -1 : entry - m_entries.begin();
  }

 private:
  enum class State { kThere, kGoing, kGone };
  struct Entry {
    Handle* handle;
    State state = State::kThere;
  };

  Entry* find(const Handle* handle) {
    const auto entry = std::ranges::find(m_entries, handle, &Entry::handle);
    return entry == m_entries.end() ? nullptr : &*entry;
  }
  bool is(const Handle* handle, State state) const {
    const std::lock_guard lock(m_mutex);
    const auto entry = std::ranges::find(m_entries, handle, &Entry::handle);
    return entry == m_entries.end() ? state == State::kGone : entry->state == state;
  }

  mutable std::mutex m_mutex;  // held for moments only
  std::vector<Entry> m_entries;
};

}  // namespace qx::fuzz
