#include "kinematics/scene_host.h"

#include <cstring>

#include "core/records.h"

namespace {

SceneHost* host = nullptr;

struct HostCalls {
    static uint64_t firstChild(uint64_t o) { return host->objects[o].firstChild; }
    static uint64_t nextSibling(uint64_t o) { return host->objects[o].nextSibling; }
    static uint64_t parent(uint64_t o) { return host->objects[o].parent; }
    static uint64_t firstLink(uint64_t o) { return host->objects[o].firstLink; }
    static uint64_t nextLink(uint64_t item) { return host->nextLink[item - SceneHost::kLinkItem]; }
    static Lnk* linkRecord(uint64_t item) { return &host->links[item - SceneHost::kLinkItem]; }
    static uint64_t firstTrn(uint64_t linkObject) {
        return host->firstListing[linkObject - SceneHost::kLinkObject];
    }
    static uint64_t nextTrn(uint64_t item) {
        return host->listings[item - SceneHost::kTrnItem].next;
    }
    static Trn* trnRecord(uint64_t item) { return host->listings[item - SceneHost::kTrnItem].trn; }
    static void name(uint64_t o, char out[256]) {
        std::strncpy(out, host->objects[o].name.c_str(), 255);
    }
    static void getMatrix(uint64_t o, double m[16]) { std::memcpy(m, host->objects[o].m, 128); }
    static void setMatrix(uint64_t o, const double m[16]) {
        std::memcpy(host->objects[o].m, m, 128);
    }
    static int32_t collision(uint64_t a, uint64_t b, int32_t flag) {
        host->collisionFlag = flag;
        host->collisionAsks.push_back({a, b});
        return (a == host->collidingA && b == host->collidingB) ||
               (a == host->collidingB && b == host->collidingA);
    }
    static void update() {}
};

}  // namespace

uint64_t SceneHost::add(uint64_t parent, const char* name) {
    const uint64_t id = objects.size();
    objects.push_back({});
    objects[id].parent = parent;
    objects[id].name = name;
    Object& owner = objects[parent];
    (owner.lastChild ? objects[owner.lastChild].nextSibling : owner.firstChild) = id;
    owner.lastChild = id;
    return id;
}

Lnk& SceneHost::link(uint64_t source, uint64_t target, OrvVec3 a, OrvVec3 b) {
    Lnk& l = links.emplace_back();
    orv::setBuiltInDefaults(l);
    l.linDrive.on = l.rotDrive.on = 0;
    l.axisA = a;
    l.axisB = b;
    l.sourceBody = source;
    l.targetBody = target;
    const uint64_t index = links.size() - 1;
    l.linkObject = kLinkObject + index;
    nextLink.push_back(0);
    firstListing.push_back(0);
    lastListing.push_back(0);
    Object& carrier = objects[source];
    (carrier.lastLink ? nextLink[carrier.lastLink - kLinkItem] : carrier.firstLink) =
        kLinkItem + index;
    carrier.lastLink = kLinkItem + index;
    return l;
}

Trn& SceneHost::transmission(const Lnk& from, const Lnk& to,
                             const std::vector<const Lnk*>& listedWith) {
    Trn& t = trns.emplace_back();
    orv::setBuiltInDefaults(t);
    t.source = itemOf(from);
    t.target = itemOf(to);
    t.object = 9000;
    for (const Lnk* l : listedWith) {
        const uint64_t index = l->linkObject - kLinkObject, item = kTrnItem + listings.size();
        listings.push_back({&t, 0});
        (lastListing[index] ? listings[lastListing[index] - kTrnItem].next : firstListing[index]) =
            item;
        lastListing[index] = item;
    }
    return t;
}

OrvVec3 SceneHost::place(uint64_t body, OrvVec3 p) const {
    const double* m = objects[body].m;
    return {p.x * m[0] + p.y * m[4] + p.z * m[8] + m[12],
            p.x * m[1] + p.y * m[5] + p.z * m[9] + m[13],
            p.x * m[2] + p.y * m[6] + p.z * m[10] + m[14]};
}

const orv::HostCallbacks SceneHost::callbacks = {
    HostCalls::firstChild, HostCalls::nextSibling, HostCalls::parent,    HostCalls::firstLink,
    HostCalls::nextLink,   HostCalls::linkRecord,  HostCalls::firstTrn,  HostCalls::nextTrn,
    HostCalls::trnRecord,  HostCalls::name,        HostCalls::getMatrix, HostCalls::setMatrix,
    HostCalls::collision,  HostCalls::update,      HostCalls::update};

void SceneHost::install() {
    host = this;
    const orv::HostCallbacks& c = callbacks;
    KinematicCallback(c.firstChild, c.nextSibling, c.parent, c.firstLink, c.nextLink, c.linkRecord,
                      c.firstTrn, c.nextTrn, c.trnRecord, c.getObjectName, c.getMatrix, c.setMatrix,
                      c.checkCollision, c.beginUpdate, c.endUpdate);
    KinematicInit(nullptr);
}

void setLinearDrive(OrvDrive& d, double w, double t) {
    d.on = 1;
    d.cyclic = 1;
    d.count = 1;
    d.phases[0].W = w;
    d.phases[0].T = t;
    d.phases[0].F = 0;
}
