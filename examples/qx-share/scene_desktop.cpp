#include <stdexcept>

#include "scene.h"

std::unique_ptr<Scene> OpenScene(int, int, bool, SceneKind kind) {
  if (kind != SceneKind::Plain) {
    throw std::runtime_error("only virtual Windows has scenes");
  }
  return nullptr;
}

bool TakeScreen(std::vector<std::uint8_t>&, int&, int&) { return false; }

bool OpenManyWindows(int) { return false; }

bool ChangeScreen() { return false; }

void* OpenPage(int) { return nullptr; }

void ChangePage(void*) {}

bool SkipWaits() { return false; }

std::uint64_t CountCalls(const std::string&) { return 0; }

std::uint64_t PictureBytes() { return 0; }
