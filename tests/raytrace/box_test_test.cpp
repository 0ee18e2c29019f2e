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

void setBox(FourBoxes& boxes, int c, const float lo[3], const float hi[3]) {
    for (int k = 0; k < 3; ++k) {
        boxes.box[0][k][c] = lo[k];
        boxes.box[1][k][c] = hi[k];
    }
}

// The slab test written out plainly, one box at a time: the definition that the exact test
// of four boxes must compute, NaN handling included.
bool plainSlabTest(const RayBoxes& r, const FourBoxes& b, int c, double bound, double& entry) {
    const float* planes = &b.box[0][0][0];
    double tmin = (double{planes[r.nearPlane[0] + c]} - r.nearOrigin[0]) * r.inv[0];
    double tmax = (double{planes[r.farPlane[0] + c]} - r.farOrigin[0]) * r.inv[0];
    for (int k = 1; k < 3; ++k) {
        const double tn = (double{planes[r.nearPlane[k] + c]} - r.nearOrigin[k]) * r.inv[k];
        const double tf = (double{planes[r.farPlane[k] + c]} - r.farOrigin[k]) * r.inv[k];
        if (tn > tmin) tmin = tn;
        if (tf < tmax) tmax = tf;
    }
    entry = tmin;
    return tmin <= tmax && tmax >= 0.0 && tmin <= bound;
}

TEST(BoxTest, AxisParallelRaysMeetASlabAllOrNothingWithinTheOriginsMargin) {
    // From the origin along +x: the y and z slabs must hold the origin, widened by 1e-9.
    const Ray ray{{0, 0, 0}, {1, 0, 0}, RayKind::Shadow};
    const RayBoxes boxes(ray);
    const struct {
        float yLo, yHi;
        bool met;
    } cases[] = {
        {-1.0f, 1.0f, true},  {0.0f, 1.0f, true},   {-1.0f, 0.0f, true},
        {5e-10f, 1.0f, true}, {2e-9f, 1.0f, false}, {-1.0f, -2e-9f, false},
    };
    for (const auto& c : cases) {
        FourBoxes four{};
        for (int slot = 0; slot < 4; ++slot) {
            const float lo[3] = {1, c.yLo, -1}, hi[3] = {2, c.yHi, 1};
            setBox(four, slot, lo, hi);
        }
        double entry[4];
        const unsigned in = boxes.entersFour(four, RayBoxes::Bound(10.0), entry);
        EXPECT_EQ(in, c.met ? 0xfu : 0u) << c.yLo << " " << c.yHi;
        if (c.met) {
            EXPECT_EQ(entry[0], (1.0 - 1e-9) * 1.0);
        }
    }
}

TEST(BoxTest, BoundAndBackwardBoxesDecide) {
    const Ray ray{{0, 0, 0}, {0, 0, 1}, RayKind::Reflection};
    const RayBoxes boxes(ray);
    FourBoxes four{};
    const float zLo[4] = {1, 1, -3, 2}, zHi[4] = {2, 2, -2, 3};
    for (int c = 0; c < 4; ++c) {
        const float lo[3] = {-1, -1, zLo[c]}, hi[3] = {1, 1, zHi[c]};
        setBox(four, c, lo, hi);
    }
    double entry[4];
    // Box 2 lies behind the origin; box 3 starts beyond the bound 1.5.
    EXPECT_EQ(boxes.entersFour(four, RayBoxes::Bound(1.5), entry), 0x3u);
    EXPECT_EQ(boxes.entersFour(four, RayBoxes::Bound(kInf), entry), 0xbu);
}

// Random rays with boxes built to touch them: faces exactly at a point of the ray, boxes
// shrunk to a point, faces a few steps off; bounds exactly at an entry parameter.
class RandomBoxes {
public:
    explicit RandomBoxes(uint32_t seed) : rng_(seed) {}

    double uniform(double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(rng_); }
    int pick(int n) { return std::uniform_int_distribution<int>(0, n - 1)(rng_); }

    Ray ray() {
        const double scales[] = {1e-3, 1.0, 1e3, 1e6};
        const double s = scales[pick(4)];
        Vec3 o{uniform(-s, s), uniform(-s, s), uniform(-s, s)};
        if (pick(4) == 0) o = Vec3{std::round(o.x), std::round(o.y), std::round(o.z)};
        Vec3 d{uniform(-1, 1), uniform(-1, 1), uniform(-1, 1)};
        const double small[] = {0.0, 1e-29, -1e-20, 1e-8};
        if (pick(3) == 0) d.x = small[pick(4)];
        if (pick(4) == 0) d.y = small[pick(4)];
        orv::normalise(d);
        return Ray{o, d, RayKind::Shadow};
    }

    // A box around (or touching) the ray's point at t.
    void box(const Ray& ray, double t, float lo[3], float hi[3]) {
        const double p[3] = {ray.origin.x + t * ray.dir.x, ray.origin.y + t * ray.dir.y,
                             ray.origin.z + t * ray.dir.z};
        for (int k = 0; k < 3; ++k) {
            const float at = static_cast<float>(p[k]);
            const double size = std::fabs(p[k]) * 1e-6 + uniform(0, 1e-3);
            switch (pick(5)) {
                case 0: lo[k] = at, hi[k] = at; break;  // a point
                case 1: lo[k] = at, hi[k] = static_cast<float>(p[k] + size); break;
                case 2: lo[k] = static_cast<float>(p[k] - size), hi[k] = at; break;
                case 3:  // just beside
                    lo[k] = std::nextafter(at, kInf), hi[k] = static_cast<float>(p[k] + size);
                    break;
                default: lo[k] = static_cast<float>(p[k] - size), hi[k] = static_cast<float>(p[k] + size);
            }
        }
    }

private:
    std::mt19937 rng_;
};

TEST(BoxTest, FourLanesComputeThePlainSlabTest) {
    RandomBoxes random(7);
    for (int n = 0; n < 20000; ++n) {
        const Ray ray = random.ray();
        const RayBoxes boxes(ray);
        FourBoxes four{};
        for (int c = 0; c < 4; ++c) {
            float lo[3], hi[3];
            random.box(ray, random.uniform(-1, 10), lo, hi);
            if (random.pick(50) == 0) lo[random.pick(3)] = std::numeric_limits<float>::quiet_NaN();
            setBox(four, c, lo, hi);
        }
        const double bound = random.pick(4) == 0 ? kInf : random.uniform(0, 10);
        double entry[4];
        const unsigned in = boxes.entersFourExact(four, bound, entry);
        for (int c = 0; c < 4; ++c) {
            double plainEntry;
            const bool plain = plainSlabTest(boxes, four, c, bound, plainEntry);
            ASSERT_EQ((in >> c) & 1u, plain ? 1u : 0u) << n;
            if (plain) {
                ASSERT_EQ(entry[c], plainEntry) << n;
            }
        }
    }
}

#if ORV_SSE2
TEST(BoxTest, SinglePrecisionAcceptsEveryBoxTheExactTestAccepts) {
    RandomBoxes random(11);
    int exactAccepted = 0, quickRays = 0, boundaryBounds = 0;
    for (int n = 0; n < 100000; ++n) {
        const Ray ray = random.ray();
        const RayBoxes boxes(ray);
        if (!boxes.quick) continue;
        ++quickRays;
        FourBoxes four{};
        for (int c = 0; c < 4; ++c) {
            float lo[3], hi[3];
            random.box(ray, random.uniform(-1, 10), lo, hi);
            setBox(four, c, lo, hi);
        }
        double entry[4];
        double bound = random.uniform(0, 10);
        if (random.pick(3) == 0) {  // the bound exactly at an entry: the closest call
            boxes.entersFourExact(four, kInf, entry);
            if (entry[0] >= 0.0) bound = entry[0], ++boundaryBounds;
        }
        const unsigned exact = boxes.entersFourExact(four, bound, entry);
        double quickEntry[4];
        const unsigned quick = boxes.entersFourQuick(four, RayBoxes::Bound(bound).rounded, quickEntry);
        ASSERT_EQ(exact & ~quick, 0u) << "ray " << n;
        for (int c = 0; c < 4; ++c) {
            if (!((exact >> c) & 1u)) continue;
            ++exactAccepted;
            ASSERT_LE(quickEntry[c], entry[c]) << "ray " << n;
        }
    }
    // The random cases really exercise the test.
    EXPECT_GT(quickRays, 50000);
    EXPECT_GT(exactAccepted, 50000);
    EXPECT_GT(boundaryBounds, 5000);
}
#endif

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
    for (const auto& c : cases) {
        const RayBoxes boxes(Ray{c.origin, c.dir, RayKind::Shadow});
#if ORV_SSE2
        EXPECT_EQ(boxes.quick, c.quick) << c.origin.x << " " << c.dir.x;
#endif
        // Either way, entersFour answers as the exact test does for an ordinary box.
        FourBoxes four{};
        for (int s = 0; s < 4; ++s) {
            const float lo[3] = {-5, -5, -5}, hi[3] = {5, 5, 5};
            setBox(four, s, lo, hi);
        }
        double entry[4], exactEntry[4];
        EXPECT_EQ(boxes.entersFour(four, RayBoxes::Bound(100.0), entry) & 1u,
                  boxes.entersFourExact(four, 100.0, exactEntry) & 1u);
    }
}

TEST(BoxTest, RoundingTowardsASideGivesTheNeighbouringFloats) {
    const double values[] = {0.1, -0.1, 1e-40, -1e-40, 1e-50, 3.5e38, -3.5e38, 1.0, 0.0, -2.5};
    for (double x : values) {
        const float up = orv::roundTowards(x, true), down = orv::roundTowards(x, false);
        EXPECT_GE(double{up}, x) << x;
        EXPECT_LE(double{down}, x) << x;
        if (static_cast<double>(static_cast<float>(x)) == x) {
            EXPECT_EQ(up, down) << x;  // representable values stay as they are
        } else {
            EXPECT_EQ(std::nextafter(down, std::numeric_limits<float>::infinity()), up) << x;
        }
    }
}

}  // namespace
