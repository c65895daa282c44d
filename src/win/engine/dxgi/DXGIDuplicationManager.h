#pragma once

#include <d3d11.h>
#include <dxgi1_2.h>
#include <windows.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "common/Singleton.h"
#include "win/util/ComPtr.h"

namespace qx {

// A monitor's duplication with the device that it was made on. Each has a device of
// its own.
struct DXGIDuplication {
  ComPtr<ID3D11Device> device;
  ComPtr<ID3D11DeviceContext> context;
  ComPtr<IDXGIOutputDuplication> duplication;
  DXGI_MODE_ROTATION rotation = DXGI_MODE_ROTATION_UNSPECIFIED;
};

// What an owner wants a duplication for: to capture, or only to learn whether
// anything changed.
enum class DuplicationUse { Capture = 0, Watch = 1 };

// The duplications of the process: the system gives one per monitor and process. Each
// has one owner at a time. One that captures takes the monitor over from one that
// watches, which learns of it at its next request, and gets a duplication of its own, whose
// picture nobody has taken yet; all others have to wait until it is released.
//
// After three failures in a row no more duplications are made in this process; what there
// is still changes hands.
//
// Any thread. An owner is told apart by its address and is never called.
class DXGIDuplicationManager : public Singleton<DXGIDuplicationManager> {
 public:
  using Record = std::shared_ptr<const DXGIDuplication>;

  // Null when the duplication can't be had (logged, but for one that is taken). An
  // owner that watches lets go of the record after each use: only so does a capturing
  // owner that took it over get rid of it with its release.
  Record GetDXGIDuplication(HMONITOR monitor, const void* owner, DuplicationUse use);

  // Gives up what this owner still has of `monitor`. An owner that lost its record
  // takes nothing from the present one. The owner's own references go first.
  void ReleaseDXGIDuplication(HMONITOR monitor, const void* owner, DuplicationUse use);

 private:
  friend class Singleton<DXGIDuplicationManager>;
  DXGIDuplicationManager() = default;

  struct Entry {
    Record record;
    DuplicationUse use;
    const void* owner;
  };

  // With the mutex held.
  Record create(HMONITOR monitor, const void* owner, DuplicationUse use);

  std::mutex m_mutex;
  std::unordered_map<HMONITOR, Entry> m_duplications;
  std::int32_t m_createFailCount = 0;  // in a row
};

}  // namespace qx
