// The host's fifteen callbacks: the kinematic engine reaches the host's objects, links,
// transmissions and matrices only through them. Installed once by KinematicCallback and kept
// for the whole process; like the joint tree they are unlocked, so kinematic calls come from
// one thread.
#pragma once

#include "orvanta.h"

namespace orv {

// In KinematicCallback's parameter order.
struct HostCallbacks {
    OrvFirstChildFn firstChild;
    OrvNextSiblingFn nextSibling;
    OrvParentFn parent;
    OrvFirstLinkFn firstLink;
    OrvNextLinkFn nextLink;
    OrvLinkRecordFn linkRecord;
    OrvFirstTrnFn firstTrn;
    OrvNextTrnFn nextTrn;
    OrvTrnRecordFn trnRecord;
    OrvGetObjectNameFn getObjectName;
    OrvGetMatrixFn getMatrix;
    OrvSetMatrixFn setMatrix;
    OrvCheckCollisionFn checkCollision;
    OrvBeginUpdateFn beginUpdate;
    OrvEndUpdateFn endUpdate;
};

void setHostCallbacks(const HostCallbacks& callbacks);

// All null until the host installs them.
const HostCallbacks& hostCallbacks();

}  // namespace orv
