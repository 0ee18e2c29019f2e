// Tests of the vector helpers: the normalisation rule, normal orientation, line/plane
// intersection and angle wrapping.
#include "math/vec3.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using orv::Vec3;

void expectVecEq(const Vec3& want, const Vec3& got) {
    EXPECT_EQ(want.x, got.x);
    EXPECT_EQ(want.y, got.y);
    EXPECT_EQ(want.z, got.z);
}

TEST(Vec3Test, NormaliseZeroesDegenerateVectorsAndScalesByReciprocal) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const Vec3 cases[][2] = {
        {{0, 0, 0}, {0, 0, 0}},
        {{nan, 0, 0}, {0, 0, 0}},
        {{1, 2, nan}, {0, 0, 0}},
        {{1e-200, 0, 0}, {0, 0, 0}},  // the squares underflow: length exactly 0
        {{0, -2, 0}, {0, -1, 0}},
        {{3, 0, 4}, {3 * 0.2, 0, 0.8}},  // times 1/5, one ulp above 3/5
    };
    for (const auto& c : cases) {
        Vec3 v = c[0];
        orv::normalise(v);
        expectVecEq(c[1], v);
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
        expectVecEq(c[3], n);
    }
}

TEST(Vec3Test, LinePlaneIntersectFindsCrossingPoint) {
    const Vec3 cases[][3] = {  // origin, direction, crossing with the plane z = 2
        {{1, 1, 0}, {0, 0, 1}, {1, 1, 2}},
        {{0, 0, 0}, {1, 1, 1}, {2, 2, 2}},
        {{4, -1, 10}, {0, 0, -0.5}, {4, -1, 2}},
    };
    for (const auto& c : cases) {
        Vec3 q;
        // Listing the plane's points in reverse flips its normal, which must not matter.
        orv::linePlaneIntersect(c[0], c[1], {0, 0, 2}, {1, 0, 2}, {0, 1, 2}, q);
        expectVecEq(c[2], q);
        orv::linePlaneIntersect(c[0], c[1], {0, 1, 2}, {1, 0, 2}, {0, 0, 2}, q);
        expectVecEq(c[2], q);
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
        expectVecEq(c[1], a);
    }
}

}  // namespace
