#include "kinematics/host_scene.h"

namespace orv {

namespace {

void collectLinks(const HostCallbacks& host, uint64_t object, FirstMeetings& seenItems,
                  HostScene& scene) {
    if (!host.firstLink || !host.nextLink || !host.linkRecord) return;
    for (uint64_t item = host.firstLink(object); item && seenItems.first(item);
         item = host.nextLink(item)) {
        if (Lnk* record = host.linkRecord(item)) scene.links.push_back({record, 0, 0, false});
    }
}

}  // namespace

void walkHostScene(const HostCallbacks& host, bool withLinkEnds, HostScene& scene) {
    scene.links.clear();
    scene.seenObjects.startWalk();
    scene.seenItems.startWalk();
    scene.open.clear();
    if (!host.firstChild || !host.nextSibling) return;

    FirstMeetings& seenObjects = scene.seenObjects;
    FirstMeetings& seenItems = scene.seenItems;
    CheckedVector<uint64_t>& open = scene.open;
    uint64_t object = host.firstChild(0);
    for (;;) {
        if (object && seenObjects.first(object)) {
            collectLinks(host, object, seenItems, scene);
            open.push_back(object);
            object = host.firstChild(object);
        } else {
            if (open.empty()) break;
            object = host.nextSibling(open.back());
            open.pop_back();
        }
    }
    // The records' fields in a pass of their own: independent reads that the processor can
    // overlap, where reading them between host calls would wait for each in turn.
    if (!withLinkEnds) return;
    for (SceneLink& link : scene.links) {
        link.source = link.record->sourceBody;
        link.target = link.record->targetBody;
        link.follow = link.record->follow != 0;
    }
}

}  // namespace orv
