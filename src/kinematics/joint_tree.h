// The joint tree: below each fixed body (a body that is no link's target) a tree of joints
// that reaches every body the links move. KinematicInit rebuilds it from scratch; the solver
// walks it on every animation step, the host through NextFix and NextJnt.
//
// Order, which the host sees through NextFix/NextJnt: fixed nodes stand in the reverse order of
// the depth-first object walk; a node's joints stand in the reverse order in which its links
// are met in that walk (objects in walk order, each object's link items in list order).
#pragma once

#include <cstdint>

#include "kinematics/host_callbacks.h"
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
    // The links' motion above the node as the last animation step composed it: it carries the
    // rest coordinates of the node's outgoing links into the world.
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
};

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

private:
    template <typename T>
    T* make();

    struct Chunk;
    Chunk* chunks_ = nullptr;
    FixedCell* fixed_ = nullptr;
};

// The process-wide tree that KinematicInit builds and the host walks.
JointTree& processJointTree();

// The cell after previous (the first for null), or null at the end.
FixedCell* nextFixedCell(const JointTree& tree, const FixedCell* previous);
// The joint of node after previous (the first for null), or null at the end.
Joint* nextJoint(const TreeNode& node, const Joint* previous);

}  // namespace orv
