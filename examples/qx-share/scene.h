#pragma once

#include <cstdint>
#include <memory>
#include <string>

// What there is to see. On Windows that is the user's own desktop; virtual
// Windows starts out empty, so a scene is set up there.
class Scene {
 public:
  virtual ~Scene() = default;
};

// Sets up a primary monitor of the given size with several windows. With
// `lively` one window moves, one repaints itself, one acts as act.h says and the
// cursor wanders, on a thread of the scene, until the result goes. Null where the system has a
// desktop of its own.
std::unique_ptr<Scene> OpenScene(int width, int height, bool lively);

// Opens `count` windows with titles, of twenty programs. False where the system has a
// desktop of its own.
bool OpenManyWindows(int count);

// How often a function of the system was called so far; 0 where nobody counts.
std::uint64_t CountCalls(const std::string& function);
