#include "kinematics/kinematic_init.h"

#include "core/message_box.h"
#include "i18n/localise.h"
#include "kinematics/checked_allocator.h"

namespace orv {

ConsistencyFault checkConsistency(const JointTree& tree) {
    // Per level of the walk, the next joint still to visit.
    CheckedVector<const Joint*> pending;
    for (const FixedCell* cell = tree.fixedList(); cell; cell = cell->next) {
        pending.push_back(cell->node->firstJoint);
        while (!pending.empty()) {
            const Joint* joint = pending.back();
            if (!joint) {
                pending.pop_back();
                continue;
            }
            pending.back() = joint->next;
            if (joint->leadsBack) return {kRecursiveLinkText, joint->link};
            if (joint->kind == kJointUnsupportedFollower)
                return {kInvalidFollowerText, joint->link};
            pending.push_back(joint->child->firstJoint);
        }
    }
    return {0, nullptr};
}

int32_t kinematicInit(uint64_t* offendingLink) {
    JointTree& tree = processJointTree();
    tree.build(hostCallbacks());
    if (!offendingLink) return 1;

    *offendingLink = 0;
    const ConsistencyFault fault = checkConsistency(tree);
    if (!fault.textId) return 1;
    showLocalisedMessage(nullptr, fault.textId, kCheckCaption, 0, kMbIconExclamation);
    *offendingLink = fault.link->linkObject;
    return 0;
}

}  // namespace orv
