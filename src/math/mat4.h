// mat4.h - 4x4 placement matrices of doubles.
//
// Conventions shared by the kinematics, the texture mapping, the preview and the raytracer:
// - row-major storage, entry (r, c) is m[4 * r + c];
// - points are row vectors, p' = [x y z 1] * M, so the translation sits in m[12..14];
// - every builder pre-multiplies (M := X * M): the step added last acts on a point first,
//   like a fixed-function pipeline's matrix stack;
// - angles are in degrees, converted with kDegToRad;
// - neutral arguments (zero offset, unit scale, zero angle) are tested exactly and skip the
//   product, leaving M bit for bit unchanged.
// Nothing allocates; every function works in place on caller-owned storage.
#ifndef ORVANTA_MATH_MAT4_H
#define ORVANTA_MATH_MAT4_H

#include "math/vec3.h"

namespace orv {

struct Mat4 {
    double m[16];
};

// Ten-digit pi on purpose: the kinematics, the texture mapping and the raytracer all convert
// with this same factor, so their matrices agree to the last bit.
constexpr double kDegToRad = 3.1415926535 / 180.0;
static_assert(kDegToRad == 0.017453292519444445, "degree factor must use ten-digit pi");

// M := identity.
void identity(Mat4& m);
// M := B * M, through a temporary so that M and B may be the same matrix.
void preMultiply(Mat4& m, const Mat4& b);
// M := inverse(B) * M, inverting a copy of B with invert(); B is unchanged.
void preMultiplyInverse(Mat4& m, const Mat4& b);
// M := adjugate of M (transpose of its cofactor matrix).
void adjugate(Mat4& m);
// M := inverse of M; a singular M (determinant exactly 0) is left holding its adjugate.
void invert(Mat4& m);
// M := T * M with T the translation by t; no-op when t is exactly (0, 0, 0).
void translate(Mat4& m, const Vec3& t);
// M := S * M with S = diag(s.x, s.y, s.z, 1); no-op when s is exactly (1, 1, 1).
void scale(Mat4& m, const Vec3& s);
// M := R * M, R the right-handed rotation by angle degrees about X; no-op for exactly 0.
void rotateX(Mat4& m, double angle);
// M := R * M, R the right-handed rotation by angle degrees about Y; no-op for exactly 0.
void rotateY(Mat4& m, double angle);
// M := R * M, R the right-handed rotation by angle degrees about Z; no-op for exactly 0.
void rotateZ(Mat4& m, double angle);
// rotateX(a.x), rotateY(a.y), rotateZ(a.z) in this order.
void rotateXYZ(Mat4& m, const Vec3& a);
// Undoes rotateXYZ: rotateZ(-a.z), rotateY(-a.y), rotateX(-a.x).
void rotateXYZInverse(Mat4& m, const Vec3& a);
// Placement: translate(p), rotateXYZ(a), scale(s), so a point is scaled, rotated, then moved.
void place(Mat4& m, const Vec3& p, const Vec3& s, const Vec3& a);
// Undoes place(p, s, a); a zero scale factor is not guarded and yields infinities.
void placeInverse(Mat4& m, const Vec3& p, const Vec3& s, const Vec3& a);
// M := frame that carries the local +Z axis onto the line through p along d (unit d).
void axisFrame(Mat4& m, const Vec3& p, const Vec3& d);
// M := R * M, R the right-handed rotation by angle degrees about the line through p along d;
// the length of d does not matter. No-op for an angle of exactly 0.
void rotateAboutLine(Mat4& m, const Vec3& p, const Vec3& d, double angle);
// The frame of a line that rotateAboutLine conjugates with, and its inverse: kept by callers
// that turn about the same line again and again.
struct LineFrame {
    Mat4 frame, inverse;
};
// f := the frames of the line through p along d (any length).
void lineFrame(LineFrame& f, const Vec3& p, const Vec3& d);
// rotateAboutLine about the line whose frames f holds: the same matrix, bit for bit.
void rotateAboutLine(Mat4& m, const LineFrame& f, double angle);
// M := view frame taking a world point q to (q.c, q.e, q.a): view direction a becomes +Z,
// side c = |a x up|, up e = |c x a| (a and up are normalised first).
void lookFrame(Mat4& m, const Vec3& a, const Vec3& up);
// p := [p 1] * M, translation included.
void transformPoint(Vec3& p, const Mat4& m);
// v := v * (upper-left 3x3 of M): no translation, no renormalisation.
void transformDirection(Vec3& v, const Mat4& m);

}  // namespace orv

#endif  // ORVANTA_MATH_MAT4_H
