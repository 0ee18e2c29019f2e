// The motion matrices down a joint tree: every body reached through ordinary joints starts from
// the identity, then each node's matrix becomes its body's matrix times the links' motion above
// it. The animation step runs both over whole trees; closing a follower loop reruns them below
// the loop's grandparent joint.
#pragma once

#include <cstdint>

#include "kinematics/host_callbacks.h"
#include "kinematics/joint_tree.h"
#include "math/mat4.h"

namespace orv {

// GetMatrix of the body (the identity without the callback) and SetMatrix.
Mat4 bodyMatrix(const HostCallbacks& host, uint64_t body);
void setBodyMatrix(const HostCallbacks& host, uint64_t body, const Mat4& m);

// Sets the bodies of a motion order (joint_tree.h) to the identity, in order.
void resetMotion(const HostCallbacks& host, const MotionOrder& order);

// For each node of a motion order in turn: its matrix := its body's matrix times the motion
// above it, and each joint that moves its child carries that motion, its link's motion added
// in front, to the child. Every node's motion above must be set before its turn: the roots' by
// the caller, the others' by their parents.
void composeMotion(const HostCallbacks& host, const MotionOrder& order);

}  // namespace orv
