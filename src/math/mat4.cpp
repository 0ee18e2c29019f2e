// mat4.cpp - 4x4 placement matrices (conventions in mat4.h).
//
// Sections
//   1. Elementary matrices and products: identity, preMultiply
//   2. Inversion: adjugate, invert, preMultiplyInverse
//   3. Builders: translate, scale, rotateX/Y/Z, rotateXYZ(Inverse), place(Inverse)
//   4. Frames: axisFrame, lineFrame, rotateAboutLine, lookFrame
//   5. Applying a matrix: transformPoint, transformDirection
#include "math/mat4.h"

#include <cmath>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif
// On x86-64 the product also has a four-column form for processors with AVX, chosen when the
// library loads.
#if defined(__GNUC__) && defined(__x86_64__)
#define ORV_MAT4_AVX 1
#include <immintrin.h>
#endif

namespace orv {

namespace {

constexpr Mat4 kIdentity = {{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}};

Mat4 identityMatrix() {
    return kIdentity;
}

// Determinant of the 3x3 block of rows ra, rb, rc and columns 1 to 3, as the six products
// of one entry from each column.
double minorOfColumns123(const double* m, int ra, int rb, int rc) {
    const double a = m[4 * ra + 1], b = m[4 * ra + 2], c = m[4 * ra + 3];
    const double d = m[4 * rb + 1], e = m[4 * rb + 2], f = m[4 * rb + 3];
    const double g = m[4 * rc + 1], h = m[4 * rc + 2], i = m[4 * rc + 3];
    return a * e * i + b * f * g + c * d * h - c * e * g - b * d * i - a * f * h;
}

#if defined(ORV_MAT4_AVX)
// preMultiply four columns at a time: the same products, added in the same order (AVX has no
// fused multiply-add, so nothing is contracted).
__attribute__((target("avx"))) void preMultiplyAvx(Mat4& m, const Mat4& b) {
    const __m256d a0 = _mm256_loadu_pd(m.m), a1 = _mm256_loadu_pd(m.m + 4);
    const __m256d a2 = _mm256_loadu_pd(m.m + 8), a3 = _mm256_loadu_pd(m.m + 12);
    for (int j = 0; j < 4; ++j) {
        const double* bj = &b.m[4 * j];
        const __m256d r = _mm256_add_pd(
            _mm256_add_pd(_mm256_add_pd(_mm256_mul_pd(_mm256_broadcast_sd(bj), a0),
                                        _mm256_mul_pd(_mm256_broadcast_sd(bj + 1), a1)),
                          _mm256_mul_pd(_mm256_broadcast_sd(bj + 2), a2)),
            _mm256_mul_pd(_mm256_broadcast_sd(bj + 3), a3));
        _mm256_storeu_pd(m.m + 4 * j, r);  // after row j of b is read: m and b may be the same
    }
}

bool processorHasAvx() {
    __builtin_cpu_init();  // this runs before main, where the processor model is not yet read
    return __builtin_cpu_supports("avx");
}

const bool kHasAvx = processorHasAvx();
#endif

}  // namespace

// ---------------------------------------------------------------------------------------
// 1. Elementary matrices and products
// ---------------------------------------------------------------------------------------

void identity(Mat4& m) {
    m = kIdentity;
}

void preMultiply(Mat4& m, const Mat4& b) {
#if defined(ORV_MAT4_AVX)
    if (kHasAvx) {
        preMultiplyAvx(m, b);
        return;
    }
#endif
#if defined(__SSE2__)
    // Two columns at a time, m held in registers. Each entry is the same sum of the same
    // products as below, added in the same order, so the result is the same to the last bit.
    // Row j of the product is stored once row j of b is read, so m and b may be the same
    // matrix (squaring).
    const double* a = m.m;
    const __m128d a0l = _mm_loadu_pd(a + 0), a0h = _mm_loadu_pd(a + 2);
    const __m128d a1l = _mm_loadu_pd(a + 4), a1h = _mm_loadu_pd(a + 6);
    const __m128d a2l = _mm_loadu_pd(a + 8), a2h = _mm_loadu_pd(a + 10);
    const __m128d a3l = _mm_loadu_pd(a + 12), a3h = _mm_loadu_pd(a + 14);
    auto row = [&](int j) {
        const double* bj = &b.m[4 * j];
        const __m128d b0 = _mm_set1_pd(bj[0]), b1 = _mm_set1_pd(bj[1]);
        const __m128d b2 = _mm_set1_pd(bj[2]), b3 = _mm_set1_pd(bj[3]);
        const __m128d l = _mm_add_pd(
            _mm_add_pd(_mm_add_pd(_mm_mul_pd(b0, a0l), _mm_mul_pd(b1, a1l)), _mm_mul_pd(b2, a2l)),
            _mm_mul_pd(b3, a3l));
        const __m128d h = _mm_add_pd(
            _mm_add_pd(_mm_add_pd(_mm_mul_pd(b0, a0h), _mm_mul_pd(b1, a1h)), _mm_mul_pd(b2, a2h)),
            _mm_mul_pd(b3, a3h));
        _mm_storeu_pd(m.m + 4 * j, l);
        _mm_storeu_pd(m.m + 4 * j + 2, h);
    };
    row(0);
    row(1);
    row(2);
    row(3);
#else
    // The product goes into a temporary: m and b may be the same matrix (squaring).
    Mat4 r;
    for (int j = 0; j < 4; ++j) {
        const double* bj = &b.m[4 * j];
        for (int i = 0; i < 4; ++i) {
            r.m[4 * j + i] =
                bj[0] * m.m[i] + bj[1] * m.m[4 + i] + bj[2] * m.m[8 + i] + bj[3] * m.m[12 + i];
        }
    }
    m = r;
#endif
}

// ---------------------------------------------------------------------------------------
// 2. Inversion
// ---------------------------------------------------------------------------------------

void adjugate(Mat4& m) {
    const double a00 = m.m[0], a01 = m.m[1], a02 = m.m[2], a03 = m.m[3];
    const double a10 = m.m[4], a11 = m.m[5], a12 = m.m[6], a13 = m.m[7];
    const double a20 = m.m[8], a21 = m.m[9], a22 = m.m[10], a23 = m.m[11];
    const double a30 = m.m[12], a31 = m.m[13], a32 = m.m[14], a33 = m.m[15];

    // 2x2 sub-determinants of rows 2 and 3 serve the cofactors of rows 0 and 1 ...
    const double s01 = a20 * a31 - a21 * a30, s02 = a20 * a32 - a22 * a30;
    const double s03 = a20 * a33 - a23 * a30, s12 = a21 * a32 - a22 * a31;
    const double s13 = a21 * a33 - a23 * a31, s23 = a22 * a33 - a23 * a32;
    // ... and those of rows 0 and 1 the cofactors of rows 2 and 3.
    const double t01 = a00 * a11 - a01 * a10, t02 = a00 * a12 - a02 * a10;
    const double t03 = a00 * a13 - a03 * a10, t12 = a01 * a12 - a02 * a11;
    const double t13 = a01 * a13 - a03 * a11, t23 = a02 * a13 - a03 * a12;

    // Cofactor C(r, c) goes to entry (c, r): the adjugate is the transposed cofactor matrix.
    double* o = m.m;
    o[0] = a11 * s23 - a12 * s13 + a13 * s12;
    o[4] = -(a10 * s23 - a12 * s03 + a13 * s02);
    o[8] = a10 * s13 - a11 * s03 + a13 * s01;
    o[12] = -(a10 * s12 - a11 * s02 + a12 * s01);

    o[1] = -(a01 * s23 - a02 * s13 + a03 * s12);
    o[5] = a00 * s23 - a02 * s03 + a03 * s02;
    o[9] = -(a00 * s13 - a01 * s03 + a03 * s01);
    o[13] = a00 * s12 - a01 * s02 + a02 * s01;

    o[2] = a31 * t23 - a32 * t13 + a33 * t12;
    o[6] = -(a30 * t23 - a32 * t03 + a33 * t02);
    o[10] = a30 * t13 - a31 * t03 + a33 * t01;
    o[14] = -(a30 * t12 - a31 * t02 + a32 * t01);

    o[3] = -(a21 * t23 - a22 * t13 + a23 * t12);
    o[7] = a20 * t23 - a22 * t03 + a23 * t02;
    o[11] = -(a20 * t13 - a21 * t03 + a23 * t01);
    o[15] = a20 * t12 - a21 * t02 + a22 * t01;
}

void invert(Mat4& m) {
    // Laplace expansion along the first column.
    const double* a = m.m;
    const double det = a[0] * minorOfColumns123(a, 1, 2, 3) -
                       a[4] * minorOfColumns123(a, 0, 2, 3) +
                       a[8] * minorOfColumns123(a, 0, 1, 3) -
                       a[12] * minorOfColumns123(a, 0, 1, 2);
    adjugate(m);
    // A singular matrix keeps its adjugate: callers get no status, and the adjugate is the
    // documented, repeatable result rather than a half-scaled one.
    if (det != 0.0) {
        const double inv = 1.0 / det;
        for (double& v : m.m) {
            v *= inv;
        }
    }
}

void preMultiplyInverse(Mat4& m, const Mat4& b) {
    Mat4 inv = b;
    invert(inv);
    preMultiply(m, inv);
}

// ---------------------------------------------------------------------------------------
// 3. Builders
// ---------------------------------------------------------------------------------------
// The exact comparisons skip a 64-multiplication product in the common neutral case.

void translate(Mat4& m, const Vec3& t) {
    if (t.x == 0.0 && t.y == 0.0 && t.z == 0.0) {
        return;
    }
    Mat4 x = identityMatrix();
    x.m[12] = t.x;
    x.m[13] = t.y;
    x.m[14] = t.z;
    preMultiply(m, x);
}

void scale(Mat4& m, const Vec3& s) {
    if (s.x == 1.0 && s.y == 1.0 && s.z == 1.0) {
        return;
    }
    Mat4 x = identityMatrix();
    x.m[0] = s.x;
    x.m[5] = s.y;
    x.m[10] = s.z;
    preMultiply(m, x);
}

// X and Y take cos/sin of the negated angle and Z of the angle itself, each placed so that
// all three turn right-handed by +angle for row vectors.
void rotateX(Mat4& m, double angle) {
    if (angle == 0.0) {
        return;
    }
    const double r = -angle * kDegToRad;
    const double c = std::cos(r), s = std::sin(r);
    Mat4 x = identityMatrix();
    x.m[5] = c;   // (1, 1)
    x.m[6] = -s;  // (1, 2)
    x.m[9] = s;   // (2, 1)
    x.m[10] = c;  // (2, 2)
    preMultiply(m, x);
}

void rotateY(Mat4& m, double angle) {
    if (angle == 0.0) {
        return;
    }
    const double r = -angle * kDegToRad;
    const double c = std::cos(r), s = std::sin(r);
    Mat4 x = identityMatrix();
    x.m[0] = c;   // (0, 0)
    x.m[2] = s;   // (0, 2)
    x.m[8] = -s;  // (2, 0)
    x.m[10] = c;  // (2, 2)
    preMultiply(m, x);
}

void rotateZ(Mat4& m, double angle) {
    if (angle == 0.0) {
        return;
    }
    const double r = angle * kDegToRad;
    const double c = std::cos(r), s = std::sin(r);
    Mat4 x = identityMatrix();
    x.m[0] = c;   // (0, 0)
    x.m[1] = s;   // (0, 1)
    x.m[4] = -s;  // (1, 0)
    x.m[5] = c;   // (1, 1)
    preMultiply(m, x);
}

void rotateXYZ(Mat4& m, const Vec3& a) {
    rotateX(m, a.x);
    rotateY(m, a.y);
    rotateZ(m, a.z);
}

void rotateXYZInverse(Mat4& m, const Vec3& a) {
    rotateZ(m, -a.z);
    rotateY(m, -a.y);
    rotateX(m, -a.x);
}

void place(Mat4& m, const Vec3& p, const Vec3& s, const Vec3& a) {
    translate(m, p);
    rotateXYZ(m, a);
    scale(m, s);
}

void placeInverse(Mat4& m, const Vec3& p, const Vec3& s, const Vec3& a) {
    // Steps of place() undone in reverse order. Records keep scale factors non-zero.
    scale(m, Vec3{1.0 / s.x, 1.0 / s.y, 1.0 / s.z});
    rotateXYZInverse(m, a);
    translate(m, -p);
}

// ---------------------------------------------------------------------------------------
// 4. Frames
// ---------------------------------------------------------------------------------------

void axisFrame(Mat4& m, const Vec3& p, const Vec3& d) {
    // R1 turns about Y by the direction's heading in the XZ plane; R2 tilts about X by its
    // elevation. R2 is a pure rotation only for a unit d.
    const double l = std::sqrt(d.x * d.x + d.z * d.z);
    Mat4 r1 = identityMatrix();
    if (l != 0.0) {
        r1.m[0] = d.z / l;    // (0, 0)
        r1.m[10] = d.z / l;   // (2, 2)
        r1.m[8] = d.x / l;    // (2, 0)
        r1.m[2] = -d.x / l;   // (0, 2)
    }
    Mat4 r2 = identityMatrix();
    r2.m[5] = l;      // (1, 1)
    r2.m[10] = l;     // (2, 2)
    r2.m[6] = d.y;    // (1, 2)
    r2.m[9] = -d.y;   // (2, 1)

    identity(m);
    translate(m, p);
    preMultiply(m, r1);
    preMultiplyInverse(m, r2);
}

void lineFrame(LineFrame& f, const Vec3& p, const Vec3& d) {
    // The frame is built on the unit direction: with a longer d, axisFrame's tilt would also
    // scale Y and Z, and conjugating a Z rotation by that scale would shear the result.
    Vec3 u = d;
    normalise(u);
    axisFrame(f.frame, p, u);
    f.inverse = f.frame;
    invert(f.inverse);
}

void rotateAboutLine(Mat4& m, const LineFrame& f, double angle) {
    if (angle == 0.0) {
        return;
    }
    preMultiply(m, f.frame);
    rotateZ(m, angle);
    preMultiply(m, f.inverse);
}

void rotateAboutLine(Mat4& m, const Vec3& p, const Vec3& d, double angle) {
    if (angle == 0.0) {
        return;
    }
    LineFrame f;
    lineFrame(f, p, d);
    rotateAboutLine(m, f, angle);
}

void lookFrame(Mat4& m, const Vec3& a, const Vec3& up) {
    Vec3 z, c, e;
    orthoFrame(a, up, z, c, e);
    identity(m);
    // Columns 0, 1, 2 hold c, e, a: p * M = (p.c, p.e, p.a).
    m.m[0] = c.x;
    m.m[4] = c.y;
    m.m[8] = c.z;
    m.m[1] = e.x;
    m.m[5] = e.y;
    m.m[9] = e.z;
    m.m[2] = z.x;
    m.m[6] = z.y;
    m.m[10] = z.z;
}

// ---------------------------------------------------------------------------------------
// 5. Applying a matrix
// ---------------------------------------------------------------------------------------

void transformPoint(Vec3& p, const Mat4& m) {
    const double* a = m.m;
    const Vec3 r{p.x * a[0] + p.y * a[4] + p.z * a[8] + a[12],
                 p.x * a[1] + p.y * a[5] + p.z * a[9] + a[13],
                 p.x * a[2] + p.y * a[6] + p.z * a[10] + a[14]};
    p = r;
}

void transformDirection(Vec3& v, const Mat4& m) {
    const double* a = m.m;
    const Vec3 r{v.x * a[0] + v.y * a[4] + v.z * a[8],
                 v.x * a[1] + v.y * a[5] + v.z * a[9],
                 v.x * a[2] + v.y * a[6] + v.z * a[10]};
    v = r;
}

}  // namespace orv
