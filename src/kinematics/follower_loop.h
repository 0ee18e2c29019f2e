// Follower loops. A follower joint of kind 2, 3 or 4 pins its link's point A on its source body
// to the same point on its target body, which another chain of links moves. The loop is closed
// by moving the two follower links above the joint (its parent and grandparent), in the plane
// at right angles to their rotational axis:
//   kind 2  the grandparent turns and the parent slides along it (a crank with a rod of
//           variable length, such as a swinging cylinder);
//   kind 3  the grandparent slides and the parent turns on it (slider and connecting rod);
//   kind 4  both turn (the rocker and the coupler of a four-bar linkage).
#pragma once

#include "kinematics/host_callbacks.h"
#include "kinematics/joint_tree.h"
#include "kinematics/tree_motion.h"

namespace orv {

// Distance at which a follower joint counts as open.
constexpr double kLoopTolerance = 0.001;

// The joint's point A, carried by the target body's and by the source body's matrix, lands in
// two places kLoopTolerance or more apart.
bool loopOpen(const HostCallbacks& host, const Joint& follower);

// Solves the loop of a follower joint of kind 2, 3 or 4: sets the current values of its
// grandparent and parent links (and the follower's angle), recomposes the matrices below the
// grandparent joint (listing them in scratch) and tests the joint again. Returns whether it
// is closed. A loop that no position can close keeps its values and matrices.
bool closeLoop(const HostCallbacks& host, const Joint& follower, MotionOrder& scratch);

}  // namespace orv
