#include "kinematics/scene_host.h"

#include <cctype>
#include <cstring>

#include "core/records.h"

namespace {

SceneHost* host = nullptr;

struct HostCalls {
    // Every call into the tree is counted.
    static SceneHost::Object& object(uint64_t o) {
        ++SceneHost::calls;
        return host->objects[o];
    }
    static uint64_t item(uint64_t i) {
        ++SceneHost::calls;
        return i - SceneHost::kLinkItem;
    }
    static uint64_t firstChild(uint64_t o) { return object(o).firstChild; }
    static uint64_t nextSibling(uint64_t o) { return object(o).nextSibling; }
    static uint64_t parent(uint64_t o) { return object(o).parent; }
    static uint64_t firstLink(uint64_t o) { return object(o).firstLink; }
    static uint64_t nextLink(uint64_t i) { return host->nextLink[item(i)]; }
    static Lnk* linkRecord(uint64_t i) { return &host->links[item(i)]; }
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

uint64_t SceneHost::calls = 0;

SceneHost::SceneHost(const char* letters) {
    std::vector<uint64_t> open{0};
    for (const char* c = letters; *c; ++c) {
        if (*c == '(') open.push_back(objects.size() - 1);
        if (*c == ')') open.pop_back();
        if (std::isupper(static_cast<unsigned char>(*c)))
            add(open.back(), std::string(1, *c).c_str());
    }
}

uint64_t SceneHost::body(char letter) const {
    for (uint64_t id = 1; id < objects.size(); ++id)
        if (objects[id].name == std::string(1, letter)) return id;
    return 0;
}

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

Lnk& SceneHost::link(uint64_t source, uint64_t target, OrvVec3 a, OrvVec3 b, uint64_t carrier) {
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
    Object& on = objects[carrier ? carrier : source];
    (on.lastLink ? nextLink[on.lastLink - kLinkItem] : on.firstLink) = kLinkItem + index;
    on.lastLink = kLinkItem + index;
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

void SceneHost::connect() {
    host = this;
    const orv::HostCallbacks& c = callbacks;
    KinematicCallback(c.firstChild, c.nextSibling, c.parent, c.firstLink, c.nextLink, c.linkRecord,
                      c.firstTrn, c.nextTrn, c.trnRecord, c.getObjectName, c.getMatrix, c.setMatrix,
                      c.checkCollision, c.beginUpdate, c.endUpdate);
    calls = 0;
}

void SceneHost::install() {
    connect();
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
