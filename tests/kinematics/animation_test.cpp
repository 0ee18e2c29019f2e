// Animation through the exports on a small host: drives and couplings, transmissions (circles
// included), the composition down the tree, paths, the reference body, collisions and follower
// loops, open and closed.
#include <gtest/gtest.h>

#include <cmath>
#include <tuple>
#include <utility>
#include <vector>

#include "kinematics/scene_host.h"

namespace {

// A fixed frame f, and links from it (or from source) to new bodies along the axis B -> A.
class AnimationTest : public testing::Test {
protected:
    SceneHost h;
    const uint64_t f = h.add(0);

    Lnk& to(OrvVec3 a, OrvVec3 b = {0, 0, 0}, uint64_t source = 0) {
        return h.link(source ? source : f, h.add(0), a, b);
    }
    // Where the body carries point p, to 1e-9.
    void expectPlace(uint64_t body, OrvVec3 p, OrvVec3 want) {
        const OrvVec3 got = h.place(body, p);
        EXPECT_NEAR(got.x, want.x, 1e-9) << p.x << ' ' << p.y << ' ' << p.z;
        EXPECT_NEAR(got.y, want.y, 1e-9) << p.x << ' ' << p.y << ' ' << p.z;
        EXPECT_NEAR(got.z, want.z, 1e-9) << p.x << ' ' << p.y << ' ' << p.z;
    }
};

TEST_F(AnimationTest, StraightLinkTranslatesAlongBToAAndTurnsAboutIt) {
    Lnk& l = to({0, 0, 2});  // unit axis +z through the origin
    setLinearDrive(l.linDrive, 3, 1);
    l.rotCur = 90;
    h.install();
    EXPECT_EQ(Animation(0.5, 0), 0);
    EXPECT_EQ(+l.linOffset, 1.5);
    // (1, 0, 0) turns to (0, 1, 0) about z, then moves 1.5 along z.
    expectPlace(l.targetBody, {1, 0, 0}, {0, 1, 1.5});
    expectPlace(f, {1, 0, 0}, {1, 0, 0});

    // An axis off the origin: the turn is about the line through B.
    l.axisB = {2, 0, 0}, l.axisA = {2, 0, -5};  // unit axis -z through (2, 0, 0)
    l.linDrive.on = 0;
    l.linOffset = 0, l.linCur = 1;
    EXPECT_EQ(Animation(0, 0), 0);
    // (3, 0, 0) is 1 right of the axis; -90 degrees about +z puts it at (2, -1), then z - 1.
    expectPlace(l.targetBody, {3, 0, 0}, {2, -1, -1});
}

TEST_F(AnimationTest, MotionsComposeDownTheTree) {
    Lnk& l1 = to({1, 0, 0});
    l1.rot = 0, l1.linCur = 2;  // a moves 2 along x
    Lnk& l2 = to({1, 0, 1}, {1, 0, 0}, l1.targetBody);
    l2.lin = 0, l2.rotCur = 90;  // b turns 90 degrees about the z line through (1, 0, 0)
    h.install();
    EXPECT_EQ(Animation(0, 0), 0);
    // (2, 0, 0): turned about (1, 0) to (1, 1), then moved with a to (3, 1).
    expectPlace(l2.targetBody, {2, 0, 0}, {3, 1, 0});
    expectPlace(l1.targetBody, {2, 0, 0}, {4, 0, 0});
}

TEST_F(AnimationTest, CouplingAndInactiveTransmissions) {
    Lnk &driver = to({1, 0, 0}), &driven = to({1, 0, 0});
    setLinearDrive(driver.linDrive, 4, 1);  // linear offset 4 t
    driver.coupled = 1, driver.ratio = 2;   // 2 degrees per unit
    Trn& forward = h.transmission(driver, driven, {&driver});
    forward.linLin = 0.5, forward.rotLin = 10, forward.rotRot = 1, forward.linRot = 0;
    h.install();

    EXPECT_EQ(Animation(0.25, 0), 0);
    EXPECT_EQ(+driver.linOffset, 1.0);
    EXPECT_EQ(+driver.rotOffset, 2.0);  // coupled: 1 unit x 2
    EXPECT_EQ(+driven.linOffset, 0.5 + 2.0 * 10);
    EXPECT_EQ(+driven.rotOffset, 2.0);
    // Only the change passes on: the same time moves nothing further.
    EXPECT_EQ(Animation(0.25, 0), 0);
    EXPECT_EQ(+driven.linOffset, 20.5);
    forward.active = 0;
    EXPECT_EQ(Animation(0.5, 0), 0);
    EXPECT_EQ(+driven.linOffset, 20.5);
}

// Each step follows the transmissions as the host has them then: a transmission given a new
// target between steps drives the new target, and the old one keeps its place.
TEST_F(AnimationTest, RetargetedTransmissionDrivesItsNewTarget) {
    // The driven links come first in the walk: the wave changes values already copied.
    Lnk &first = to({0, 1, 0}), &second = to({0, 0, 1}), &driver = to({1, 0, 0});
    setLinearDrive(driver.linDrive, 4, 1);
    Trn& t = h.transmission(driver, first, {&driver});
    t.linLin = 0.5, t.linRot = 0;
    h.install();

    EXPECT_EQ(Animation(0.25, 0), 0);
    expectPlace(first.targetBody, {0, 0, 0}, {0, 0.5, 0});
    t.target = SceneHost::itemOf(second);
    EXPECT_EQ(Animation(0.5, 0), 0);
    expectPlace(first.targetBody, {0, 0, 0}, {0, 0.5, 0});
    expectPlace(second.targetBody, {0, 0, 0}, {0, 0, 0.5});
    expectPlace(driver.targetBody, {0, 0, 0}, {2, 0, 0});
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
        {"cross ratios, forwards", 0.5, 0, 1, 10, 0, false, 20.5, 2},
        {"inverted, forwards", 2, 4, 0.5, 0, 1, false, -2, -5},
        {"inverted, backwards", 2, 4, 0.5, 0, 1, true, -1, -4},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        SceneHost h;
        const uint64_t f = h.add(0);
        Lnk& first = h.link(f, h.add(0), {1, 0, 0}, {0, 0, 0});
        Lnk& second = h.link(f, h.add(0), {1, 0, 0}, {0, 0, 0});
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

// A wave moves each link once: one -> two and two -> one, each listed with both links.
TEST_F(AnimationTest, CircleOfTransmissionsEnds) {
    Lnk &one = to({1, 0, 0}), &two = to({1, 0, 0});
    setLinearDrive(one.linDrive, 1, 1);
    h.transmission(one, two, {&one, &two}).linLin = 3;
    h.transmission(two, one, {&one, &two}).linLin = 5;
    h.install();
    EXPECT_EQ(Animation(0.5, 0), 0);
    EXPECT_EQ(+one.linOffset, 0.5);
    EXPECT_EQ(+two.linOffset, 1.5);
}

// one -> two -> three -> one, driven at three: backwards into two (1/4), on backwards into one
// (1/2 of that); the way on from one and from three meets links the wave has moved.
TEST_F(AnimationTest, CircleOfTransmissionsEndsBackwardsToo) {
    Lnk &one = to({1, 0, 0}), &two = to({1, 0, 0}), &three = to({1, 0, 0});
    setLinearDrive(three.linDrive, 2, 1);
    for (auto [from, to, ratio] :
         {std::tuple{&one, &two, 2.0}, {&two, &three, 4.0}, {&three, &one, 8.0}}) {
        Trn& t = h.transmission(*from, *to, {from, to});
        t.linLin = ratio, t.linRot = t.rotRot = t.rotLin = 0;
    }
    h.install();
    EXPECT_EQ(Animation(0.5, 0), 0);
    EXPECT_EQ(+three.linOffset, 1.0);
    EXPECT_EQ(+two.linOffset, 0.25);
    EXPECT_EQ(+one.linOffset, 0.125);
}

TEST_F(AnimationTest, PathsCarryTheBodyByArcLength) {
    Lnk& l = to({0, 0, 0});
    const uint64_t a = l.targetBody;
    // A half circle from (0, 0) to (2, 0) bulging to +y (left of travel), then on to (2, -3).
    const OrvVec3 points[3] = {{0, 0, 0}, {2, 0, 0}, {2, -3, 0}};
    const double bulges[3] = {0, 1, 0};
    const double frame[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    SetLnk(&l, points, bulges, frame, 3, f, a, l.linkObject);
    l.rot = 0;
    EXPECT_NEAR(+l.linMax, 3.14159265358979 + 3, 1e-12);
    h.install();

    const double pi = 3.14159265358979323846;
    const struct {
        double along;
        OrvVec3 start, ahead;  // where the body carries (0, 0, 0) and (0, 1, 0)
    } cases[] = {
        {pi / 2, {1, 1, 0}, {2, 1, 0}},    // the top of the arc, heading +x
        {pi + 1, {2, -1, 0}, {2, -2, 0}},  // one down the straight, heading -y
        {pi + 5, {2, -5, 0}, {2, -6, 0}},  // an open path runs on beyond its end
    };
    for (const auto& c : cases) {
        l.linCur = c.along;
        EXPECT_EQ(Animation(0, 0), 0);
        expectPlace(a, {0, 0, 0}, c.start);
        expectPlace(a, {0, 1, 0}, c.ahead);
    }

    const OrvVec3 a0 = l.axisA, b0 = l.axisB;
    SetLnk(&l, &a0, &b0, nullptr, 0, f, a, l.linkObject);  // frees the path
}

TEST_F(AnimationTest, ReferenceBodyHoldsStill) {
    const uint64_t a = h.add(0, "*Wagen"), other = h.add(0, "*later");
    Lnk& l = h.link(f, a, {1, 0, 0}, {0, 0, 0});
    l.rot = 0, l.linCur = 3;
    h.install();
    EXPECT_EQ(Animation(0, 0), 0);
    // Everything moves by -3 in x so that a stays where it is.
    expectPlace(a, {0, 0, 0}, {0, 0, 0});
    expectPlace(f, {0, 0, 0}, {-3, 0, 0});
    expectPlace(other, {1, 1, 1}, {-2, 1, 1});
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

TEST_F(AnimationTest, OpenFollowerLoopReturnsOne) {
    Lnk& l1 = to({0, 0, 1});
    Lnk& l2 = to({0, 0, 1}, {1, 0, 0}, l1.targetBody);
    Lnk& l3 = to({2, 0, 0}, {2, 0, 1}, l2.targetBody);
    for (Lnk* l : {&l1, &l2, &l3}) l->follow = 1, l->lin = 0;
    // c's own matrix puts the point (2, 0, 0) 5 away from where b carries it.
    h.objects[l3.targetBody].m[13] = 5;
    h.install();
    h.collidingA = f, h.collidingB = l1.targetBody;
    EXPECT_EQ(Animation(0, 1), 1);
    EXPECT_TRUE(h.collisionAsks.empty());
}

// ---- Follower loops closed: four-bar (kind 4), slider and rod (kind 3), swinging cylinder
// (kind 2), turned by a crank through a full turn; places from each mechanism's textbook formulas.

// The library's degree (ten-digit pi) and radian-to-degree factor.
const double kDeg = 3.1415926535 / 180.0;
const double kToDeg = 57.29577951471995;

struct P2 {
    double x, y;
};

// A link about the z line through p (along -z with back: angles negated), or along u from p.
struct Axis {
    OrvVec3 a, b;
    bool linear;
};
Axis turning(P2 p, bool back = false) {
    return {{p.x, p.y, back ? -1.0 : 1.0}, {p.x, p.y, 0}, false};
}
Axis sliding(P2 p, P2 u) {
    return {{p.x + u.x, p.y + u.y, 0}, {p.x, p.y, 0}, true};
}

// Whether a mechanism closes at a crank angle, and then where the grandparent's body carries its
// tracked point and the parent's body the pin.
struct Expect {
    bool closes;
    OrvVec3 onGrandparent, pin;
};

P2 crankPin(double r, double t) {
    return {r * std::cos(t * kDeg), r * std::sin(t * kDeg)};
}

// Rocker from q, coupler from its end e0 to the pin: the rocker's angle is the direction to the
// pin less the triangle's angle at q (law of cosines).
Expect fourBar(double r, P2 q, P2 e0, double t) {
    const P2 p = crankPin(r, t);
    const double a = std::hypot(e0.x - q.x, e0.y - q.y), b = std::hypot(r - e0.x, -e0.y);
    const double d = std::hypot(p.x - q.x, p.y - q.y);
    const double c = (a * a + d * d - b * b) / (2 * a * d);
    if (std::fabs(c) > 1) return {false, {}, {}};
    const double phi = std::atan2(p.y - q.y, p.x - q.x) - std::acos(c);
    return {true, {q.x + a * std::cos(phi), q.y + a * std::sin(phi), 0}, {p.x, p.y, 0}};
}

// Slider on the horizontal line through w0, rod from w0 to the crank pin:
// x = r cos t + sqrt(rod^2 - (r sin t - e)^2).
Expect sliderCrank(double r, P2 w0, double t) {
    const P2 p = crankPin(r, t);
    const double rod = std::hypot(r - w0.x, w0.y), e = w0.y - p.y;
    if (rod < std::fabs(e)) return {false, {}, {}};
    return {true, {p.x + std::sqrt(rod * rod - e * e), w0.y, 0}, {p.x, p.y, 0}};
}

// Cylinder about q, piston along u through the pin at rest: in the cylinder's frame the pin stands
// at (m + s, h), as far from q as the pin; the cylinder turns by the difference of directions.
Expect swingingCylinder(double r, P2 q, P2 u, double t) {
    const P2 p = crankPin(r, t), rest{r - q.x, -q.y};
    const double m = rest.x * u.x + rest.y * u.y, h = u.x * rest.y - u.y * rest.x;
    const double d = std::hypot(p.x - q.x, p.y - q.y);
    if (d < std::fabs(h)) return {false, {}, {}};
    const double ms = std::copysign(std::sqrt(d * d - h * h), m);
    const double phi = std::atan2(p.y - q.y, p.x - q.x) - std::atan2(u.y, u.x) - std::atan2(h, ms);
    const double c = std::cos(phi), s = std::sin(phi);
    return {true, {q.x + rest.x * c - rest.y * s, q.y + rest.x * s + rest.y * c, 0}, {p.x, p.y, 0}};
}

enum Mechanism { kFourBar, kSliderCrank, kSwingingCylinder };

// The four-bar's rocker turns about q, its coupler about v; the slider slides along v from q, its
// rod turns about q; the cylinder turns about q, its piston slides along v.
struct Case {
    const char* name;
    Mechanism mechanism;
    double r;  // crank radius: the pin stands at (r, 0) at rest
    P2 q, v;
    bool back;
    int openPositions;
};

const P2 kE0{3.4375, std::sqrt(2.25 - 0.5625 * 0.5625)};  // 1.5 from (4, 0), 2 from (2, 0)

const Case kCases[] = {
    {"four-bar, crank and rocker", kFourBar, 1, {4, 0}, {4, 3}, false, 0},
    {"four-bar, no link turns fully", kFourBar, 2, {4, 0}, kE0, true, 15},
    {"slider and rod", kSliderCrank, 1, {4, 0.5}, {1, 0}, false, 0},
    {"slider, rod shorter than the offset", kSliderCrank, 1, {1.5, 2.5}, {-1, 0}, false, 11},
    {"swinging cylinder", kSwingingCylinder, 1, {3, 0.4}, {-1, 0}, false, 0},
    {"swinging cylinder, pin inside the offset",
     kSwingingCylinder,
     1,
     {0.5, -1.2},
     {-1, 0},
     false,
     8},
};

Expect expect(const Case& c, double t) {
    switch (c.mechanism) {
        case kFourBar: return fourBar(c.r, c.q, c.v, t);
        case kSliderCrank: return sliderCrank(c.r, c.q, t);
        default: return swingingCylinder(c.r, c.q, c.v, t);
    }
}

// The mechanism on a ground body turned by baseTurn degrees about (-2, 1): ground -> crank,
// then followers ground -> grandparent -> parent -> crank, the last closing at the pin.
struct Rig {
    SceneHost h;
    uint64_t grandparentBody, parentBody;
    Lnk *crank, *grandparent, *parent, *closing;
    OrvVec3 tracked;  // a point of the grandparent's body

    Rig(const Case& c, double baseTurn) {
        const uint64_t world = h.add(0), ground = h.add(0), crankBody = h.add(0);
        grandparentBody = h.add(0), parentBody = h.add(0);
        Lnk& base = h.link(world, ground, {-2, 1, 1}, {-2, 1, 0});
        base.lin = 0, base.rotCur = baseTurn;
        crank = &h.link(ground, crankBody, {0, 0, 1}, {0, 0, 0});
        crank->lin = 0;
        const bool slider = c.mechanism == kSliderCrank,
                   cylinder = c.mechanism == kSwingingCylinder;
        grandparent = &follower(ground, grandparentBody, slider ? sliding(c.q, c.v) : turning(c.q));
        parent = &follower(grandparentBody, parentBody,
                           slider     ? turning(c.q)
                           : cylinder ? sliding({c.r, 0}, c.v)
                                      : turning(c.v, c.back));
        closing = &follower(parentBody, crankBody, {{c.r, 0, 0}, {c.r, 0, -1}, false});
        const P2 t = slider ? c.q : cylinder ? P2{c.r, 0} : c.v;
        tracked = {t.x, t.y, 0};
        h.install();
    }
    Lnk& follower(uint64_t source, uint64_t target, const Axis& axis) {
        Lnk& l = h.link(source, target, axis.a, axis.b);
        l.follow = 1;
        (axis.linear ? l.rot : l.lin) = 0;
        return l;
    }
};

// p turned by baseTurn degrees about (-2, 1).
OrvVec3 onBase(OrvVec3 p, double baseTurn) {
    const double c = std::cos(baseTurn * kDeg), s = std::sin(baseTurn * kDeg);
    const double x = p.x + 2, y = p.y - 1;
    return {x * c - y * s - 2, x * s + y * c + 1, p.z};
}

#define EXPECT_AT(got, want)                   \
    do {                                       \
        const OrvVec3 g_ = (got), w_ = (want); \
        EXPECT_NEAR(g_.x, w_.x, 1e-9);         \
        EXPECT_NEAR(g_.y, w_.y, 1e-9);         \
        EXPECT_NEAR(g_.z, w_.z, 1e-9);         \
    } while (0)

TEST(FollowerLoops, ClosedOverAFullTurnOfTheCrank) {
    for (const Case& c : kCases) {
        for (double baseTurn : {0.0, 40.0}) {
            SCOPED_TRACE(testing::Message() << c.name << ", base turned " << baseTurn);
            Rig rig(c, baseTurn);
            const OrvVec3 pinAtRest{c.r, 0, 0};
            OrvVec3 last = onBase(rig.tracked, baseTurn);
            int open = 0;
            for (int t = 0; t <= 360; t += 15) {
                SCOPED_TRACE(testing::Message() << "crank at " << t);
                rig.crank->rotCur = t;
                const int32_t result = Animation(0, 0);
                const Expect e = expect(c, t);
                const OrvVec3 tracked = rig.h.place(rig.grandparentBody, rig.tracked);
                if (!e.closes) {
                    // Open: the followers keep their values, so their bodies stay put.
                    ++open;
                    EXPECT_EQ(result, 1);
                    EXPECT_AT(tracked, last);
                    continue;
                }
                EXPECT_EQ(result, 0);
                EXPECT_AT(tracked, onBase(e.onGrandparent, baseTurn));
                EXPECT_AT(rig.h.place(rig.parentBody, pinAtRest), onBase(e.pin, baseTurn));
                last = tracked;
            }
            EXPECT_EQ(open, c.openPositions);
        }
    }
}

// The followers take the angles the bodies turned by, each relative to the one before.
TEST(FollowerLoops, FollowersTakeTheirAngles) {
    Rig rig(kCases[0], 0);
    rig.crank->rotCur = 100;
    ASSERT_EQ(Animation(0, 0), 0);
    const Expect e = fourBar(1, {4, 0}, {4, 3}, 100);
    const double rocker =
        (std::atan2(e.onGrandparent.y, e.onGrandparent.x - 4) - std::atan2(3, 0)) * kToDeg;
    const double coupler = (std::atan2(e.pin.y - e.onGrandparent.y, e.pin.x - e.onGrandparent.x) -
                            std::atan2(-3, -3)) *
                           kToDeg;
    // The ten-digit pi puts quadrant angles 2.6e-9 degrees off.
    EXPECT_NEAR(+rig.grandparent->rotCur, rocker, 1e-8);
    EXPECT_NEAR(+rig.parent->rotCur, coupler - rocker, 1e-8);
    EXPECT_NEAR(+rig.closing->rotCur, 100 - coupler, 1e-8);
}

}  // namespace
