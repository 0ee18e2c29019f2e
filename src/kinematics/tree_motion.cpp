#include "kinematics/tree_motion.h"

#include "kinematics/link_transform.h"
#include "kinematics/prefetch.h"

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

void resetMotion(const HostCallbacks& host, const MotionOrder& order) {
    Mat4 one;
    identity(one);
    for (const MotionOrder::Node& node : order.nodes) setBodyMatrix(host, node.body, one);
}

// What a step reads: the link's values (its copy, or its record's values, axis points and
// path) and the joint's frames.
static void prefetchStep(const MotionStep& step, const LinkCopy* copy) {
    if (copy) {
        prefetch(copy);
        prefetch(reinterpret_cast<const char*>(copy) + sizeof(LinkCopy) - 1);
    } else {
        touch(&step.link->lin);
        prefetch(&step.link->rotCur);
        prefetch(&step.link->axisB);
    }
    prefetch(&step.joint->axis);
    prefetch(&step.joint->axis.line.frame.m[8]);
    prefetch(&step.joint->axis.line.inverse.m[8]);
}

void composeMotion(const HostCallbacks& host, const MotionOrder& order, const LinkCopies* copies) {
    const size_t count = order.steps.size();
    auto copyOf = [&](const MotionStep& step) -> const LinkCopy* {
        const LinkCopy* copy = copies ? copies->current(step.slot) : nullptr;
        return copy && !copy->ridesPath ? copy : nullptr;
    };
    // The motions that the nodes still to come get from their parents. The order is depth first
    // from a stack (appendMotionOrder), so each node's motion is the last one pushed, and the
    // stack is empty exactly at a root, which brings its own. The stack stays small and in the
    // cache, where a motion per node would be written out and read in again on every step.
    static CheckedVector<Mat4> pending;  // kept for its memory
    pending.clear();
    size_t k = 0;
    for (const MotionOrder::Node& n : order.nodes) {
        Mat4 above;
        if (pending.empty()) {
            above = n.node->above;
        } else {
            above = pending.back();
            pending.pop_back();
            if (n.keepsAbove) n.node->above = above;
        }
        Mat4 m = above;
        preMultiply(m, bodyMatrix(host, n.body));
        setBodyMatrix(host, n.body, m);
        for (; k < count && order.steps[k].parent == n.node; ++k) {
            if (k + kPrefetchAhead < count) {
                const MotionStep& ahead = order.steps[k + kPrefetchAhead];
                prefetchStep(ahead, copyOf(ahead));
            }
            const MotionStep& step = order.steps[k];
            Mat4& child = pending.emplace_back(above);
            if (const LinkCopy* copy = copyOf(step))
                applyAxisMotion(copy->values, step.joint->axis, child);
            else
                applyLinkMotion(*step.link, step.joint->axis, child);
        }
    }
}

}  // namespace orv
