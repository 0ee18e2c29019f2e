// Tests of the matrix builders: composition order, rotation sense, the ten-digit degree
// factor, exact neutral shortcuts, inversion (including the singular case) and the frames.
#include "math/mat4.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>

namespace {

using orv::Mat4;
using orv::Vec3;

const Mat4 kIdentity = {{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}};
// A general matrix: non-affine last column, no zero entries.
const Mat4 kGeneral = {{2, -1, 0.5, 0.25, 1, 3, -2, 0.125, -0.5, 1.5, 4, -0.25, 7, -3, 2, 1.5}};

// b * m, summed over k in ascending order.
Mat4 product(const Mat4& b, const Mat4& m) {
    Mat4 r;
    for (int j = 0; j < 4; ++j) {
        for (int i = 0; i < 4; ++i) {
            r.m[4 * j + i] = b.m[4 * j] * m.m[i];
            for (int k = 1; k < 4; ++k) r.m[4 * j + i] += b.m[4 * j + k] * m.m[4 * k + i];
        }
    }
    return r;
}

// Entry (c, r) is (-1)^(r+c) times the 3x3 minor without row r and column c.
Mat4 bruteAdjugate(const Mat4& a) {
    Mat4 adj;
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c) {
            double s[3][3];
            for (int i = 0, si = 0; i < 4; ++i) {
                for (int j = 0, sj = 0; j < 4 && i != r; ++j) {
                    if (j != c) s[si][sj++] = a.m[4 * i + j];
                }
                si += (i != r);
            }
            const double minor = s[0][0] * (s[1][1] * s[2][2] - s[1][2] * s[2][1]) -
                                 s[0][1] * (s[1][0] * s[2][2] - s[1][2] * s[2][0]) +
                                 s[0][2] * (s[1][0] * s[2][1] - s[1][1] * s[2][0]);
            adj.m[4 * c + r] = (r + c) % 2 ? -minor : minor;
        }
    }
    return adj;
}

void expectMatNear(const Mat4& want, const Mat4& got, double tol) {
    for (int i = 0; i < 16; ++i) EXPECT_NEAR(want.m[i], got.m[i], tol) << "entry " << i;
}

void expectVecNear(const Vec3& want, const Vec3& got, double tol) {
    EXPECT_NEAR(want.x, got.x, tol);
    EXPECT_NEAR(want.y, got.y, tol);
    EXPECT_NEAR(want.z, got.z, tol);
}

Vec3 point(Vec3 p, const Mat4& m) {
    orv::transformPoint(p, m);
    return p;
}

TEST(Mat4Test, RotateZ90UsesTenDigitPi) {
    Mat4 m = kIdentity;
    orv::rotateZ(m, 90);
    const Vec3 p = point({1, 0, 0}, m);
    // volatile: the compiler would fold cos of a constant with its own correctly rounded
    // value, while the rotation calls the C runtime's cos (msvcrt's differs in the last bit).
    volatile double radians = 90 * orv::kDegToRad;
    EXPECT_EQ(std::cos(radians), p.x);
    EXPECT_NE(0.0, p.x);
    EXPECT_GT(p.x, 4e-11);
    EXPECT_LT(p.x, 5e-11);
    EXPECT_EQ(std::sin(radians), p.y);
}

TEST(Mat4Test, NeutralArgumentsLeaveMatrixBitForBit) {
    // -0.0 entries: a real product with an identity would turn them into +0.0.
    const Mat4 start = {{-0.0, 2, 3, 0, 5, -0.0, 7, 0, 9, 10, -0.0, 0, 13, 14, 15, 1}};
    const std::function<void(Mat4&)> ops[] = {
        [](Mat4& m) { orv::translate(m, {-0.0, 0, 0}); },
        [](Mat4& m) { orv::scale(m, {1, 1, 1}); },
        [](Mat4& m) { orv::rotateX(m, 0); },
        [](Mat4& m) { orv::rotateY(m, -0.0); },
        [](Mat4& m) { orv::rotateZ(m, 0); },
        [](Mat4& m) { orv::placeInverse(m, {0, 0, 0}, {1, 1, 1}, {0, 0, 0}); },
        [](Mat4& m) { orv::rotateAboutLine(m, {1, 2, 3}, {0, 1, 1}, 0); },
    };
    for (const auto& op : ops) {
        Mat4 m = start;
        op(m);
        EXPECT_EQ(0, std::memcmp(&start, &m, sizeof m));
    }
}

TEST(Mat4Test, RotationsAreRightHanded) {
    const struct {
        void (*rotate)(Mat4&, double);
        Vec3 from, to;
    } cases[] = {
        {orv::rotateX, {0, 1, 0}, {0, 0, 1}}, {orv::rotateX, {0, 0, 1}, {0, -1, 0}},
        {orv::rotateY, {0, 0, 1}, {1, 0, 0}}, {orv::rotateY, {1, 0, 0}, {0, 0, -1}},
        {orv::rotateZ, {1, 0, 0}, {0, 1, 0}}, {orv::rotateZ, {0, 1, 0}, {-1, 0, 0}},
    };
    for (const auto& c : cases) {
        Mat4 m = kIdentity;
        c.rotate(m, 90);
        expectVecNear(c.to, point(c.from, m), 1e-9);
    }
}

TEST(Mat4Test, BuilderAddedLastActsFirst) {
    Mat4 m = kIdentity;
    orv::translate(m, {10, 20, 30});
    orv::rotateZ(m, 90);
    orv::scale(m, {2, 3, 4});
    expectVecNear({7, 22, 34}, point({1, 1, 1}, m), 1e-9);  // (2,3,4), (-3,2,4), moved

    m = kIdentity;
    orv::place(m, {1, 2, 3}, {2, 2, 2}, {90, 90, 0});
    // Scaled to (2,0,0), about Y to (0,0,-2), about X to (0,2,0), then moved.
    expectVecNear({1, 4, 3}, point({1, 0, 0}, m), 1e-9);
}

TEST(Mat4Test, PreMultiplyMatchesSeparateProductEvenWhenAliased) {
    const Mat4 b = {{0.5, 1, -2, 3, 0.25, -1, 4, 2, 1, 1.5, -0.5, 0, 3, 2, 1, 1}};
    const Mat4 wantBM = product(b, kGeneral), wantMM = product(kGeneral, kGeneral);
    Mat4 m = kGeneral;
    orv::preMultiply(m, b);
    EXPECT_EQ(0, std::memcmp(&wantBM, &m, sizeof m));
    m = kGeneral;
    orv::preMultiply(m, m);
    EXPECT_EQ(0, std::memcmp(&wantMM, &m, sizeof m));
}

TEST(Mat4Test, PreMultiplyRoundsAsTheSumInOrder) {
    // Entries of mixed magnitudes and signs, so that adding the four products in another order
    // (or fusing a multiply and an add) changes low bits.
    uint64_t state = 12345;
    auto next = [&state] {
        state = state * 6364136223846793005u + 1442695040888963407u;
        const double unit = double(state >> 11) / double(1ull << 53);
        return (unit - 0.5) * std::ldexp(1.0, int(state % 41) - 20);
    };
    for (int trial = 0; trial < 1000; ++trial) {
        Mat4 b, m;
        for (double& v : b.m) v = next();
        for (double& v : m.m) v = next();
        const Mat4 want = product(b, m);
        orv::preMultiply(m, b);
        ASSERT_EQ(0, std::memcmp(&want, &m, sizeof m)) << "trial " << trial;
    }
}

TEST(Mat4Test, InvertGivesInverse) {
    Mat4 placed = kIdentity;
    orv::place(placed, {4, -5, 6}, {2, 0.5, 3}, {30, -45, 60});
    for (const Mat4& a : {kGeneral, placed}) {
        Mat4 inv = a;
        orv::invert(inv);
        expectMatNear(kIdentity, product(a, inv), 1e-12);
        Mat4 m = a;
        orv::preMultiplyInverse(m, a);
        expectMatNear(kIdentity, m, 1e-12);
    }
}

TEST(Mat4Test, InvertScalesAdjugateByReciprocalOfDeterminant) {
    // det 5: entry (0,0) is 3 * (1/5), one ulp above 3/5, the value a division would give.
    const Mat4 a = {{2, 1, 0, 0, 1, 3, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}};
    Mat4 want = bruteAdjugate(a);
    for (double& v : want.m) v *= 1.0 / 5.0;
    Mat4 m = a;
    orv::invert(m);
    expectMatNear(want, m, 0.0);
}

TEST(Mat4Test, SingularMatrixKeepsItsAdjugate) {
    // Integer entries keep every cofactor exact, whatever the order of the arithmetic.
    const Mat4 zeroRow = {{2, -1, 3, 4, 0, 0, 0, 0, 5, 2, -3, 1, -2, 6, 1, 7}};
    const Mat4 equalRows = {{1, 2, 3, 4, 2, -1, 0, 5, 1, 2, 3, 4, -3, 1, 2, 6}};
    for (const Mat4& a : {zeroRow, equalRows}) {
        Mat4 m = a;
        orv::invert(m);
        expectMatNear(bruteAdjugate(a), m, 0.0);
    }
    // With row 1 zero, every cofactor outside row 1 vanishes: only column 1 remains.
    Mat4 m = zeroRow;
    orv::invert(m);
    for (int i = 0; i < 16; ++i) {
        EXPECT_EQ(i % 4 == 1, m.m[i] != 0.0) << "entry " << i;
    }
}

TEST(Mat4Test, PlaceInverseUndoesPlace) {
    const Vec3 cases[][3] = {  // position, scale, angles
        {{1, 2, 3}, {1, 1, 1}, {0, 0, 0}},
        {{0, 0, 0}, {2, 3, 4}, {0, 0, 0}},
        {{-4, 0.5, 9}, {1, 1, 1}, {30, 45, 60}},
        {{10, -20, 30}, {0.5, -2, 8}, {-170, 95, 12.5}},
    };
    for (const auto& c : cases) {
        Mat4 m = kIdentity;
        orv::place(m, c[0], c[1], c[2]);
        orv::placeInverse(m, c[0], c[1], c[2]);
        expectMatNear(kIdentity, m, 1e-12);
    }
}

TEST(Mat4Test, RotateAboutLineMatchesRodrigues) {
    const struct {
        Vec3 p, d;
        double angle;
    } cases[] = {
        {{0, 0, 0}, {0, 0, 5}, 90},       {{1, 2, 3}, {1, 2, 3}, 30},
        {{1, 2, 3}, {7, 14, 21}, 30},     {{-1, 0, 2}, {0, -2, 0}, 45},
        {{0.5, 0.5, 0}, {3, 0, 0}, -120}, {{2, -3, 1}, {-0.1, 0.4, 0.05}, 200},
    };
    Mat4 before = kIdentity;
    orv::place(before, {3, 1, -2}, {1, 2, 1}, {10, 20, 30});
    const Vec3 q{4, -1, 2.5};
    for (const auto& c : cases) {
        Mat4 m = before;
        orv::rotateAboutLine(m, c.p, c.d, c.angle);
        const double t = c.angle * orv::kDegToRad;
        const Vec3 k = (1 / std::sqrt(orv::dot(c.d, c.d))) * c.d;
        const Vec3 v = q - c.p;
        const Vec3 turned = c.p + std::cos(t) * v + std::sin(t) * orv::cross(k, v) +
                            (orv::dot(k, v) * (1 - std::cos(t))) * k;
        // The rotation acts on the point before the old matrix.
        expectVecNear(point(turned, before), point(q, m), 1e-9);
    }
}

TEST(Mat4Test, AxisFrameCarriesZAxisOntoLine) {
    const double h = std::sqrt(0.5);
    const Vec3 cases[][2] = {  // point, unit direction
        {{1, 2, 3}, {0, 0, 1}}, {{0, 0, 0}, {1, 0, 0}},  {{-1, 5, 2}, {0, 1, 0}},
        {{4, 4, 4}, {0, -1, 0}}, {{2, 0, -3}, {h, h, 0}}, {{0, 1, 0}, {0.6, 0, -0.8}},
    };
    for (const auto& c : cases) {
        Mat4 m;
        orv::axisFrame(m, c[0], c[1]);
        Vec3 z{0, 0, 1};
        orv::transformDirection(z, m);
        expectVecNear(c[1], z, 1e-12);
        expectVecNear(c[0], point({0, 0, 0}, m), 1e-12);
    }
}

TEST(Mat4Test, LookFrameProjectsOntoSideUpAndView) {
    const Vec3 cases[][2] = {{{1, 2, 3}, {0, 0, 1}}, {{-4, 0.5, 1}, {0, 1, 0}}, {{0, 3, 0}, {1, 0, 1}}};
    const Vec3 w{0.3, -2, 5};
    for (const auto& c : cases) {
        Mat4 m;
        orv::lookFrame(m, c[0], c[1]);
        // Side, up and view axes built independently: a x up, then side x a, all unit.
        const Vec3 a = (1 / std::sqrt(orv::dot(c[0], c[0]))) * c[0];
        Vec3 side = orv::cross(a, c[1]);
        side = (1 / std::sqrt(orv::dot(side, side))) * side;
        const Vec3 up = orv::cross(side, a);
        expectVecNear({orv::dot(w, side), orv::dot(w, up), orv::dot(w, a)}, point(w, m), 1e-12);
        expectVecNear({0, 0, 1}, point(a, m), 1e-12);
    }
}

TEST(Mat4Test, TransformDirectionIgnoresTranslation) {
    Vec3 v{1, 2, 3};
    orv::transformDirection(v, kGeneral);
    expectVecNear({1 * 2 + 2 * 1 + 3 * -0.5, 1 * -1 + 2 * 3 + 3 * 1.5, 1 * 0.5 + 2 * -2 + 3 * 4},
                  v, 0.0);
    expectVecNear({v.x + 7, v.y - 3, v.z + 2}, point({1, 2, 3}, kGeneral), 0.0);
}

}  // namespace
