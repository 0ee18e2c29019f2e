// vec3.h - three-component vectors: points, directions, degree triples, scales and colours.
//
// Vec3 is the public OrvVec3, so records and exported blocks hold it directly. The operators
// live in the global namespace next to OrvVec3, where argument-dependent lookup finds them;
// the named helpers live in namespace orv. Everything works on caller-owned values.
#ifndef ORVANTA_MATH_VEC3_H
#define ORVANTA_MATH_VEC3_H

#include "orvanta.h"

#include <cmath>

inline OrvVec3 operator+(const OrvVec3& a, const OrvVec3& b) {
    return OrvVec3{a.x + b.x, a.y + b.y, a.z + b.z};
}

inline OrvVec3 operator-(const OrvVec3& a, const OrvVec3& b) {
    return OrvVec3{a.x - b.x, a.y - b.y, a.z - b.z};
}

inline OrvVec3 operator-(const OrvVec3& a) {
    return OrvVec3{-a.x, -a.y, -a.z};
}

inline OrvVec3 operator*(const OrvVec3& a, double k) {
    return OrvVec3{a.x * k, a.y * k, a.z * k};
}

inline OrvVec3 operator*(double k, const OrvVec3& a) {
    return OrvVec3{k * a.x, k * a.y, k * a.z};
}

namespace orv {

using Vec3 = OrvVec3;

// Equal component by component (so -0 equals 0 and a not-a-number equals nothing).
inline bool sameVec(const Vec3& a, const Vec3& b) { return a.x == b.x && a.y == b.y && a.z == b.z; }

// Scalar product.
inline double dot(const Vec3& a, const Vec3& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

// Right-handed cross product a x b.
inline Vec3 cross(const Vec3& a, const Vec3& b) {
    return Vec3{a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

// Euclidean length.
inline double length(const Vec3& v) {
    return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

// Scales v to length 1; a zero-length or NaN vector becomes (0, 0, 0).
inline void normalise(Vec3& v) {
    const double len = length(v);
    // Written as "not strictly positive or negative" so that NaN takes the zero path too.
    if (!(len > 0.0 || len < 0.0)) {
        v = Vec3{0.0, 0.0, 0.0};
        return;
    }
    const double inv = 1.0 / len;
    v.x *= inv;
    v.y *= inv;
    v.z *= inv;
}

// Unit normal n of triangle a, b, c (b the shared corner); counter-clockwise faces the viewer.
inline void triangleNormal(Vec3& n, const Vec3& a, const Vec3& b, const Vec3& c) {
    Vec3 r = cross(c - b, a - b);
    normalise(r);
    n = r;
}

// Point q where the line o + t*d meets the plane through p1, p2, p3. Unguarded: a line
// parallel to the plane gives infinities or NaN, which the caller must avoid.
inline void linePlaneIntersect(const Vec3& o, const Vec3& d, const Vec3& p1, const Vec3& p2,
                               const Vec3& p3, Vec3& q) {
    Vec3 n = cross(p3 - p2, p1 - p2);
    normalise(n);
    const double t = dot(n, p2 - o) / dot(d, n);
    q = o + t * d;
}

// Orthonormal frame from a direction and an approximate up vector: dirUnit = |dir|,
// side = |dir x up|, upOrtho = |side x dir|. Outputs may share storage with the inputs.
inline void orthoFrame(const Vec3& dir, const Vec3& up, Vec3& dirUnit, Vec3& side,
                       Vec3& upOrtho) {
    Vec3 a = dir;
    Vec3 b = up;
    normalise(a);
    normalise(b);
    Vec3 c = cross(a, b);
    normalise(c);
    Vec3 e = cross(c, a);
    normalise(e);
    dirUnit = a;
    side = c;
    upOrtho = e;
}

// Brings each angle (degrees) towards [-180, 180] by adding or subtracting one turn at most,
// so a value beyond +-540 is left outside the range.
inline void wrapAngles(Vec3& a) {
    double* const comps[3] = {&a.x, &a.y, &a.z};
    for (double* c : comps) {
        if (*c < -180.0) {
            *c += 360.0;
        } else if (*c > 180.0) {
            *c -= 360.0;
        }
    }
}

}  // namespace orv

#endif  // ORVANTA_MATH_VEC3_H
