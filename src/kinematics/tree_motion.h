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

// Sets the node's body and every body below it through ordinary joints to the identity.
void resetMotion(const HostCallbacks& host, const TreeNode& node);

// node's matrix := its body's matrix times above, and on down through ordinary joints, each
// adding its link's motion in front. Every node reached keeps the motion above it.
void composeMotion(const HostCallbacks& host, TreeNode& node, const Mat4& above);

}  // namespace orv
