#pragma once

// What the window that the demonstrations share does: it is dragged to another
// place, covered by another window, minimised, restored and dragged back, over and
// over.

constexpr char kActorTitle[] = "Report";

// What it is at one moment.
struct ActorState {
  double travel = 0;  // 0: at its place, 1: at the other one
  bool covered = false;
  bool minimised = false;
};

constexpr double kActorRound = 12;  // seconds

ActorState ActorAt(double seconds);
