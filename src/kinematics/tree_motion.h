// The motion matrices down a joint tree: every body reached through ordinary joints starts from
// the identity, then each node's matrix becomes its body's matrix times the links' motion above
// it. The animation step runs both over whole trees; closing a follower loop reruns them below
// the loop's grandparent joint.
#pragma once

#include <cstdint>

#include "kinematics/checked_allocator.h"

#include "kinematics/host_callbacks.h"
#include "kinematics/joint_tree.h"
#include "kinematics/link_transform.h"
#include "math/mat4.h"

namespace orv {

// GetMatrix of the body (the identity without the callback) and SetMatrix.
Mat4 bodyMatrix(const HostCallbacks& host, uint64_t body);
void setBodyMatrix(const HostCallbacks& host, uint64_t body, const Mat4& m);

// Sets the bodies of a motion order (joint_tree.h) to the identity, in order.
void resetMotion(const HostCallbacks& host, const MotionOrder& order);

// The values of the links of a tree's motion order, copied by slot (JointTree::slotOf) in one
// animation step as the drive pass leaves each record: the motion then visits the links in
// the tree's order without reading their records again. A copy counts only in the step that
// made it, and only while nothing but the drive pass writes the records.
struct LinkCopy {
    AxisValues values;
    uint64_t step;  // the step that made it; 0 for none
    bool ridesPath;  // the motion reads such a link's record itself
};

struct LinkCopies {
    CheckedVector<LinkCopy> bySlot;
    uint64_t step = 0;  // the current step: 1, 2, ... over the process's life

    // Starts a step: no copy counts until the drive pass makes it again.
    void startStep(size_t slots) {
        bySlot.resize(slots);
        ++step;
    }
    const LinkCopy* current(uint32_t slot) const {
        return slot < bySlot.size() && bySlot[slot].step == step ? &bySlot[slot] : nullptr;
    }
    // Asks for the lines of a slot's copy ahead of their use.
    void prefetchSlot(uint32_t slot) const;
};

// For each node of a motion order in turn: its matrix := its body's matrix times the motion
// above it, and each joint that moves its child carries that motion, its link's motion added
// in front, to the child. The roots' motion above (TreeNode::above) must be set by the caller;
// the others' is handed down within the pass and stored in their nodes only where keepsAbove
// is set. A link with a current copy in copies (when given) moves by the copy, the others by
// their records.
void composeMotion(const HostCallbacks& host, const MotionOrder& order,
                   const LinkCopies* copies = nullptr);

}  // namespace orv
