// Contents: the arctangent rule; a place on a path by arc length; the link's motion.
#include "kinematics/link_transform.h"

#include <cmath>
#include <cstring>

namespace orv {

double directionAngle(double x, double y) {
    if (y == 0.0) return x > 0.0 ? 90.0 : x < 0.0 ? -90.0 : 0.0;
    const double a = std::atan(x / y) * kRadToDeg;
    return y > 0.0 ? a : a + 180.0;
}

namespace {

constexpr double kClosedPath = 0.0001;  // first and last point closer than this: a loop

// One segment of a path in its XY plane: a chord, or an arc through its two ends.
struct Segment {
    double x0, y0, x1, y1;
    double bulge;  // signed arc height; positive bulges to the left of the direction of travel
    double radius = 0.0, length = 0.0;
    double cx = 0.0, cy = 0.0;  // centre of an arc

    Segment(const OrvVec3& from, const OrvVec3& to, double h)
        : x0(from.x), y0(from.y), x1(to.x), y1(to.y), bulge(h) {
        const double dx = x1 - x0, dy = y1 - y0;
        const double c = std::sqrt(dx * dx + dy * dy);
        if (bulge == 0.0 || c == 0.0) {
            bulge = 0.0;
            length = c;
            return;
        }
        const double h2 = std::fabs(bulge);
        radius = (4.0 * h2 * h2 + c * c) / (8.0 * h2);
        length = 2.0 * std::asin(c / (2.0 * radius)) * radius;
        // The centre lies on the chord's perpendicular, radius away from the arc's middle.
        const double nx = -dy / c, ny = dx / c;  // left of the direction of travel
        const double along = bulge - (bulge > 0.0 ? radius : -radius);
        cx = (x0 + x1) / 2.0 + along * nx;
        cy = (y0 + y1) / 2.0 + along * ny;
    }

    // The point and the direction of travel at arc length t from the start (t may lie beyond
    // either end: the motion goes on along the tangent there).
    void at(double t, double& x, double& y, double& tx, double& ty) const {
        if (bulge == 0.0) {
            const double c = length > 0.0 ? length : 1.0;
            tx = (x1 - x0) / c, ty = (y1 - y0) / c;
            x = x0 + tx * t, y = y0 + ty * t;
            return;
        }
        // Bulging left, the arc turns clockwise about its centre.
        const double turn = bulge > 0.0 ? -1.0 : 1.0;
        const double clamped = t < 0.0 ? 0.0 : t > length ? length : t;
        const double phi = turn * clamped / radius;
        const double rx = x0 - cx, ry = y0 - cy;
        const double c = std::cos(phi), s = std::sin(phi);
        const double px = rx * c - ry * s, py = rx * s + ry * c;
        x = cx + px, y = cy + py;
        tx = turn * -py / radius, ty = turn * px / radius;
        const double beyond = t - clamped;
        x += tx * beyond, y += ty * beyond;
    }
};

// The place at arc length s along the link's path: position and direction of travel.
void placeOnPath(const Lnk& link, double s, double& x, double& y, double& tx, double& ty) {
    const int n = link.pathCount;
    const OrvVec3* p = link.pathPoints;
    double total = 0.0;
    for (int i = 1; i < n; ++i) total += Segment(p[i - 1], p[i], link.pathBulges[i]).length;
    const OrvVec3 d = p[n - 1] - p[0];
    const bool closed = std::sqrt(d.x * d.x + d.y * d.y + d.z * d.z) < kClosedPath;
    if (closed && total > 0.0) {
        s = std::fmod(s, total);
        if (s < 0.0) s += total;
    }
    int i = 1;
    for (; i < n - 1; ++i) {
        const double length = Segment(p[i - 1], p[i], link.pathBulges[i]).length;
        if (s < length) break;
        s -= length;
    }
    Segment(p[i - 1], p[i], link.pathBulges[i]).at(s, x, y, tx, ty);
}

}  // namespace

bool ridesPath(const Lnk& link) {
    return link.pathCount >= 2 && link.pathPoints && link.pathBulges;
}

AxisValues axisValues(const Lnk& link) {
    return {link.linCur, link.linOffset, link.rotCur, link.rotOffset,
            link.axisA,  link.axisB,     link.lin,    link.rot};
}

void applyLinkMotion(const Lnk& link, AxisCache& cache, Mat4& m) {
    if (!ridesPath(link)) {
        applyAxisMotion(axisValues(link), cache, m);
        return;
    }
    // Relative to the body's place at s = 0, in the path's plane: the heading follows the
    // tangent; the rotational axis turns the body about the path's Z axis on top.
    const double s = link.linCur + link.linOffset;
    const double angle = link.rotCur + link.rotOffset;
    double x0, y0, tx0, ty0, x, y, tx, ty;
    placeOnPath(link, 0.0, x0, y0, tx0, ty0);
    placeOnPath(link, link.lin ? s : 0.0, x, y, tx, ty);
    Mat4 frame;
    std::memcpy(frame.m, link.pathFrame, sizeof frame.m);
    preMultiply(m, frame);
    translate(m, Vec3{x, y, 0.0});
    rotateZ(m, directionAngle(tx0, ty0) - directionAngle(tx, ty) + (link.rot ? angle : 0.0));
    translate(m, Vec3{-x0, -y0, 0.0});
    preMultiplyInverse(m, frame);
}

void applyAxisMotion(const AxisValues& link, AxisCache& cache, Mat4& m) {
    const double s = link.linCur + link.linOffset;
    const double angle = link.rotCur + link.rotOffset;
    const Vec3 a = link.a, b = link.b;
    Vec3 u = a - b;
    normalise(u);
    if (link.lin) translate(m, s * u);
    if (!link.rot || (u.x == 0.0 && u.y == 0.0 && u.z == 0.0) || angle == 0.0) return;
    // Bit for bit: a point that changed only in the sign of a zero builds other frames.
    if (!cache.built || std::memcmp(&cache.a, &a, sizeof a) != 0 ||
        std::memcmp(&cache.b, &b, sizeof b) != 0) {
        lineFrame(cache.line, b, u);
        cache.a = a, cache.b = b, cache.built = true;
    }
    rotateAboutLine(m, cache.line, angle);
}

}  // namespace orv
