// Animation through the exports on a small host with matrices, names, transmissions and a
// collision test: drives and couplings, transmissions (circles included), the composition down
// the tree, paths, the reference body, collisions and open follower loops. Expected places are
// worked out by hand.
#include <gtest/gtest.h>

#include <tuple>
#include <utility>
#include <vector>

#include "kinematics/scene_host.h"

namespace {

#define EXPECT_PLACE(h, body, point, ex, ey, ez)           \
    do {                                                   \
        const OrvVec3 p_ = (h).place(body, point);         \
        EXPECT_NEAR(p_.x, ex, 1e-9) << #point;             \
        EXPECT_NEAR(p_.y, ey, 1e-9) << #point;             \
        EXPECT_NEAR(p_.z, ez, 1e-9) << #point;             \
    } while (0)

TEST(Animation, StraightLinkTranslatesAlongBToAAndTurnsAboutIt) {
    SceneHost h;
    const uint64_t f = h.add(0), a = h.add(0);
    Lnk& l = h.link(f, a, {0, 0, 2}, {0, 0, 0});  // unit axis +z through the origin
    setLinearDrive(l.linDrive, 3, 1);
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
    SceneHost h;
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
    SceneHost h;
    const uint64_t f = h.add(0), a = h.add(0), b = h.add(0), c = h.add(0);
    Lnk& driver = h.link(f, a, {1, 0, 0}, {0, 0, 0});
    Lnk& driven = h.link(f, b, {1, 0, 0}, {0, 0, 0});
    Lnk& back = h.link(f, c, {1, 0, 0}, {0, 0, 0});
    setLinearDrive(driver.linDrive, 4, 1);  // linear offset 4 t
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

// Each step follows the transmissions as the host has them then: a transmission given a new
// target between steps drives the new target, and the old one keeps its place.
TEST(Animation, RetargetedTransmissionDrivesItsNewTarget) {
    SceneHost h;
    const uint64_t f = h.add(0), a = h.add(0), b = h.add(0), c = h.add(0);
    // The driven links come first in the walk: the wave changes values already copied.
    Lnk& first = h.link(f, b, {0, 1, 0}, {0, 0, 0});   // slides along y
    Lnk& second = h.link(f, c, {0, 0, 1}, {0, 0, 0});  // slides along z
    Lnk& driver = h.link(f, a, {1, 0, 0}, {0, 0, 0});
    setLinearDrive(driver.linDrive, 4, 1);
    Trn& t = h.transmission(driver, first, {&driver});
    t.linLin = 0.5, t.linRot = 0;
    h.install();

    EXPECT_EQ(Animation(0.25, 0), 0);
    EXPECT_PLACE(h, b, (OrvVec3{0, 0, 0}), 0, 0.5, 0);
    t.target = SceneHost::itemOf(second);
    EXPECT_EQ(Animation(0.5, 0), 0);
    EXPECT_PLACE(h, b, (OrvVec3{0, 0, 0}), 0, 0.5, 0);
    EXPECT_PLACE(h, c, (OrvVec3{0, 0, 0}), 0, 0, 0.5);
    EXPECT_PLACE(h, a, (OrvVec3{0, 0, 0}), 2, 0, 0);
}

// A transmission drives its second link from its first by the ratios, and its first from its
// second by their reciprocals (a ratio of 0 passing nothing); the default drives both ways.
TEST(Animation, TransmissionsDriveBothWays) {
    struct Case {
        const char* what;
        double linLin, linRot, rotRot, rotLin;
        int32_t invert;
        bool fromSecond;
        double lin, rot;  // the other link's offsets after changes dLin 1, dRot 2
    };
    const Case cases[] = {
        {"default, forwards", 1, 1, 1, 1, 0, false, 3, 3},
        {"default, backwards", 1, 1, 1, 1, 0, true, 3, 3},
        {"unequal, forwards", 2, 4, 0.5, 0, 0, false, 2, 5},
        {"unequal, backwards", 2, 4, 0.5, 0, 0, true, 1, 4},
        {"inverted, backwards", 2, 4, 0.5, 0, 1, true, -1, -4},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        SceneHost h;
        const uint64_t f = h.add(0), a = h.add(0), b = h.add(0);
        Lnk& first = h.link(f, a, {1, 0, 0}, {0, 0, 0});
        Lnk& second = h.link(f, b, {1, 0, 0}, {0, 0, 0});
        Trn& t = h.transmission(first, second, {&first, &second});
        t.linLin = c.linLin, t.linRot = c.linRot, t.rotRot = c.rotRot, t.rotLin = c.rotLin;
        t.invert = c.invert;
        Lnk& driver = c.fromSecond ? second : first;
        Lnk& other = c.fromSecond ? first : second;
        setLinearDrive(driver.linDrive, 4, 1);  // 1 at t = 0.25
        setLinearDrive(driver.rotDrive, 8, 1);  // 2 at t = 0.25
        h.install();
        EXPECT_EQ(Animation(0.25, 0), 0);
        EXPECT_EQ(+other.linOffset, c.lin);
        EXPECT_EQ(+other.rotOffset, c.rot);
    }
}

TEST(Animation, CircleOfTransmissionsEnds) {
    SceneHost h;
    const uint64_t f = h.add(0), a = h.add(0), b = h.add(0);
    Lnk& one = h.link(f, a, {1, 0, 0}, {0, 0, 0});
    Lnk& two = h.link(f, b, {1, 0, 0}, {0, 0, 0});
    setLinearDrive(one.linDrive, 1, 1);
    // one -> two and two -> one, each listed with both links: a wave moves each link once.
    h.transmission(one, two, {&one, &two}).linLin = 3;
    h.transmission(two, one, {&one, &two}).linLin = 5;
    h.install();
    EXPECT_EQ(Animation(0.5, 0), 0);
    EXPECT_EQ(+one.linOffset, 0.5);
    EXPECT_EQ(+two.linOffset, 1.5);
}

// one -> two -> three -> one, driven at three: backwards into two (1/4), on backwards into one
// (1/2 of that); the way on from one and from three meets links the wave has moved.
TEST(Animation, CircleOfTransmissionsEndsBackwardsToo) {
    SceneHost h;
    const uint64_t f = h.add(0);
    Lnk& one = h.link(f, h.add(0), {1, 0, 0}, {0, 0, 0});
    Lnk& two = h.link(f, h.add(0), {1, 0, 0}, {0, 0, 0});
    Lnk& three = h.link(f, h.add(0), {1, 0, 0}, {0, 0, 0});
    setLinearDrive(three.linDrive, 2, 1);
    for (auto [from, to, ratio] : {std::tuple{&one, &two, 2.0}, {&two, &three, 4.0},
                                   {&three, &one, 8.0}}) {
        Trn& t = h.transmission(*from, *to, {from, to});
        t.linLin = ratio, t.linRot = t.rotRot = t.rotLin = 0;
    }
    h.install();
    EXPECT_EQ(Animation(0.5, 0), 0);
    EXPECT_EQ(+three.linOffset, 1.0);
    EXPECT_EQ(+two.linOffset, 0.25);
    EXPECT_EQ(+one.linOffset, 0.125);
}

TEST(Animation, PathsCarryTheBodyByArcLength) {
    SceneHost h;
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

    const OrvVec3 a0 = l.axisA, b0 = l.axisB;
    SetLnk(&l, &a0, &b0, nullptr, 0, f, a, l.linkObject);  // frees the path
}

TEST(Animation, ReferenceBodyHoldsStill) {
    SceneHost h;
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
    SceneHost h;
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
    EXPECT_EQ(h.collisionFlag, 1);
    h.collisionAsks.clear();
    h.collidingA = a, h.collidingB = b;
    EXPECT_EQ(Animation(0, 1), 2);
}

TEST(Animation, OpenFollowerLoopReturnsOne) {
    SceneHost h;
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
