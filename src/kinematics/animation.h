// One animation step: drives, couplings and transmissions, the solve down the joint tree, the
// reference body and the collision test.
#pragma once

#include <cstdint>

namespace orv {

constexpr int32_t kAnimationDone = 0;
constexpr int32_t kAnimationLoopOpen = 1;   // a follower loop could not be closed
constexpr int32_t kAnimationCollision = 2;  // moved, but two bodies intersect

int32_t animation(double time, int32_t collisionCheck);

}  // namespace orv
