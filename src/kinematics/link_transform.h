// How a link moves its target body: the motion it adds in front of its source body's matrix.
#pragma once

#include "math/mat4.h"

namespace orv {

// Degrees from radians and the quarter turn, with the rounded values the motion is defined by.
constexpr double kRadToDeg = 57.29577951471995;

// Degrees of the direction (x, y), measured from +Y towards +X: 0 for (0, 1), 90 for (1, 0),
// 90 + 180 k for the y = 0 cases by sign, 0 for the zero vector.
double directionAngle(double x, double y);

// The link carries its body along a path of at least two points instead of its straight axis.
bool ridesPath(const Lnk& link);

// What turning about a link's straight axis takes from its axis points, kept between steps by
// the joint that moves the link and built again when the points change.
struct AxisCache {
    Vec3 a, b;  // the points the frames were built from
    bool built;
    LineFrame line;
};

// What the motion along a link's straight axis reads of its record.
struct AxisValues {
    double linCur, linOffset, rotCur, rotOffset;
    Vec3 a, b;
    int32_t lin, rot;
};

AxisValues axisValues(const Lnk& link);

// m := (the link's motion) * m, with s = linCur + linear offset and the angle = rotCur +
// rotational offset (degrees). Without a path: a translation by s along the unit vector from
// B to A (when Lin is set) and a right-handed rotation by the angle about the line through B
// along it (when Rot is set). With a path: the body rides the path by the arc length s.
void applyLinkMotion(const Lnk& link, AxisCache& cache, Mat4& m);

// The motion without a path, from the record's values: applyLinkMotion's, bit for bit, for a
// link that rides no path and whose values these are.
void applyAxisMotion(const AxisValues& link, AxisCache& cache, Mat4& m);

}  // namespace orv
