#include "kinematics/tree_motion.h"

#include "kinematics/checked_allocator.h"
#include "kinematics/link_transform.h"

namespace orv {

Mat4 bodyMatrix(const HostCallbacks& host, uint64_t body) {
    Mat4 m;
    identity(m);
    if (host.getMatrix) host.getMatrix(body, m.m);
    return m;
}

void setBodyMatrix(const HostCallbacks& host, uint64_t body, const Mat4& m) {
    if (host.setMatrix) host.setMatrix(body, m.m);
}

// Joints that close a circle of links are not followed, so the walks end.
static bool followed(const Joint& joint) {
    return joint.kind == kJointOrdinary && !joint.leadsBack;
}

void resetMotion(const HostCallbacks& host, const TreeNode& node) {
    Mat4 one;
    identity(one);
    CheckedVector<const TreeNode*> open{&node};
    while (!open.empty()) {
        const TreeNode* n = open.back();
        open.pop_back();
        setBodyMatrix(host, n->body, one);
        for (const Joint* j = n->firstJoint; j; j = j->next)
            if (followed(*j)) open.push_back(j->child);
    }
}

void composeMotion(const HostCallbacks& host, TreeNode& node, const Mat4& above) {
    node.above = above;
    CheckedVector<TreeNode*> open{&node};
    while (!open.empty()) {
        TreeNode* n = open.back();
        open.pop_back();
        Mat4 m = n->above;
        preMultiply(m, bodyMatrix(host, n->body));
        setBodyMatrix(host, n->body, m);
        for (const Joint* j = n->firstJoint; j; j = j->next) {
            if (!followed(*j)) continue;
            j->child->above = n->above;
            applyLinkMotion(*j->link, j->child->above);
            open.push_back(j->child);
        }
    }
}

}  // namespace orv
