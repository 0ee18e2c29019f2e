// The hierarchy's box test: the exact slab test in double precision, and the single-precision
// test that must accept at least every box the exact one accepts.
#include "raytrace/box_test.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

using orv::FourBoxes;
using orv::Ray;
using orv::RayBoxes;
using orv::RayKind;
using orv::Vec3;

constexpr double kInf = std::numeric_limits<double>::infinity();

// Box c of the four, or all four when c is -1.
void setBox(FourBoxes& boxes, int c, const float lo[3], const float hi[3]) {
    for (int slot = 0; slot < 4; ++slot) {
        for (int k = 0; (c < 0 || c == slot) && k < 3; ++k) {
            boxes.box[0][k][slot] = lo[k];
            boxes.box[1][k][slot] = hi[k];
        }
    }
}

// The slab test of one box written out plainly, NaN handling included.
bool plainSlabTest(const RayBoxes& r, const FourBoxes& b, int c, double bound, double& entry) {
    const float* planes = &b.box[0][0][0];
    double tmin = -kInf, tmax = kInf;
    for (int k = 0; k < 3; ++k) {
        const double tn = (double{planes[r.nearPlane[k] + c]} - r.nearOrigin[k]) * r.inv[k];
        const double tf = (double{planes[r.farPlane[k] + c]} - r.farOrigin[k]) * r.inv[k];
        if (k == 0 || tn > tmin) tmin = tn;
        if (k == 0 || tf < tmax) tmax = tf;
    }
    entry = tmin;
    return tmin <= tmax && tmax >= 0.0 && tmin <= bound;
}

TEST(BoxTest, SlabsMarginsBoundsAndBackwardBoxesDecide) {
    // Along +x from the origin: the y and z slabs must hold the origin, widened by 1e-9.
    const RayBoxes alongX(Ray{{0, 0, 0}, {1, 0, 0}, RayKind::Shadow});
    const struct {
        float yLo, yHi;
        bool met;
    } cases[] = {
        {-1.0f, 1.0f, true},  {0.0f, 1.0f, true},   {-1.0f, 0.0f, true},
        {5e-10f, 1.0f, true}, {2e-9f, 1.0f, false}, {-1.0f, -2e-9f, false},
    };
    double entry[4];
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.yLo << " " << c.yHi);
        FourBoxes four{};
        const float lo[3] = {1, c.yLo, -1}, hi[3] = {2, c.yHi, 1};
        setBox(four, -1, lo, hi);
        EXPECT_EQ(alongX.entersFour(four, RayBoxes::Bound(10.0), entry), c.met ? 0xfu : 0u);
        if (c.met) {
            EXPECT_EQ(entry[0], (1.0 - 1e-9) * 1.0);
        }
    }
    // Along +z: box 2 lies behind the origin; box 3 starts beyond the bound 1.5.
    const RayBoxes alongZ(Ray{{0, 0, 0}, {0, 0, 1}, RayKind::Reflection});
    FourBoxes four{};
    const float zLo[4] = {1, 1, -3, 2}, zHi[4] = {2, 2, -2, 3};
    for (int c = 0; c < 4; ++c) {
        const float lo[3] = {-1, -1, zLo[c]}, hi[3] = {1, 1, zHi[c]};
        setBox(four, c, lo, hi);
    }
    EXPECT_EQ(alongZ.entersFour(four, RayBoxes::Bound(1.5), entry), 0x3u);
    EXPECT_EQ(alongZ.entersFour(four, RayBoxes::Bound(kInf), entry), 0xbu);
}

// Random rays with boxes built to touch them (faces at a point of the ray, boxes shrunk to a
// point, faces a step off, now and then a NaN face) and bounds infinite, random or exactly at an
// entry: the exact test computes the plain one, and the quick test accepts every box the exact
// test accepts, entering no later.
TEST(BoxTest, RandomBoxesAgreeWithThePlainSlabTest) {
    std::mt19937 rng(7);
    auto uniform = [&](double lo, double hi) {
        return std::uniform_real_distribution<double>(lo, hi)(rng);
    };
    auto pick = [&](int n) { return std::uniform_int_distribution<int>(0, n - 1)(rng); };
    int exactAccepted = 0, quickRays = 0, boundaryBounds = 0;
    for (int n = 0; n < 100000; ++n) {
        const double scales[] = {1e-3, 1.0, 1e3, 1e6}, small[] = {0.0, 1e-29, -1e-20, 1e-8};
        const double scale = scales[pick(4)];
        Vec3 o{uniform(-scale, scale), uniform(-scale, scale), uniform(-scale, scale)};
        if (pick(4) == 0) o = Vec3{std::round(o.x), std::round(o.y), std::round(o.z)};
        Vec3 d{uniform(-1, 1), uniform(-1, 1), uniform(-1, 1)};
        if (pick(3) == 0) d.x = small[pick(4)];
        if (pick(4) == 0) d.y = small[pick(4)];
        orv::normalise(d);
        const RayBoxes boxes(Ray{o, d, RayKind::Shadow});
        FourBoxes four{};
        bool nan = false;  // SSE's minimum and maximum treat NaN otherwise: the exact test only
        for (int c = 0; c < 4; ++c) {
            const double t = uniform(-1, 10);
            const double p[3] = {o.x + t * d.x, o.y + t * d.y, o.z + t * d.z};
            float lo[3], hi[3];
            for (int k = 0; k < 3; ++k) {
                const double size = std::fabs(p[k]) * 1e-6 + uniform(0, 1e-3);
                const float at = static_cast<float>(p[k]), below = static_cast<float>(p[k] - size);
                const float above = static_cast<float>(p[k] + size);
                switch (pick(5)) {
                    case 0: lo[k] = hi[k] = at; break;
                    case 1: lo[k] = at, hi[k] = above; break;
                    case 2: lo[k] = below, hi[k] = at; break;
                    case 3: lo[k] = std::nextafter(at, kInf), hi[k] = above; break;
                    default: lo[k] = below, hi[k] = above;
                }
            }
            if (pick(50) == 0) {
                lo[pick(3)] = std::numeric_limits<float>::quiet_NaN();
                nan = true;
            }
            setBox(four, c, lo, hi);
        }
        double entry[4];
        double bound = pick(4) == 0 ? kInf : uniform(0, 10);
        if (pick(3) == 0) {  // the bound exactly at an entry: the closest call
            boxes.entersFourExact(four, kInf, entry);
            if (entry[0] >= 0.0) bound = entry[0], ++boundaryBounds;
        }
        const unsigned exact = boxes.entersFourExact(four, bound, entry);
        for (int c = 0; c < 4; ++c) {
            double plainEntry;
            const bool plain = plainSlabTest(boxes, four, c, bound, plainEntry);
            ASSERT_EQ((exact >> c) & 1u, plain ? 1u : 0u) << n;
            if (plain) {
                ASSERT_EQ(entry[c], plainEntry) << n;
            }
        }
#if ORV_SSE2
        if (!boxes.quick || nan) continue;
        ++quickRays;
        double quickEntry[4];
        const unsigned quick =
            boxes.entersFourQuick(four, RayBoxes::Bound(bound).rounded, quickEntry);
        ASSERT_EQ(exact & ~quick, 0u) << n;
        for (int c = 0; c < 4; ++c) {
            if (!((exact >> c) & 1u)) continue;
            ++exactAccepted;
            ASSERT_LE(quickEntry[c], entry[c]) << n;
        }
#endif
    }
    EXPECT_GT(boundaryBounds, 5000);  // the random cases really exercise the tests
#if ORV_SSE2
    EXPECT_GT(quickRays, 50000);
    EXPECT_GT(exactAccepted, 50000);
#endif
}

TEST(BoxTest, RaysOutOfSinglePrecisionRangeTakeTheExactTest) {
    const struct {
        Vec3 origin, dir;
        bool quick;
    } cases[] = {
        {{1, 2, 3}, {0.48, 0.6, 0.64}, true},
        {{1, 2, 3}, {0.6, 0, 0.8}, false},  // a zero component
        {{1, 2, 3}, {1e-31, 0.6, 0.8}, false},
        {{1e31, 2, 3}, {0.6, 0.8, 0}, false},
        {{1, std::nan(""), 3}, {0.6, 0.8, 0}, false},
    };
    FourBoxes four{};
    const float lo[3] = {-5, -5, -5}, hi[3] = {5, 5, 5};
    setBox(four, -1, lo, hi);
    for (const auto& c : cases) {
        const double originX = c.origin.x, dirX = c.dir.x;  // packed: copied before binding
        SCOPED_TRACE(::testing::Message() << originX << " " << dirX);
        const RayBoxes boxes(Ray{c.origin, c.dir, RayKind::Shadow});
#if ORV_SSE2
        EXPECT_EQ(boxes.quick, c.quick);
#endif
        // Either way, entersFour answers as the exact test does for an ordinary box.
        double entry[4], exactEntry[4];
        EXPECT_EQ(boxes.entersFour(four, RayBoxes::Bound(100.0), entry) & 1u,
                  boxes.entersFourExact(four, 100.0, exactEntry) & 1u);
    }
}

TEST(BoxTest, RoundingTowardsASideGivesTheNeighbouringFloats) {
    for (double x : {0.1, -0.1, 1e-40, -1e-40, 1e-50, 3.5e38, -3.5e38, 1.0, 0.0, -2.5}) {
        SCOPED_TRACE(x);
        const float up = orv::roundTowards(x, true), down = orv::roundTowards(x, false);
        EXPECT_GE(double{up}, x);
        EXPECT_LE(double{down}, x);
        // Representable values stay as they are; others lie between neighbouring floats.
        const bool exact = static_cast<double>(static_cast<float>(x)) == x;
        EXPECT_EQ(exact ? down : std::nextafter(down, std::numeric_limits<float>::infinity()), up);
    }
}

}  // namespace
