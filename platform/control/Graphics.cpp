#include "platform/control/Graphics.h"

#include <memory>
#include <stdexcept>

#include "platform/model/Desktop.h"
#include "platform/model/PictureMemory.h"

namespace vwin::control {
namespace {

template <typename Change>
void changeMachine(Change change) {
  Lock lock;
  change(TheMachine(lock));
  scheduler::Changed();
}

template <typename Change>
void changeMonitor(HMONITOR handle, Change change) {
  Lock lock;
  const auto monitor = desktop::FindMonitor(lock, handle);
  if (!monitor) throw std::invalid_argument("no such monitor");
  change(*monitor);
  scheduler::Changed();
}

}  // namespace

void SetNoAdapter() {
  changeMachine([](Machine& machine) { machine.adapters.clear(); });
}
void SetAdapter(const Adapter& adapter) {
  changeMachine([&](Machine& machine) { machine.adapters = {adapter}; });
}
std::size_t AddAdapter(const Adapter& adapter) {
  std::size_t index = 0;
  changeMachine([&](Machine& machine) {
    index = machine.adapters.size();
    machine.adapters.push_back(adapter);
  });
  return index;
}

void PlugInto(HMONITOR handle, std::size_t adapter) {
  changeMonitor(handle, [&](Monitor& monitor) { monitor.adapter = adapter; });
}
void SetAttached(HMONITOR handle, bool attached) {
  changeMonitor(handle, [&](Monitor& monitor) {
    if (monitor.attached != attached) ++monitor.modeChanges;
    monitor.attached = attached;
  });
}
void TurnMonitor(HMONITOR handle, DXGI_MODE_ROTATION rotation) {
  const int turns =
      rotation == DXGI_MODE_ROTATION_UNSPECIFIED ? 0 : rotation - DXGI_MODE_ROTATION_IDENTITY;
  changeMonitor(handle, [&](Monitor& monitor) {
    if (monitor.quarterTurns != turns) ++monitor.modeChanges;
    monitor.quarterTurns = turns;
  });
}

void SetD3DResult(HRESULT result) {
  changeMachine([&](Machine& machine) { machine.d3dResult = result; });
}
void SetD3DFault(std::optional<std::uint32_t> code) {
  changeMachine([&](Machine& machine) { machine.d3dFault = code; });
}
void RemoveD3DDevices() {
  changeMachine([](Machine& machine) { ++machine.d3dRemovals; });
}

void SetDuplicateResult(HRESULT result) {
  changeMachine([&](Machine& machine) { machine.duplicateResult = result; });
}
void SetDuplicateFormat(DXGI_FORMAT format) {
  changeMachine([&](Machine& machine) { machine.duplicateFormat = format; });
}
void SetBlackDuplicates(bool black) {
  changeMachine([&](Machine& machine) { machine.blackDuplicates = black; });
}
void SetPointerBeforePicture(bool before) {
  changeMachine([&](Machine& machine) { machine.pointerBeforePicture = before; });
}
void ReportMove(HMONITOR handle, POINT from, const RECT& to) {
  changeMonitor(handle, [&](Monitor& monitor) { monitor.moves.push_back({from, to}); });
}
void SetPointerShape(const std::optional<PointerShape>& shape) {
  changeMachine([&](Machine& machine) {
    machine.pointerShape = shape ? std::make_shared<const PointerShape>(*shape) : nullptr;
  });
}

std::uint64_t PictureBytes() { return pictures::Bytes(); }

}  // namespace vwin::control
