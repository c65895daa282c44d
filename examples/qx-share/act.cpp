#include "act.h"

#include <algorithm>
#include <cmath>

namespace {

bool Between(double time, double begin, double end) { return time >= begin && time < end; }

}  // namespace

ActorState ActorAt(double seconds) {
  const double time = std::fmod(seconds, kActorRound);
  ActorState state;
  state.travel = std::clamp(std::min(time - 2.5, 11.5 - time), 0.0, 1.0);
  state.covered = Between(time, 5, 6.5);
  state.minimised = Between(time, 7.5, 9);
  return state;
}
