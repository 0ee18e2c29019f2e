// The vector helpers and the matrix builders: composition order, rotation sense, the ten-digit
// degree factor, exact neutral shortcuts, inversion (singular too) and the frames.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>

#include "math/mat4.h"
#include "math/vec3.h"

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

void expectMatNear(const Mat4& want, const Mat4& got, double tol) {
    for (int i = 0; i < 16; ++i) EXPECT_NEAR(want.m[i], got.m[i], tol) << i;
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

TEST(Vec3Test, NormaliseZeroesDegenerateVectorsAndScalesByReciprocal) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const Vec3 cases[][2] = {
        {{0, 0, 0}, {0, 0, 0}},      {{nan, 0, 0}, {0, 0, 0}},       {{1, 2, nan}, {0, 0, 0}},
        {{1e-200, 0, 0}, {0, 0, 0}},  // the squares underflow: length exactly 0
        {{0, -2, 0}, {0, -1, 0}},    {{3, 0, 4}, {3 * 0.2, 0, 0.8}},  // times 1/5, one ulp above
                                                                      // 3/5
    };
    for (const auto& c : cases) {
        Vec3 v = c[0];
        orv::normalise(v);
        expectVecNear(c[1], v, 0.0);
    }
}

TEST(Vec3Test, TriangleNormalFacesViewerForCounterClockwiseCorners) {
    // Seen from +z, (0,1), (0,0), (1,0) runs counter-clockwise; seen from +x, (y,z) = (0,2),
    // (0,0), (3,0) does too.
    const Vec3 cases[][4] = {
        {{0, 1, 5}, {0, 0, 5}, {1, 0, 5}, {0, 0, 1}},
        {{1, 0, 5}, {0, 0, 5}, {0, 1, 5}, {0, 0, -1}},
        {{7, 0, 2}, {7, 0, 0}, {7, 3, 0}, {1, 0, 0}},
        {{0, 0, 0}, {1, 1, 1}, {2, 2, 2}, {0, 0, 0}},  // collinear: no direction
    };
    for (const auto& c : cases) {
        Vec3 n;
        orv::triangleNormal(n, c[0], c[1], c[2]);
        expectVecNear(c[3], n, 0.0);
    }
}

TEST(Vec3Test, LinePlaneIntersectFindsCrossingPoint) {
    const Vec3 cases[][3] = {
        // origin, direction, crossing with the plane z = 2
        {{1, 1, 0}, {0, 0, 1}, {1, 1, 2}},
        {{0, 0, 0}, {1, 1, 1}, {2, 2, 2}},
        {{4, -1, 10}, {0, 0, -0.5}, {4, -1, 2}},
    };
    for (const auto& c : cases) {
        Vec3 q;
        // Listing the plane's points in reverse flips its normal, which must not matter.
        orv::linePlaneIntersect(c[0], c[1], {0, 0, 2}, {1, 0, 2}, {0, 1, 2}, q);
        expectVecNear(c[2], q, 0.0);
        orv::linePlaneIntersect(c[0], c[1], {0, 1, 2}, {1, 0, 2}, {0, 0, 2}, q);
        expectVecNear(c[2], q, 0.0);
    }
}

TEST(Vec3Test, WrapAnglesAddsOrSubtractsOneTurnOnce) {
    const Vec3 cases[][2] = {
        {{190, -190, 600}, {-170, 170, 240}},
        {{180, -180, 0}, {180, -180, 0}},
        {{540, -540, 541}, {180, -180, 181}},
    };
    for (const auto& c : cases) {
        Vec3 a = c[0];
        orv::wrapAngles(a);
        expectVecNear(c[1], a, 0.0);
    }
}

// Quarter turns, right-handed, with the ten-digit pi: cos 90 degrees comes out near 4.9e-11.
TEST(Mat4Test, QuarterTurnsAreRightHandedWithTenDigitPi) {
    // volatile: the rotation calls the runtime's cos, which may differ from a folded constant.
    volatile double radians = 90 * orv::kDegToRad;
    const double c = std::cos(radians), s = std::sin(radians);
    EXPECT_GT(c, 4e-11);
    EXPECT_LT(c, 5e-11);
    const struct {
        void (*rotate)(Mat4&, double);
        Vec3 from, to;
    } cases[] = {
        {orv::rotateX, {0, 1, 0}, {0, c, s}}, {orv::rotateX, {0, 0, 1}, {0, -s, c}},
        {orv::rotateY, {0, 0, 1}, {s, 0, c}}, {orv::rotateY, {1, 0, 0}, {c, 0, -s}},
        {orv::rotateZ, {1, 0, 0}, {c, s, 0}}, {orv::rotateZ, {0, 1, 0}, {-s, c, 0}},
    };
    for (const auto& r : cases) {
        Mat4 m = kIdentity;
        r.rotate(m, 90);
        expectVecNear(r.to, point(r.from, m), 0.0);
    }
}

TEST(Mat4Test, NeutralArgumentsLeaveMatrixBitForBit) {
    // -0.0 entries: a real product with an identity would turn them into +0.0.
    const Mat4 start = {{-0.0, 2, 3, 0, 5, -0.0, 7, 0, 9, 10, -0.0, 0, 13, 14, 15, 1}};
    static const Vec3 kZero{0, 0, 0}, kOne{1, 1, 1}, kMinusZero{-0.0, 0, 0};
    const std::function<void(Mat4&)> ops[] = {
        [](Mat4& m) { orv::translate(m, kMinusZero); },
        [](Mat4& m) { orv::scale(m, kOne); },
        [](Mat4& m) { orv::rotateX(m, 0); },
        [](Mat4& m) { orv::rotateY(m, -0.0); },
        [](Mat4& m) { orv::rotateZ(m, 0); },
        [](Mat4& m) { orv::placeInverse(m, kZero, kOne, kZero); },
        [](Mat4& m) { orv::rotateAboutLine(m, kOne, kOne, 0); },
    };
    for (const auto& op : ops) {
        Mat4 m = start;
        op(m);
        EXPECT_EQ(0, std::memcmp(&start, &m, sizeof m));
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

TEST(Mat4Test, PreMultiplyRoundsAsTheSumInOrderEvenWhenAliased) {
    // Mixed magnitudes and signs: another order of the sum (or a fused multiply-add) shows.
    uint64_t state = 12345;
    auto next = [&state] {
        state = state * 6364136223846793005u + 1442695040888963407u;
        const double unit = double(state >> 11) / double(1ull << 53);
        return (unit - 0.5) * std::ldexp(1.0, int(state % 41) - 20);
    };
    for (int trial = 0; trial < 200; ++trial) {
        Mat4 b, m;
        for (double& v : b.m) v = next();
        for (double& v : m.m) v = next();
        const Mat4 want = product(b, m), squared = product(b, b);
        orv::preMultiply(m, b);
        ASSERT_EQ(0, std::memcmp(&want, &m, sizeof m)) << "trial " << trial;
        m = b;
        orv::preMultiply(m, m);
        ASSERT_EQ(0, std::memcmp(&squared, &m, sizeof m)) << "trial " << trial;
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

// The inverse is the adjugate times the reciprocal of the determinant; a singular matrix keeps
// its adjugate. Integer entries keep every cofactor exact, whatever the order of the arithmetic.
TEST(Mat4Test, InvertScalesAdjugateByReciprocalOfDeterminant) {
    const Mat4 cases[][2] = {
        // det 5: entry (0,0) is 3 * (1/5), one ulp above 3/5, the value a division would give.
        {{{2, 1, 0, 0, 1, 3, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}},
         {{3 * 0.2, -0.2, 0, 0, -0.2, 2 * 0.2, 0, 0, 0, 0, 5 * 0.2, 0, 0, 0, 0, 5 * 0.2}}},
        // Row 1 zero: every cofactor outside row 1 vanishes, only column 1 remains.
        {{{2, -1, 3, 4, 0, 0, 0, 0, 5, 2, -3, 1, -2, 6, 1, 7}},
         {{0, -78, 0, 0, 0, -159, 0, 0, 0, -189, 0, 0, 0, 141, 0, 0}}},
        // Rows 0 and 2 equal.
        {{{1, 2, 3, 4, 2, -1, 0, 5, 1, 2, 3, 4, -3, 1, 2, 6}},
         {{-5, 0, 5, 0, -75, 0, 75, 0, 69, 0, -69, 0, -13, 0, 13, 0}}},
    };
    for (const auto& c : cases) {
        Mat4 m = c[0];
        orv::invert(m);
        expectMatNear(c[1], m, 0.0);
    }
}

TEST(Mat4Test, PlaceInverseUndoesPlace) {
    const Vec3 cases[][3] = {
        // position, scale, angles
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
    const Vec3 cases[][2] = {
        // point, unit direction
        {{1, 2, 3}, {0, 0, 1}},  {{0, 0, 0}, {1, 0, 0}},  {{-1, 5, 2}, {0, 1, 0}},
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
    const Vec3 cases[][2] = {
        {{1, 2, 3}, {0, 0, 1}}, {{-4, 0.5, 1}, {0, 1, 0}}, {{0, 3, 0}, {1, 0, 1}}};
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
    expectVecNear({1 * 2 + 2 * 1 + 3 * -0.5, 1 * -1 + 2 * 3 + 3 * 1.5, 1 * 0.5 + 2 * -2 + 3 * 4}, v,
                  0.0);
    expectVecNear({v.x + 7, v.y - 3, v.z + 2}, point({1, 2, 3}, kGeneral), 0.0);
}

}  // namespace
