// Contents: plane coordinates and turns; the three solvers; closing a loop.
#include "kinematics/follower_loop.h"

#include <cmath>

#include "kinematics/link_transform.h"
#include "kinematics/tree_motion.h"

namespace orv {

namespace {

// ---- Plane coordinates and turns ---------------------------------------------------------------

struct Point2 {
    double x, y;
};
Point2 operator+(Point2 a, Point2 b) {
    return {a.x + b.x, a.y + b.y};
}
Point2 operator-(Point2 a, Point2 b) {
    return {a.x - b.x, a.y - b.y};
}
Point2 operator*(Point2 a, double k) {
    return {a.x * k, a.y * k};
}
double dot(Point2 a, Point2 b) {
    return a.x * b.x + a.y * b.y;
}
double cross(Point2 a, Point2 b) {
    return a.x * b.y - a.y * b.x;
}
double length(Point2 a) {
    return std::sqrt(dot(a, a));
}

double wrapAngle(double a) {
    while (a > 180.0) a -= 360.0;
    while (a <= -180.0) a += 360.0;
    return a;
}

// The right-handed turn, in (-180, 180], that carries direction from onto direction to. The
// arctangent rule counts clockwise, so a right-handed turn lowers it.
double turn(Point2 from, Point2 to) {
    return wrapAngle(directionAngle(from.x, from.y) - directionAngle(to.x, to.y));
}

// Coordinates in the plane at right angles to a unit normal, on axes e1, e2 that make a
// right-handed frame with it: counter-clockwise in the plane is right-handed about the normal.
// The Z normal gives X and Y.
struct Plane {
    Vec3 e1, e2;
    Plane() = default;
    explicit Plane(const Vec3& n) {
        e1 = orv::cross(std::fabs(n.z) < 0.9 ? Vec3{0, 0, 1} : Vec3{0, 1, 0}, n);
        normalise(e1);
        e2 = orv::cross(n, e1);
    }
    Point2 of(const Vec3& v) const { return {orv::dot(v, e1), orv::dot(v, e2)}; }
};

Vec3 unitAxis(const Lnk& link) {
    Vec3 u = link.axisA - link.axisB;
    normalise(u);
    return u;
}

bool isZero(const Vec3& v) {
    return v.x == 0.0 && v.y == 0.0 && v.z == 0.0;
}

// ---- The solvers -------------------------------------------------------------------------------

// One loop in the rest coordinates of its links, where their axis points are given: the
// grandparent link g turns or slides its body, which carries the parent link p, which carries
// the follower's body with the pin (the follower's point A); the target is where the follower's
// target body holds the pin.
struct Loop {
    const HostCallbacks& host;
    const Joint& f;
    const Joint& p;
    const Joint& g;
    Mat4 toRest;  // from the world into the links' rest coordinates
    Vec3 target;

    // A point of body's rest coordinates where the body holds it now.
    Vec3 now(Vec3 point, const TreeNode& body) const {
        transformPoint(point, bodyMatrix(host, body.body));
        transformPoint(point, toRest);
        return point;
    }
};

// The value each link must take (the angle in degrees or the distance along its axis).
struct Values {
    double grandparent, parent;
};

// A turning and a sliding link: the plane at right angles to the turn, and in it the slide's
// direction and the length that one unit of slide covers.
struct Slide {
    Plane plane;
    Point2 dir;
    double unit;
};

bool slideInPlane(const Lnk& turning, const Lnk& sliding, Slide& out) {
    const Vec3 turnAxis = unitAxis(turning), slideAxis = unitAxis(sliding);
    if (isZero(turnAxis) || isZero(slideAxis)) return false;
    out.plane = Plane(turnAxis);
    const Point2 slide = out.plane.of(slideAxis);
    out.unit = length(slide);
    if (!(out.unit > 0.0)) return false;
    out.dir = slide * (1.0 / out.unit);
    return true;
}

// Kind 2: the grandparent turns about its pivot, the parent slides along a line that the turn
// carries. The pin's distance from the pivot must become the target's (the rod length), which
// gives the slide; the crank angle then turns the pin onto the target.
bool solveTurnThenSlide(const Loop& loop, Values& out) {
    Slide slide;
    if (!slideInPlane(*loop.g.link, *loop.p.link, slide)) return false;
    const Plane& plane = slide.plane;
    const Point2 dir = slide.dir;
    const Point2 pivot = plane.of(loop.g.link->axisB);
    const Point2 pin = plane.of(loop.f.link->axisA) - pivot;
    const Point2 reach = plane.of(loop.target) - pivot;
    const double along = dot(pin, dir);
    const double rod2 = dot(reach, reach) - (dot(pin, pin) - along * along);
    if (!(rod2 >= 0.0)) return false;  // the slide passes the pivot farther out than the target
    // The pin stays on the side of the slide's foot where it is now.
    const Point2 dirNow = plane.of(loop.now(loop.p.link->axisA, *loop.p.parent) -
                                   loop.now(loop.p.link->axisB, *loop.p.parent));
    const Point2 pinNow = plane.of(loop.now(loop.f.link->axisA, *loop.f.parent)) - pivot;
    const double side = dot(pinNow, dirNow) < 0.0 ? -1.0 : 1.0;
    const double travel = side * std::sqrt(rod2) - along;
    out.parent = travel / slide.unit;
    out.grandparent = turn(pin + dir * travel, reach);
    return true;
}

// Kind 3: the grandparent slides the parent's pivot along a line, the parent turns the rod
// about it. The pivot stops where the rod reaches the target: the target's foot on the slide,
// offset by the square root of (rod length squared - the target's distance from the slide
// squared).
bool solveSlideThenTurn(const Loop& loop, Values& out) {
    Slide slide;
    if (!slideInPlane(*loop.p.link, *loop.g.link, slide)) return false;
    const Plane& plane = slide.plane;
    const Point2 dir = slide.dir;
    const Point2 pivot = plane.of(loop.p.link->axisB);
    const Point2 rod = plane.of(loop.f.link->axisA) - pivot;
    const Point2 reach = plane.of(loop.target) - pivot;
    const double along = dot(reach, dir);
    const double root2 = dot(rod, rod) - (dot(reach, reach) - along * along);
    if (!(root2 >= 0.0)) return false;  // the rod is shorter than the target's offset
    // The rod keeps pointing the way along the slide that it points now.
    const Point2 rodNow = plane.of(loop.now(loop.f.link->axisA, *loop.f.parent) -
                                   loop.now(loop.p.link->axisB, *loop.p.parent));
    const double side = dot(rodNow, dir) < 0.0 ? -1.0 : 1.0;
    const double travel = along - side * std::sqrt(root2);
    out.grandparent = travel / slide.unit;
    out.parent = turn(rod, reach - dir * travel);
    return true;
}

// Kind 4: the grandparent turns the arm about its pivot, the parent turns the coupler about the
// arm's end. The arm's end lies the arm's length from the pivot and the coupler's length from
// the target; the arm's turn is its angle there, the coupler's the difference between the
// coupler's whole turn and the arm's.
bool solveTurnThenTurn(const Loop& loop, Values& out) {
    const Vec3 armAxis = unitAxis(*loop.g.link), couplerAxis = unitAxis(*loop.p.link);
    if (isZero(armAxis) || isZero(couplerAxis)) return false;
    const Plane plane(armAxis);
    const Point2 pivot = plane.of(loop.g.link->axisB);
    const Point2 joint = plane.of(loop.p.link->axisB);
    const Point2 arm = joint - pivot;
    const Point2 coupler = plane.of(loop.f.link->axisA) - joint;
    const Point2 reach = plane.of(loop.target) - pivot;
    const double a2 = dot(arm, arm), d = length(reach);
    if (!(a2 > 0.0) || !(d > 0.0)) return false;
    const double along = (a2 - dot(coupler, coupler) + d * d) / (2.0 * d);
    const double aside2 = a2 - along * along;
    if (!(aside2 >= 0.0)) return false;  // the target is out of reach or too near
    // The linkage stays on the side it stands on now: the sign of arm x coupler.
    const Point2 jointNow = plane.of(loop.now(loop.p.link->axisB, *loop.p.parent));
    const Point2 pinNow = plane.of(loop.now(loop.f.link->axisA, *loop.f.parent));
    const double side = cross(jointNow - pivot, pinNow - jointNow) < 0.0 ? 1.0 : -1.0;
    const Point2 e = reach * (1.0 / d), normal{-e.y, e.x};
    const Point2 jointThen = pivot + e * along + normal * (side * std::sqrt(aside2));
    out.grandparent = turn(arm, jointThen - pivot);
    const double couplerTurn = turn(coupler, plane.of(loop.target) - jointThen);
    // A coupler axis pointing against the arm's turns the other way round.
    const double sense = orv::dot(couplerAxis, armAxis) < 0.0 ? -1.0 : 1.0;
    out.parent = wrapAngle(sense * (couplerTurn - out.grandparent));
    return true;
}

// The kind fixes the axis: purely rotational links take angles, purely linear ones distances.
void setValue(Lnk& link, double value) {
    if (link.rot)
        link.rotCur = value - link.rotOffset;
    else
        link.linCur = value - link.linOffset;
}

// The follower's own angle: its target body's turn relative to its source body, about the
// follower's axis.
void setFollowerAngle(const HostCallbacks& host, const Joint& follower) {
    Lnk& link = *follower.link;
    const Vec3 axis = unitAxis(link);
    if (!link.rot || isZero(axis)) return;
    Mat4 relative = bodyMatrix(host, follower.parent->body);
    invert(relative);
    preMultiply(relative, bodyMatrix(host, follower.child->body));
    const Plane plane(axis);
    Vec3 d = plane.e1;
    transformDirection(d, relative);
    link.rotCur = turn(plane.of(plane.e1), plane.of(d)) - link.rotOffset;
}

}  // namespace

// ---- Closing a loop ----------------------------------------------------------------------------

bool loopOpen(const HostCallbacks& host, const Joint& follower) {
    Vec3 a = follower.link->axisA, b = follower.link->axisA;
    transformPoint(a, bodyMatrix(host, follower.child->body));
    transformPoint(b, bodyMatrix(host, follower.parent->body));
    return !(orv::length(a - b) < kLoopTolerance);
}

bool closeLoop(const HostCallbacks& host, const Joint& follower, MotionOrder& scratch) {
    const Joint& parent = *follower.parentJoint;
    const Joint& grandparent = *parent.parentJoint;
    // The solvers move straight axes only.
    if (ridesPath(*parent.link) || ridesPath(*grandparent.link)) return false;

    Loop loop{host, follower, parent, grandparent, grandparent.parent->above, {}};
    invert(loop.toRest);
    loop.target = loop.now(follower.link->axisA, *follower.child);
    Values values{};
    const bool solved = follower.kind == kJointFollowerRotLin   ? solveTurnThenSlide(loop, values)
                        : follower.kind == kJointFollowerLinRot ? solveSlideThenTurn(loop, values)
                                                                : solveTurnThenTurn(loop, values);
    if (!solved) return false;
    setValue(*grandparent.link, values.grandparent);
    setValue(*parent.link, values.parent);

    scratch.clear();
    appendMotionOrder(*grandparent.child, scratch);
    resetMotion(host, scratch);
    grandparent.child->above = grandparent.parent->above;
    applyLinkMotion(*grandparent.link, grandparent.axis, grandparent.child->above);
    composeMotion(host, scratch);
    setFollowerAngle(host, follower);
    return !loopOpen(host, follower);
}

}  // namespace orv
