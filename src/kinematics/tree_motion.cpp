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

// A step reads its link's copy, and beyond it the joint's axis points and frames only for a
// link that turns. The pass is bound by how many lines memory delivers, so it asks for the
// copy first and, once the copy is in, for the frames of the links that turn.
constexpr size_t kAskCopy = 16, kAskFrames = 8;

void LinkCopies::prefetchSlot(uint32_t slot) const {
    if (slot >= bySlot.size()) return;
    prefetch(&bySlot[slot]);
    prefetch(reinterpret_cast<const char*>(&bySlot[slot]) + sizeof(LinkCopy) - 1);
}

// With a copy, the frames where the link turns; without one, the record's values, axis points
// and path, and the frames.
static void prefetchBeyondCopy(const MotionStep& step, const LinkCopy* copy) {
    if (copy) {
        const AxisValues& v = copy->values;
        if (v.rot && v.rotCur + v.rotOffset != 0.0) prefetchAxisFrames(step.joint->axis);
        return;
    }
    prefetchLinkValues(step.link);
    prefetchAxisFrames(step.joint->axis);
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
            if (copies && k + kAskCopy < count) copies->prefetchSlot(order.steps[k + kAskCopy].slot);
            if (k + kAskFrames < count) {
                const MotionStep& ahead = order.steps[k + kAskFrames];
                prefetchBeyondCopy(ahead, copyOf(ahead));
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
