// Preloaded into a client that knows nothing of virtual Windows: there is the example's
// scene to see, at rest. At the end of the program the screen is written into the file
// that QX_SCREEN names: "WIDTH HEIGHT" in a line, and its B, G, R, 0 bytes.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "scene.h"

namespace {

struct StillScene {
  std::unique_ptr<Scene> scene = OpenScene(640, 360, false);

  ~StillScene() {
    std::vector<std::uint8_t> bytes;
    int width = 0;
    int height = 0;
    const char* path = std::getenv("QX_SCREEN");
    std::FILE* file = path != nullptr ? std::fopen(path, "w") : nullptr;
    if (file != nullptr && TakeScreen(bytes, width, height)) {
      std::fprintf(file, "%d %d\n", width, height);
      std::fwrite(bytes.data(), 1, bytes.size(), file);
      std::fclose(file);
    }
  }
} const g_scene;

}  // namespace
