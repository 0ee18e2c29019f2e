// KinematicInit: rebuild the process-wide joint tree from the host's scene and check that the
// solver can move it.
#pragma once

#include <cstdint>

#include "kinematics/joint_tree.h"

namespace orv {

// String-table ids of the consistency check.
constexpr int32_t kRecursiveLinkText = 265;    // "Rekursive Verbindung definiert."
constexpr int32_t kCheckCaption = 266;         // "Konsistenzprüfung"
constexpr int32_t kInvalidFollowerText = 267;  // "Ungültige Definition der abhängigen ..."

struct ConsistencyFault {
    int32_t textId;   // 0 when the structure is sound
    const Lnk* link;  // the offending link
};

// The first fault, visiting the tree depth first and each node's joints in list order: a
// joint whose links run in a circle back to its parent's body, then a joint of the
// unsupported follower kind, then the joints below its child.
ConsistencyFault checkConsistency(const JointTree& tree);

// Rebuilds processJointTree() with the installed host callbacks. With a null offendingLink
// returns 1 unchecked; else stores 0 there and checks: 1 when sound, else 0 after a message box,
// with the offending link's host object stored in offendingLink.
int32_t kinematicInit(uint64_t* offendingLink);

}  // namespace orv
