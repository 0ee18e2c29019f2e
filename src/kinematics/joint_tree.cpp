// Contents: node storage; body numbers and outgoing links; kinds; the build and its orders;
// iteration.
#include "kinematics/joint_tree.h"

#include <cstddef>
#include <new>

#include "core/checked_alloc.h"
#include "kinematics/checked_allocator.h"
#include "kinematics/dense_numbering.h"
#include "kinematics/host_scene.h"

namespace orv {

// ---- Storage: cells, nodes and joints of one tree come from chunks freed together -----------

struct JointTree::Chunk {
    static constexpr size_t kBytes = 64 * 1024 - 64;
    Chunk* next;
    size_t used;
    alignas(std::max_align_t) unsigned char bytes[kBytes];
};

template <typename T>
T* JointTree::make() {
    static_assert(sizeof(T) <= Chunk::kBytes && alignof(T) <= alignof(std::max_align_t));
    size_t at = chunks_ ? (chunks_->used + alignof(T) - 1) / alignof(T) * alignof(T) : 0;
    if (!chunks_ || at + sizeof(T) > Chunk::kBytes) {
        Chunk* chunk = static_cast<Chunk*>(checkedAlloc(sizeof(Chunk)));
        chunk->next = chunks_;
        chunks_ = chunk;
        at = 0;
    }
    chunks_->used = at + sizeof(T);
    return new (chunks_->bytes + at) T{};
}

void JointTree::clear() {
    while (chunks_) {
        Chunk* next = chunks_->next;
        checkedFree(chunks_);
        chunks_ = next;
    }
    fixed_ = nullptr;
    motionOrder_.clear();
    loopJoints_.clear();
    slots_ = DenseNumbering();
    walkSlots_.clear();
}

namespace {

// ---- Body numbers: every body the scene names, objects first, then link ends ---------------

DenseNumbering numberBodies(const HostScene& scene) {
    DenseNumbering bodies(scene.objects().size() + scene.links.size());
    for (uint64_t object : scene.objects()) bodies.insert(object);
    for (const SceneLink& link : scene.links) {
        bodies.insert(link.source);
        bodies.insert(link.target);
    }
    return bodies;
}

// Each body's outgoing links, in the order the scene walk met them, with the target's number.
struct OutgoingLinks {
    struct Entry {
        Lnk* record;
        size_t target;
        bool follow;
    };
    CheckedVector<size_t> begin;  // links of body i: order[begin[i]] .. order[begin[i + 1]]
    CheckedVector<Entry> order;

    OutgoingLinks(const HostScene& scene, const DenseNumbering& bodies)
        : begin(bodies.size() + 1, 0), order(scene.links.size()) {
        CheckedVector<size_t> source(scene.links.size());
        for (size_t i = 0; i < source.size(); ++i) {
            source[i] = bodies.find(scene.links[i].source);
            ++begin[source[i] + 1];
        }
        for (size_t i = 1; i < begin.size(); ++i) begin[i] += begin[i - 1];
        CheckedVector<size_t> fill(begin.begin(), begin.end() - 1);
        for (size_t i = 0; i < source.size(); ++i)
            order[fill[source[i]]++] = {scene.links[i].record, bodies.find(scene.links[i].target),
                                        scene.links[i].follow};
    }
};

// ---- Kinds -----------------------------------------------------------------------------------

bool purelyLinear(const Lnk& link) {
    return link.lin && !link.rot;
}
bool purelyRotational(const Lnk& link) {
    return link.rot && !link.lin;
}

// A follower resets its parent joint to ordinary: the parent is now moved through this loop.
// Below two follower links whose axes the solver knows, the loop can be closed.
int32_t followerKind(Joint* parentJoint) {
    if (!parentJoint) return kJointUnsupportedFollower;
    parentJoint->kind = kJointOrdinary;
    const Joint* grandparentJoint = parentJoint->parentJoint;
    if (!grandparentJoint || !parentJoint->link->follow || !grandparentJoint->link->follow)
        return kJointUnsupportedFollower;
    const Lnk& parent = *parentJoint->link;
    const Lnk& grandparent = *grandparentJoint->link;
    if (purelyLinear(grandparent) && purelyRotational(parent)) return kJointFollowerLinRot;
    if (purelyRotational(grandparent) && purelyLinear(parent)) return kJointFollowerRotLin;
    if (purelyRotational(grandparent) && purelyRotational(parent)) return kJointFollowerRotRot;
    return kJointUnsupportedFollower;
}

}  // namespace

// ---- Build -----------------------------------------------------------------------------------

void JointTree::build(const HostCallbacks& host) {
    clear();
    HostScene scene;
    walkHostScene(host, true, scene);
    const DenseNumbering bodies = numberBodies(scene);
    const OutgoingLinks outgoing(scene, bodies);

    // Depth first below one node, with an explicit stack: link chains can be long.
    struct Frame {
        TreeNode* node;
        size_t body;  // the node's body number
        Joint* into;  // the joint into node; null at the fixed node
        size_t next;  // node's next outgoing link in outgoing.order
    };
    CheckedVector<Frame> path;
    // Per body: 1 + its depth on the current path, 0 when not on it.
    CheckedVector<size_t> depthOnPath(bodies.size(), 0);
    auto buildSubtree = [&](TreeNode* fixedNode, size_t fixedBody) {
        path.push_back({fixedNode, fixedBody, nullptr, outgoing.begin[fixedBody]});
        depthOnPath[fixedBody] = 1;
        while (!path.empty()) {
            Frame& frame = path.back();
            if (frame.next == outgoing.begin[frame.body + 1]) {
                depthOnPath[frame.body] = 0;
                path.pop_back();
                continue;
            }
            const OutgoingLinks::Entry& out = outgoing.order[frame.next++];
            TreeNode* child = make<TreeNode>();
            child->body = bodies.value(out.target);
            Joint* joint = make<Joint>();
            joint->link = out.record;
            joint->child = child;
            joint->parent = frame.node;
            joint->next = frame.node->firstJoint;
            joint->parentJoint = frame.into;
            frame.node->firstJoint = joint;
            joint->kind = out.follow ? followerKind(frame.into) : kJointOrdinary;

            if (const size_t depth = depthOnPath[out.target]) {
                // The target is already on the path at depth - 1: mark the joint that leaves it.
                Joint* leaving = depth < path.size() ? path[depth].into : joint;
                leaving->leadsBack = true;
            } else {
                depthOnPath[out.target] = path.size() + 1;
                path.push_back({child, out.target, joint, outgoing.begin[out.target]});
            }
        }
    };

    // Fixed bodies: the objects that are no link's target, each pushed on the front; those that
    // move nothing stay off the list. Object i has body number i.
    CheckedVector<bool> isTarget(bodies.size(), false);
    for (const OutgoingLinks::Entry& link : outgoing.order) isTarget[link.target] = true;
    for (size_t object = 0; object < scene.objects().size(); ++object) {
        if (isTarget[object] || outgoing.begin[object] == outgoing.begin[object + 1]) continue;
        TreeNode* node = make<TreeNode>();
        node->body = scene.objects()[object];
        buildSubtree(node, object);
        FixedCell* cell = make<FixedCell>();
        cell->node = node;
        cell->next = fixed_;
        fixed_ = cell;
    }

    CheckedVector<const TreeNode*> open;
    for (const FixedCell* cell = fixed_; cell; cell = cell->next) {
        open.push_back(cell->node);
        while (!open.empty()) {
            const TreeNode* node = open.back();
            open.pop_back();
            for (const Joint* j = node->firstJoint; j; j = j->next) {
                if (j->kind >= kJointFollowerRotLin) {
                    loopJoints_.push_back(j);
                    j->parentJoint->parentJoint->parent->keepsAbove = true;
                }
                if (!j->leadsBack) open.push_back(j->child);
            }
        }
        appendMotionOrder(*cell->node, motionOrder_);
    }

    for (MotionStep& step : motionOrder_.steps)
        step.slot = uint32_t(slots_.insert(reinterpret_cast<uintptr_t>(step.link)));
    walkSlots_.reserve(scene.links.size());
    for (const SceneLink& link : scene.links) walkSlots_.push_back({link.record, slotOf(link.record)});
}

void appendMotionOrder(TreeNode& root, MotionOrder& order) {
    CheckedVector<TreeNode*>& open = order.pending;
    open.assign(1, &root);
    while (!open.empty()) {
        TreeNode* node = open.back();
        open.pop_back();
        order.nodes.push_back({node, node->body, node->keepsAbove});
        for (const Joint* j = node->firstJoint; j; j = j->next) {
            if (!movesChild(*j)) continue;
            open.push_back(j->child);
            order.steps.push_back({node, j, j->link, j->child, kNoSlot});
        }
    }
}

// ---- Iteration -------------------------------------------------------------------------------

JointTree& processJointTree() {
    static JointTree tree;
    return tree;
}

FixedCell* nextFixedCell(const JointTree& tree, const FixedCell* previous) {
    return previous ? previous->next : tree.fixedList();
}

Joint* nextJoint(const TreeNode& node, const Joint* previous) {
    return previous ? previous->next : node.firstJoint;
}

}  // namespace orv
