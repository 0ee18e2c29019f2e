// The kinematic exports: link and transmission info texts, the host callbacks, KinematicInit and
// the joint-tree walk.
#include "core/info_text.h"
#include "kinematics/animation.h"
#include "kinematics/host_callbacks.h"
#include "kinematics/joint_tree.h"
#include "kinematics/kinematic_init.h"
#include "orvanta.h"

extern "C" {

ORVANTA_API int32_t GetLnkInfo(Lnk* lnk, char* text) { return orv::getLnkInfo(*lnk, text), 1; }
ORVANTA_API uint32_t GetLnkInfoSize(const Lnk* lnk) { return orv::lnkInfoSize(*lnk); }
ORVANTA_API int32_t PutLnkInfo(Lnk* lnk, const char* text) { return orv::putLnkInfo(*lnk, text); }
ORVANTA_API int32_t GetTrnInfo(Trn* trn, char* text) { return orv::getTrnInfo(*trn, text), 1; }
ORVANTA_API int32_t PutTrnInfo(Trn* trn, const char* text) { return orv::putTrnInfo(*trn, text); }

ORVANTA_API OrvEndUpdateFn KinematicCallback(
    OrvFirstChildFn firstChild, OrvNextSiblingFn nextSibling, OrvParentFn parent,
    OrvFirstLinkFn firstLink, OrvNextLinkFn nextLink, OrvLinkRecordFn linkRecord,
    OrvFirstTrnFn firstTrn, OrvNextTrnFn nextTrn, OrvTrnRecordFn trnRecord,
    OrvGetObjectNameFn getObjectName, OrvGetMatrixFn getMatrix, OrvSetMatrixFn setMatrix,
    OrvCheckCollisionFn checkCollision, OrvBeginUpdateFn beginUpdate, OrvEndUpdateFn endUpdate) {
    orv::setHostCallbacks({firstChild, nextSibling, parent, firstLink, nextLink, linkRecord,
                           firstTrn, nextTrn, trnRecord, getObjectName, getMatrix, setMatrix,
                           checkCollision, beginUpdate, endUpdate});
    return endUpdate;
}

ORVANTA_API int32_t KinematicInit(uint64_t* offendingLink) {
    return orv::kinematicInit(offendingLink);
}

ORVANTA_API void* NextFix(void* previousCell, void** node, uint64_t* fixedBody) {
    orv::FixedCell* cell =
        orv::nextFixedCell(orv::processJointTree(), static_cast<orv::FixedCell*>(previousCell));
    if (cell) {
        if (node) *node = cell->node;
        if (fixedBody) *fixedBody = cell->node->body;
    }
    return cell;
}

ORVANTA_API void* NextJnt(void* node, void* previousJoint, void** childNode, uint64_t* linkObject,
                          uint64_t* childBody) {
    if (!node) return nullptr;
    orv::Joint* joint =
        orv::nextJoint(*static_cast<orv::TreeNode*>(node), static_cast<orv::Joint*>(previousJoint));
    if (joint) {
        if (childNode) *childNode = joint->child;
        if (linkObject) *linkObject = joint->link->linkObject;
        if (childBody) *childBody = joint->child->body;
    }
    return joint;
}

ORVANTA_API int32_t Animation(double time, int32_t collisionCheck) {
    return orv::animation(time, collisionCheck);
}

ORVANTA_API uint64_t LnkTarget(const Lnk* lnk) {
    return lnk ? lnk->targetBody : 0;
}

ORVANTA_API uint64_t ObjOfLnk(const Lnk* lnk) {
    return lnk ? lnk->linkObject : 0;
}

ORVANTA_API int32_t LnkIsFollower(const Lnk* lnk) {
    return lnk ? lnk->follow : 0;
}

}  // extern "C"
