// Animation through the exports on a small host with matrices, names, transmissions and a
// collision test: drives and couplings, transmissions (circles included), the composition down
// the tree, paths, the reference body, collisions and open follower loops. Expected places are
// worked out by hand.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "core/records.h"

namespace {

// Objects 1, 2, ... (0 is the scene root); link items 1000 + i; transmission items 2000 + i.
struct Host {
    struct Object {
        uint64_t parent = 0, firstChild = 0, nextSibling = 0;
        std::vector<uint64_t> links;
        std::string name;
        double m[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    };
    std::vector<Object> objects{Object{}};
    std::deque<Lnk> links;
    std::deque<Trn> trns;
    std::map<uint64_t, std::vector<uint64_t>> trnsOfLink;  // link object -> transmission items
    std::vector<std::pair<uint64_t, uint64_t>> collisionAsks;
    uint64_t collidingA = 0, collidingB = 0;

    // The library frees the path arrays it made when a link drops its path.
    ~Host() {
        for (Lnk& l : links) {
            const OrvVec3 a = l.axisA, b = l.axisB;
            if (l.pathCount > 0)
                SetLnk(&l, &a, &b, nullptr, 0, l.sourceBody, l.targetBody, l.linkObject);
        }
    }

    uint64_t add(uint64_t parent, const char* name = "") {
        objects.push_back({});
        const uint64_t id = objects.size() - 1;
        objects[id].parent = parent;
        objects[id].name = name;
        uint64_t* next = &objects[parent].firstChild;
        while (*next) next = &objects[*next].nextSibling;
        *next = id;
        return id;
    }
    // A link from source to target along the axis B -> A, carried by source.
    Lnk& link(uint64_t source, uint64_t target, OrvVec3 a, OrvVec3 b) {
        Lnk& l = links.emplace_back();
        orv::setBuiltInDefaults(l);
        l.linDrive.on = l.rotDrive.on = 0;
        const double none[16] = {};
        SetLnk(&l, &a, &b, none, 0, source, target, 5000 + links.size());
        objects[source].links.push_back(1000 + links.size() - 1);
        return l;
    }
    uint64_t itemOf(const Lnk& l) const {
        for (size_t i = 0; i < links.size(); ++i)
            if (&links[i] == &l) return 1000 + i;
        return 0;
    }
    // A transmission from one link to another, listed with the link objects given.
    Trn& transmission(const Lnk& from, const Lnk& to, std::vector<const Lnk*> listedWith) {
        Trn& t = trns.emplace_back();
        orv::setBuiltInDefaults(t);
        SetTrn(&t, itemOf(from), itemOf(to), 9000);
        for (const Lnk* l : listedWith) trnsOfLink[l->linkObject].push_back(2000 + trns.size() - 1);
        return t;
    }
    void place(uint64_t o, OrvVec3 p, double& x, double& y, double& z) const {
        const double* m = objects[o].m;
        x = p.x * m[0] + p.y * m[4] + p.z * m[8] + m[12];
        y = p.x * m[1] + p.y * m[5] + p.z * m[9] + m[13];
        z = p.x * m[2] + p.y * m[6] + p.z * m[10] + m[14];
    }
    void install();
};

Host* host = nullptr;

struct Callbacks {
    static uint64_t firstChild(uint64_t o) { return host->objects[o].firstChild; }
    static uint64_t nextSibling(uint64_t o) { return host->objects[o].nextSibling; }
    static uint64_t parent(uint64_t o) { return host->objects[o].parent; }
    static uint64_t firstLink(uint64_t o) {
        return host->objects[o].links.empty() ? 0 : host->objects[o].links[0];
    }
    static uint64_t nextLink(uint64_t item) {
        for (const Host::Object& o : host->objects)
            for (size_t i = 0; i + 1 < o.links.size(); ++i)
                if (o.links[i] == item) return o.links[i + 1];
        return 0;
    }
    static Lnk* linkRecord(uint64_t item) { return &host->links[item - 1000]; }
    static uint64_t firstTrn(uint64_t linkObject) {
        auto it = host->trnsOfLink.find(linkObject);
        return it == host->trnsOfLink.end() || it->second.empty() ? 0 : it->second[0];
    }
    static uint64_t nextTrn(uint64_t item) {
        for (const auto& entry : host->trnsOfLink)
            for (size_t i = 0; i + 1 < entry.second.size(); ++i)
                if (entry.second[i] == item) return entry.second[i + 1];
        return 0;
    }
    static Trn* trnRecord(uint64_t item) { return &host->trns[item - 2000]; }
    static void name(uint64_t o, char out[256]) {
        std::strncpy(out, host->objects[o].name.c_str(), 255);
    }
    static void getMatrix(uint64_t o, double m[16]) { std::memcpy(m, host->objects[o].m, 128); }
    static void setMatrix(uint64_t o, const double m[16]) {
        std::memcpy(host->objects[o].m, m, 128);
    }
    static int32_t collision(uint64_t a, uint64_t b, int32_t flag) {
        EXPECT_EQ(flag, 1);
        host->collisionAsks.push_back({a, b});
        return (a == host->collidingA && b == host->collidingB) ||
               (a == host->collidingB && b == host->collidingA);
    }
    static void update() {}
};

void Host::install() {
    host = this;
    using C = Callbacks;
    KinematicCallback(C::firstChild, C::nextSibling, C::parent, C::firstLink, C::nextLink,
                      C::linkRecord, C::firstTrn, C::nextTrn, C::trnRecord, C::name, C::getMatrix,
                      C::setMatrix, C::collision, C::update, C::update);
    ASSERT_EQ(KinematicInit(nullptr), 1);
}

void setLinear(OrvDrive& d, double w, double t) {
    d.on = 1;
    d.cyclic = 1;
    d.count = 1;
    d.phases[0].W = w;
    d.phases[0].T = t;
    d.phases[0].F = 0;
}

#define EXPECT_PLACE(h, body, point, ex, ey, ez)           \
    do {                                                   \
        double x_, y_, z_;                                 \
        (h).place(body, point, x_, y_, z_);                \
        EXPECT_NEAR(x_, ex, 1e-9) << #point;               \
        EXPECT_NEAR(y_, ey, 1e-9) << #point;               \
        EXPECT_NEAR(z_, ez, 1e-9) << #point;               \
    } while (0)

TEST(Animation, StraightLinkTranslatesAlongBToAAndTurnsAboutIt) {
    Host h;
    const uint64_t f = h.add(0), a = h.add(0);
    Lnk& l = h.link(f, a, {0, 0, 2}, {0, 0, 0});  // unit axis +z through the origin
    setLinear(l.linDrive, 3, 1);
    l.rotCur = 90;
    h.install();
    EXPECT_EQ(Animation(0.5, 0), 0);
    EXPECT_EQ(+l.linOffset, 1.5);
    // (1, 0, 0) turns to (0, 1, 0) about z, then moves 1.5 along z.
    EXPECT_PLACE(h, a, (OrvVec3{1, 0, 0}), 0, 1, 1.5);
    EXPECT_PLACE(h, f, (OrvVec3{1, 0, 0}), 1, 0, 0);

    // An axis off the origin: the turn is about the line through B.
    l.axisB = {2, 0, 0}, l.axisA = {2, 0, -5};  // unit axis -z through (2, 0, 0)
    l.linDrive.on = 0;
    l.linOffset = 0, l.linCur = 1;
    EXPECT_EQ(Animation(0, 0), 0);
    // (3, 0, 0) is 1 right of the axis; -90 degrees about +z puts it at (2, -1), then z - 1.
    EXPECT_PLACE(h, a, (OrvVec3{3, 0, 0}), 2, -1, -1);
}

TEST(Animation, MotionsComposeDownTheTree) {
    Host h;
    const uint64_t f = h.add(0), a = h.add(0), b = h.add(0);
    Lnk& l1 = h.link(f, a, {1, 0, 0}, {0, 0, 0});
    l1.rot = 0, l1.linCur = 2;  // a moves 2 along x
    Lnk& l2 = h.link(a, b, {1, 0, 1}, {1, 0, 0});
    l2.lin = 0, l2.rotCur = 90;  // b turns 90 degrees about the z line through (1, 0, 0)
    h.install();
    EXPECT_EQ(Animation(0, 0), 0);
    // (2, 0, 0): turned about (1, 0) to (1, 1), then moved with a to (3, 1).
    EXPECT_PLACE(h, b, (OrvVec3{2, 0, 0}), 3, 1, 0);
    EXPECT_PLACE(h, a, (OrvVec3{2, 0, 0}), 4, 0, 0);
}

TEST(Animation, CouplingAndTransmissions) {
    Host h;
    const uint64_t f = h.add(0), a = h.add(0), b = h.add(0), c = h.add(0);
    Lnk& driver = h.link(f, a, {1, 0, 0}, {0, 0, 0});
    Lnk& driven = h.link(f, b, {1, 0, 0}, {0, 0, 0});
    Lnk& back = h.link(f, c, {1, 0, 0}, {0, 0, 0});
    setLinear(driver.linDrive, 4, 1);  // linear offset 4 t
    driver.coupled = 1, driver.ratio = 2;  // 2 degrees per unit
    Trn& forward = h.transmission(driver, driven, {&driver});
    forward.linLin = 0.5, forward.rotLin = 10, forward.rotRot = 1, forward.linRot = 0;
    // Listed with the driver, driving backwards into its source: through the inverse ratios.
    Trn& reverse = h.transmission(back, driver, {&driver});
    reverse.linLin = 2, reverse.rotRot = 4, reverse.rotLin = 0, reverse.linRot = 0;
    reverse.invert = 1;
    h.install();

    EXPECT_EQ(Animation(0.25, 0), 0);
    EXPECT_EQ(+driver.linOffset, 1.0);
    EXPECT_EQ(+driver.rotOffset, 2.0);  // coupled: 1 unit x 2
    EXPECT_EQ(+driven.linOffset, 0.5 + 2.0 * 10);
    EXPECT_EQ(+driven.rotOffset, 2.0);
    EXPECT_EQ(+back.linOffset, -0.5);  // inverted, 1 / 2
    EXPECT_EQ(+back.rotOffset, -0.5);  // inverted, 2 / 4

    // Only the change passes on: the same time moves nothing further.
    EXPECT_EQ(Animation(0.25, 0), 0);
    EXPECT_EQ(+driven.linOffset, 20.5);
    forward.active = 0;
    EXPECT_EQ(Animation(0.5, 0), 0);
    EXPECT_EQ(+driven.linOffset, 20.5);
    EXPECT_EQ(+back.linOffset, -1.0);
}

TEST(Animation, CircleOfTransmissionsEnds) {
    Host h;
    const uint64_t f = h.add(0), a = h.add(0), b = h.add(0);
    Lnk& one = h.link(f, a, {1, 0, 0}, {0, 0, 0});
    Lnk& two = h.link(f, b, {1, 0, 0}, {0, 0, 0});
    setLinear(one.linDrive, 1, 1);
    // one -> two and two -> one, each listed with both links: a wave moves each link once.
    h.transmission(one, two, {&one, &two}).linLin = 3;
    h.transmission(two, one, {&one, &two}).linLin = 5;
    h.install();
    EXPECT_EQ(Animation(0.5, 0), 0);
    EXPECT_EQ(+one.linOffset, 0.5);
    EXPECT_EQ(+two.linOffset, 1.5);
}

TEST(Animation, PathsCarryTheBodyByArcLength) {
    Host h;
    const uint64_t f = h.add(0), a = h.add(0);
    Lnk& l = h.link(f, a, {0, 0, 0}, {0, 0, 0});
    // A half circle from (0, 0) to (2, 0) bulging to +y (left of travel), then on to (2, -3).
    const OrvVec3 points[3] = {{0, 0, 0}, {2, 0, 0}, {2, -3, 0}};
    const double bulges[3] = {0, 1, 0};
    const double frame[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    SetLnk(&l, points, bulges, frame, 3, f, a, l.linkObject);
    l.rot = 0;
    EXPECT_NEAR(+l.linMax, 3.14159265358979 + 3, 1e-12);
    h.install();

    const double pi = 3.14159265358979323846;
    l.linCur = pi / 2;  // the top of the arc, heading +x
    EXPECT_EQ(Animation(0, 0), 0);
    EXPECT_PLACE(h, a, (OrvVec3{0, 0, 0}), 1, 1, 0);
    EXPECT_PLACE(h, a, (OrvVec3{0, 1, 0}), 2, 1, 0);  // one ahead of the start stays ahead

    l.linCur = pi + 1;  // one down the straight, heading -y
    EXPECT_EQ(Animation(0, 0), 0);
    EXPECT_PLACE(h, a, (OrvVec3{0, 0, 0}), 2, -1, 0);
    EXPECT_PLACE(h, a, (OrvVec3{0, 1, 0}), 2, -2, 0);

    l.linCur = pi + 5;  // an open path runs on beyond its end
    EXPECT_EQ(Animation(0, 0), 0);
    EXPECT_PLACE(h, a, (OrvVec3{0, 0, 0}), 2, -5, 0);
}

TEST(Animation, ReferenceBodyHoldsStill) {
    Host h;
    const uint64_t f = h.add(0), a = h.add(0, "*Wagen"), other = h.add(0, "*later");
    Lnk& l = h.link(f, a, {1, 0, 0}, {0, 0, 0});
    l.rot = 0, l.linCur = 3;
    h.install();
    EXPECT_EQ(Animation(0, 0), 0);
    // Everything moves by -3 in x so that a stays where it is.
    EXPECT_PLACE(h, a, (OrvVec3{0, 0, 0}), 0, 0, 0);
    EXPECT_PLACE(h, f, (OrvVec3{0, 0, 0}), -3, 0, 0);
    EXPECT_PLACE(h, other, (OrvVec3{1, 1, 1}), -2, 1, 1);
}

TEST(Animation, CollisionsAmongSecondLevelObjects) {
    Host h;
    const uint64_t top = h.add(0), f = h.add(top), a = h.add(top), b = h.add(top);
    h.add(a);  // third level: not asked about
    Lnk& l = h.link(f, a, {1, 0, 0}, {0, 0, 0});
    l.rot = 0, l.linCur = 1;
    h.install();

    EXPECT_EQ(Animation(0, 0), 0);
    EXPECT_TRUE(h.collisionAsks.empty());
    // f and b keep identical matrices: never handed over.
    EXPECT_EQ(Animation(0, 1), 0);
    EXPECT_EQ(h.collisionAsks, (std::vector<std::pair<uint64_t, uint64_t>>{{f, a}, {a, b}}));
    h.collisionAsks.clear();
    h.collidingA = a, h.collidingB = b;
    EXPECT_EQ(Animation(0, 1), 2);
}

TEST(Animation, OpenFollowerLoopReturnsOne) {
    Host h;
    const uint64_t f = h.add(0), a = h.add(0), b = h.add(0), c = h.add(0);
    Lnk& l1 = h.link(f, a, {0, 0, 1}, {0, 0, 0});
    Lnk& l2 = h.link(a, b, {0, 0, 1}, {1, 0, 0});
    Lnk& l3 = h.link(b, c, {2, 0, 0}, {2, 0, 1});
    for (Lnk* l : {&l1, &l2, &l3}) l->follow = 1, l->lin = 0;
    // c's own matrix puts the point (2, 0, 0) 5 away from where b carries it.
    h.objects[c].m[13] = 5;
    h.install();
    h.collidingA = f, h.collidingB = a;
    EXPECT_EQ(Animation(0, 1), 1);
    EXPECT_TRUE(h.collisionAsks.empty());
}

}  // namespace
