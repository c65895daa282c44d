#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// What there is to see. On Windows that is the user's own desktop; virtual
// Windows starts out empty, so a scene is set up there.
class Scene {
 public:
  virtual ~Scene() = default;
};

// What is special about a scene.
enum class SceneKind {
  Plain,
  ColorCursor,  // the cursor is large and of this kind; so are the next two
  MonochromeCursor,
  MaskedCursor,
  Turned,      // the monitor stands upright, turned by 90 degrees
  ModeChange,  // the monitor gets another size after kModeChangeSeconds
  Windows11,   // the system is Windows 11
  Still,       // nothing moves, and the cursor is large
};

constexpr double kModeChangeSeconds = 2;

// Sets up a primary monitor of the given size with several windows, each of a program
// of its own. With `lively` one window moves, one repaints itself, one acts as act.h
// says and the cursor wanders, on a thread of the scene, until the result goes. Where
// the system has a desktop of its own the result is null, and any kind but Plain throws
// std::runtime_error.
std::unique_ptr<Scene> OpenScene(int width, int height, bool lively,
                                 SceneKind kind = SceneKind::Plain);

// What is on the screen now, without the cursor: B, G, R, 0 bytes, rows from top to bottom.
// False where the system has a desktop of its own.
bool TakeScreen(std::vector<std::uint8_t>& bytes, int& width, int& height);

// Opens `count` windows with titles, of twenty programs. False where the system has a
// desktop of its own.
bool OpenManyWindows(int count);

// Gives a small part of the screen another colour with each call. False where the system
// has a desktop of its own.
bool ChangeScreen();

// Opens a window of another program, on top of all and as large as the screen but for
// `margin` pixels at each side. Null where the system has a desktop of its own.
void* OpenPage(int margin);

// Gives a small part of such a window another colour with each call.
void ChangePage(void* page);

// From now on nobody waits for the clock: when all wait it moves to the first deadline.
// False where the system has a clock of its own.
bool SkipWaits();

// How often a function of the system was called so far; 0 where nobody counts.
std::uint64_t CountCalls(const std::string& function);

// Bytes of the pictures in the processor's memory that programs have from the system now;
// 0 where nobody counts.
std::uint64_t PictureBytes();
