#pragma once

#include "scene.h"

// Gives the cursor of virtual Windows the large shape of such a scene: a target with a
// ring, a cross, and a field through which the picture shows. None for other scenes.
void UseCursorOf(SceneKind kind);
