// The joint tree: below each fixed body (a body that is no link's target) a tree of joints
// that reaches every body the links move. KinematicInit rebuilds it from scratch; the solver
// walks it on every animation step, the host through NextFix and NextJnt.
//
// Order, which the host sees through NextFix/NextJnt: fixed nodes stand in the reverse order of
// the depth-first object walk; a node's joints stand in the reverse order in which its links
// are met in that walk (objects in walk order, each object's link items in list order).
#pragma once

#include <cstdint>

#include "kinematics/checked_allocator.h"
#include "kinematics/dense_numbering.h"
#include "kinematics/host_callbacks.h"
#include "kinematics/link_transform.h"
#include "math/mat4.h"

namespace orv {

// Joint kinds. Purely linear: Lin set and Rot clear; purely rotational the reverse.
constexpr int32_t kJointOrdinary = 0;             // moved by its own values
constexpr int32_t kJointUnsupportedFollower = 1;  // follower the solver cannot close
constexpr int32_t kJointFollowerRotLin = 2;  // grandparent purely rotational, parent purely linear
constexpr int32_t kJointFollowerLinRot = 3;  // grandparent purely linear, parent purely rotational
constexpr int32_t kJointFollowerRotRot = 4;  // grandparent and parent purely rotational

struct Joint;

struct TreeNode {
    uint64_t body;
    Joint* firstJoint;  // outgoing joints
    // A follower loop below reads the motion above this node when it closes.
    bool keepsAbove;
    // The links' motion above the node: it carries the rest coordinates of the node's outgoing
    // links into the world. The motion is kept here where a later part of the step reads it
    // again: at the roots of a composition, and where keepsAbove is set.
    Mat4 above;
};

struct Joint {
    Lnk* link;
    TreeNode* child;
    TreeNode* parent;
    Joint* next;         // next joint of the same parent node
    Joint* parentJoint;  // the joint into the parent node; null below a fixed body
    int32_t kind;
    // The parent's body occurs again at or below the child: the links run in a circle.
    bool leadsBack;
    // Derived from the link's axis points on the animation steps.
    mutable AxisCache axis;
};

// Ordinary joints carry the motion down to their children; joints that close a circle of links
// do not, so the walks end.
inline bool movesChild(const Joint& joint) {
    return joint.kind == kJointOrdinary && !joint.leadsBack;
}

// A link record's number among the records that the tree's motion order reads, or none.
constexpr uint32_t kNoSlot = UINT32_MAX;

// One joint that moves its child, with what its step reads, so that a pass over the steps can
// ask for the memory of those ahead without reading the joints first.
struct MotionStep {
    TreeNode* parent;
    const Joint* joint;
    const Lnk* link;
    TreeNode* child;
    uint32_t slot;  // the link's slot in the tree (JointTree::slotOf); kNoSlot outside the tree's order
};

// The order in which the motion visits nodes, depth first from a stack with each node's joints
// pushed in list order, so that each node comes before the nodes below it; and the joints that
// move children, node by node in the same order and each node's in list order.
struct MotionOrder {
    // A node with what the passes over the order read of it, so that they run through the
    // order in sequence rather than visit nodes that lie among the joints.
    struct Node {
        TreeNode* node;
        uint64_t body;
        bool keepsAbove;
    };
    CheckedVector<Node> nodes;
    CheckedVector<MotionStep> steps;
    CheckedVector<TreeNode*> pending;  // appendMotionOrder's stack, kept for its memory

    void clear() {
        nodes.clear();
        steps.clear();
    }
};

// Appends root and every node below it through joints that move their children.
void appendMotionOrder(TreeNode& root, MotionOrder& order);

struct FixedCell {
    TreeNode* node;
    FixedCell* next;
};

class JointTree {
public:
    JointTree() = default;
    ~JointTree() { clear(); }
    JointTree(const JointTree&) = delete;
    JointTree& operator=(const JointTree&) = delete;

    // Frees the previous tree and builds the new one from one walk over the host's scene.
    // A link whose target body is already on the path from the fixed body gets its joint and
    // child node, but the child is not expanded: a circle of links ends there, and the joint
    // that starts the circle is marked leadsBack.
    void build(const HostCallbacks& host);
    void clear();

    FixedCell* fixedList() const { return fixed_; }
    // Every tree's motion order, the trees in the order of the fixed list. The tree changes only
    // with the next build, and so do both orders.
    const MotionOrder& motionOrder() const { return motionOrder_; }
    // The follower joints of kinds 2 to 4 in the order the animation step closes them: the
    // trees' nodes depth first from a stack (joints that close a circle of links not followed),
    // each node's joints in list order.
    const CheckedVector<const Joint*>& loopJoints() const { return loopJoints_; }

    // Slots: the distinct link records of the motion order, numbered 0, 1, ... in that order.
    size_t slotCount() const { return slots_.size(); }
    uint32_t slotOf(const Lnk* link) const {
        const size_t slot = slots_.find(reinterpret_cast<uintptr_t>(link));
        return slot == DenseNumbering::kNone ? kNoSlot : uint32_t(slot);
    }
    // The same, trying a slot remembered from an earlier step first.
    uint32_t slotOf(const Lnk* link, uint32_t remembered) const {
        if (remembered < slots_.size() &&
            slots_.value(remembered) == reinterpret_cast<uintptr_t>(link))
            return remembered;
        return slotOf(link);
    }
    // The records of the build's scene walk, in its order, each with its slot: a later walk of
    // an unchanged scene meets the same records in the same order, and finds their slots here
    // without a search.
    struct WalkSlot {
        const Lnk* link;
        uint32_t slot;
    };
    const CheckedVector<WalkSlot>& walkSlots() const { return walkSlots_; }

private:
    template <typename T>
    T* make();

    struct Chunk;
    Chunk* chunks_ = nullptr;
    FixedCell* fixed_ = nullptr;
    MotionOrder motionOrder_;
    CheckedVector<const Joint*> loopJoints_;
    DenseNumbering slots_;
    CheckedVector<WalkSlot> walkSlots_;
};

// The process-wide tree that KinematicInit builds and the host walks.
JointTree& processJointTree();

// The cell after previous (the first for null), or null at the end.
FixedCell* nextFixedCell(const JointTree& tree, const FixedCell* previous);
// The joint of node after previous (the first for null), or null at the end.
Joint* nextJoint(const TreeNode& node, const Joint* previous);

}  // namespace orv
