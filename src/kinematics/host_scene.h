// One depth-first walk over the host's object tree that gathers every object and every link
// record. Everything the engine needs to know about the scene's structure comes from this one
// walk, so the number of host calls grows with objects plus links.
#pragma once

#include <cstdint>

#include "kinematics/checked_allocator.h"
#include "kinematics/dense_numbering.h"
#include "kinematics/host_callbacks.h"

namespace orv {

// A link record with the fields that shape the joint tree, read once: records are large and
// lie far apart, so the passes over all links read these copies.
struct SceneLink {
    Lnk* record;
    uint64_t source, target;
    bool follow;
};

struct HostScene {
    CheckedVector<SceneLink> links;  // the objects' link items, in the walk's order of objects
    // Each object before its children, siblings in order: the objects the walk met first.
    const CheckedVector<uint64_t>& objects() const { return seenObjects.met(); }

    // The walk's own bookkeeping, kept with the scene: walking into the same scene again
    // reuses its memory.
    FirstMeetings seenObjects, seenItems;
    CheckedVector<uint64_t> open;  // objects whose next sibling is due after their children
};

// Walks from the scene root (FirstChild of 0) into scene, replacing what it held. An object or
// link item met a second time ends its list, so a host whose lists loop cannot hang the walk;
// items without a record are skipped. Without the tree callbacks the scene is empty.
// withLinkEnds reads each record's source, target and Follow flag into the scene's links;
// without it they stay 0.
void walkHostScene(const HostCallbacks& host, bool withLinkEnds, HostScene& scene);

}  // namespace orv
