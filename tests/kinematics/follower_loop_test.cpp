// Follower loops closed by Animation: a four-bar linkage (kind 4), a slider and connecting rod
// (kind 3) and a swinging cylinder (kind 2), each driven by a crank about the origin through a
// full turn in steps of 15 degrees, with mechanisms that close everywhere and ones that cannot
// close over part of the turn. The expected places come from the textbook formulas of each
// mechanism (atan2, acos), a different route from the library's construction.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "kinematics/scene_host.h"

namespace {

// The library's degree (ten-digit pi) and radian-to-degree factor.
const double kDeg = 3.1415926535 / 180.0;
const double kToDeg = 57.29577951471995;

struct P2 {
    double x, y;
};

// A link about the z line through p, or along u from p.
struct Axis {
    OrvVec3 a, b;
    bool linear;
};
Axis turning(P2 p) {
    return {{p.x, p.y, 1}, {p.x, p.y, 0}, false};
}
Axis turningBack(P2 p) {  // the axis points along -z: the same motion with angles negated
    return {{p.x, p.y, -1}, {p.x, p.y, 0}, false};
}
Axis sliding(P2 p, P2 u) {
    return {{p.x + u.x, p.y + u.y, 0}, {p.x, p.y, 0}, true};
}

// What a mechanism does at a crank angle: whether it closes, and then where the grandparent's
// body carries its tracked point and where the parent's body carries the pin.
struct Expect {
    bool closes;
    OrvVec3 onGrandparent, pin;
};

P2 crankPin(double r, double t) {
    return {r * std::cos(t * kDeg), r * std::sin(t * kDeg)};
}

// Rocker from q, coupler from the rocker's end e0 to the crank pin: the rocker's angle is the
// direction to the pin less the angle of the triangle rocker, coupler, pin (law of cosines).
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

// Cylinder about q, piston sliding along u through the pin's place at rest: in the cylinder's
// frame the pin stands at (m + s, h) on axes u and u turned left, with |(m + s, h)| the pin's
// distance from q, so the cylinder turns by the pin's direction less that vector's angle.
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

struct Case {
    const char* name;
    double r;  // crank radius: the pin stands at (r, 0) at rest
    Axis grandparent, parent;
    OrvVec3 tracked;  // a point of the grandparent's body
    int openPositions;
    Expect (*expect)(double t);
};

const P2 kE0{3.4375, std::sqrt(2.25 - 0.5625 * 0.5625)};  // 1.5 from (4, 0), 2 from (2, 0)

const Case kCases[] = {
    {"four-bar, crank and rocker",
     1,
     turning({4, 0}),
     turning({4, 3}),
     {4, 3, 0},
     0,
     [](double t) {
         return fourBar(1, {4, 0}, {4, 3}, t);
     }},
    {"four-bar, no link turns fully",
     2,
     turning({4, 0}),
     turningBack(kE0),
     {kE0.x, kE0.y, 0},
     15,
     [](double t) {
         return fourBar(2, {4, 0}, kE0, t);
     }},
    {"slider and rod",
     1,
     sliding({4, 0.5}, {1, 0}),
     turning({4, 0.5}),
     {4, 0.5, 0},
     0,
     [](double t) {
         return sliderCrank(1, {4, 0.5}, t);
     }},
    {"slider, rod shorter than the offset",
     1,
     sliding({1.5, 2.5}, {-1, 0}),
     turning({1.5, 2.5}),
     {1.5, 2.5, 0},
     11,
     [](double t) {
         return sliderCrank(1, {1.5, 2.5}, t);
     }},
    {"swinging cylinder",
     1,
     turning({3, 0.4}),
     sliding({1, 0}, {-1, 0}),
     {1, 0, 0},
     0,
     [](double t) {
         return swingingCylinder(1, {3, 0.4}, {-1, 0}, t);
     }},
    {"swinging cylinder, pin passing inside the offset",
     1,
     turning({0.5, -1.2}),
     sliding({1, 0}, {-1, 0}),
     {1, 0, 0},
     8,
     [](double t) {
         return swingingCylinder(1, {0.5, -1.2}, {-1, 0}, t);
     }},
};

// The mechanism on a base body that a link from the fixed world body turns by baseTurn degrees
// about the z line through (-2, 1): ground -> crank (ordinary), ground -> grandparent ->
// parent (followers), parent -> crank (the follower that closes at the pin).
struct Rig {
    SceneHost h;
    uint64_t grandparentBody, parentBody;
    Lnk *crank, *grandparent, *parent, *closing;

    Rig(const Case& c, double baseTurn) {
        const uint64_t world = h.add(0), ground = h.add(0), crankBody = h.add(0);
        grandparentBody = h.add(0), parentBody = h.add(0);
        Lnk& base = h.link(world, ground, {-2, 1, 1}, {-2, 1, 0});
        base.lin = 0, base.rotCur = baseTurn;
        crank = &h.link(ground, crankBody, {0, 0, 1}, {0, 0, 0});
        crank->lin = 0;
        grandparent = &follower(ground, grandparentBody, c.grandparent);
        parent = &follower(grandparentBody, parentBody, c.parent);
        closing = &follower(parentBody, crankBody, {{c.r, 0, 0}, {c.r, 0, -1}, false});
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
            OrvVec3 last = onBase(c.tracked, baseTurn);
            int open = 0;
            for (int t = 0; t <= 360; t += 15) {
                SCOPED_TRACE(testing::Message() << "crank at " << t);
                rig.crank->rotCur = t;
                const int32_t result = Animation(0, 0);
                const Expect e = c.expect(t);
                const OrvVec3 tracked = rig.h.place(rig.grandparentBody, c.tracked);
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

// The three followers take the angles that the bodies turned by: the rocker's, the coupler's
// relative to the rocker, and the crank's relative to the coupler.
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
    // The arctangent rule's exact 90 and 180 lie 2.6e-9 degrees from what its arctangent gives
    // (the rounding of pi), so angles measured across quadrants carry that much.
    EXPECT_NEAR(+rig.grandparent->rotCur, rocker, 1e-8);
    EXPECT_NEAR(+rig.parent->rotCur, coupler - rocker, 1e-8);
    EXPECT_NEAR(+rig.closing->rotCur, 100 - coupler, 1e-8);
}

}  // namespace
