// The production search against the literal octree walk on random scenes made to provoke every
// place where a shortcut could differ (ties, edges and corners, grazing and axis-parallel rays,
// odd host normals, degenerate triangles, partial occluders): ray by ray, every field of the hit;
// whole images byte by byte; shadow segments through the lights' cache entries.
#include <cmath>
#include <cstring>
#include <vector>

#include "raytrace/shadow_cache.h"
#include "raytrace_fixture.h"
#include "reference_intersect.h"

namespace {

using orv::Hit;
using orv::Ray;
using orv::RayKind;
using orv::Vec3;

class Random {
public:
    explicit Random(uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15ull + 1) {}
    uint64_t next() {  // splitmix64
        uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    double uniform() { return static_cast<double>(next() >> 11) * 0x1.0p-53; }
    double range(double lo, double hi) { return lo + (hi - lo) * uniform(); }
    Vec3 vec(double lo, double hi) { return Vec3{range(lo, hi), range(lo, hi), range(lo, hi)}; }
    int below(size_t n) { return static_cast<int>(next() % n); }
    bool chance(double p) { return uniform() < p; }

private:
    uint64_t state_;
};

template <typename T>  // a double or a Vec3
bool sameBits(const T& a, const T& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

struct Corners {
    Vec3 p[3];
};

// One random scene in a render context, with the materials it uses.
struct RandomScene {
    // everyOccluderBlocks: every material blocks light completely.
    RandomScene(uint64_t seed, int width, int height, bool everyOccluderBlocks = false)
        : rng(seed) {
        orv::setBuiltInDefaults(env);
        env.standardLights = rng.chance(0.5) ? 0x81u : 0u;
        ctx.env = &env;
        const Vec3 eye{rng.range(-1, 1), rng.range(-1, 1), rng.range(4, 6)};
        orv::setUpCamera(
            ctx, orv::CameraSetup{eye, {0, 0, 0}, {0, 1, 0}, 50, 1, 0, 0, 1, width, height});
        const double opacities[] = {1.0, 0.9999995, 1.0, 0.5, 0.25};
        for (Mat& m : mats) {
            orv::setBuiltInDefaults(m);
            m.opacity = opacities[rng.below(everyOccluderBlocks ? 2 : 5)];
            m.castShadow = rng.chance(0.85) ? 1u : 0u;
            m.receiveShadow = rng.chance(0.9) ? 1u : 0u;
            m.reflection = rng.chance(0.3) ? 0.6 : 0.0;
            m.refraction = rng.chance(0.5) ? 1.5 : 1.0;
            m.diffuse = Vec3{rng.uniform(), rng.uniform(), rng.uniform()};
        }
        const int count = rng.below(4);
        for (int k = 0; k < count; ++k) {
            Lgt& l = lightStore[k];
            orv::setBuiltInDefaults(l);
            l.type = rng.below(3);
            l.position = Vec3{rng.range(-3, 3), rng.range(-3, 3), rng.range(-1, 4)};
            l.shadow = rng.chance(0.8) ? 1u : 0u;
            lights[k] = &l;
        }
        lights[count] = nullptr;
        ctx.lights = lights;
        for (int b = 1 + rng.below(6); b > 0; --b) addBody();
        orv::finishScene(ctx);
    }
    ~RandomScene() { orv::freeScene(ctx.scene); }

    // Corners at random within a cube, or on a coarse grid about its centre (ties), repeated
    // corners (ties), collinear ones; host normals mostly the corners' own, now and then random,
    // zero or smoothed.
    void addBody() {
        orv::GeometryItem item;
        item.newBody = 1;
        item.material = &mats[rng.below(5)];
        item.twoSided = rng.chance(0.3) ? 1 : 0;
        const bool grid = rng.chance(0.5);
        const double sizes[] = {1.5, 0.3, 0.02};
        const double size = sizes[rng.below(3)];
        const Vec3 centre = rng.vec(-1, 1);
        for (int i = 1 + rng.below(30); i > 0; --i, item.newBody = 0) {
            Corners c;
            if (!triangles.empty() && rng.chance(0.15)) {
                c = triangles[rng.below(triangles.size())];
                if (rng.chance(0.5)) std::swap(c.p[1], c.p[2]);
            } else {
                for (Vec3& p : c.p) {
                    p = grid ? Vec3{centre.x + 0.5 * rng.below(5) - 1,
                                    centre.y + 0.5 * rng.below(5) - 1,
                                    centre.z + 0.5 * rng.below(3) - 0.5}
                             : centre + rng.vec(-size, size);
                }
                if (rng.chance(0.03)) c.p[2] = 0.5 * (c.p[0] + c.p[1]);
            }
            triangles.push_back(c);
            Vec3 n;
            orv::triangleNormal(n, c.p[0], c.p[1], c.p[2]);
            const int normalKind = rng.below(20);
            if (normalKind == 0) n = rng.vec(-1, 1);
            if (normalKind == 1) n = Vec3{0, 0, 0};
            const bool smooth = rng.chance(0.2);
            Vec3 normals[3];
            for (Vec3& m : normals) m = smooth ? Vec3{n.x + rng.range(-0.3, 0.3), n.y, n.z} : n;
            orv_test::setItem(item, c.p, normals, n);
            orv::addTriangle(ctx, item);
        }
    }

    Random rng;
    Env env;
    Mat mats[5];
    Lgt lightStore[3];
    Lgt* lights[4];
    orv::RenderContext ctx;
    std::vector<Corners> triangles;
};

// A corner, an edge point, a point just outside an edge (in or beyond the tolerance) or inside.
Vec3 pointOnTriangle(Random& rng, const Corners& c) {
    const Vec3 a = c.p[1] - c.p[0], b = c.p[2] - c.p[0];
    switch (rng.below(4)) {
        case 0: return c.p[rng.below(3)];
        case 1: {
            const int i = rng.below(3);
            const double w = rng.chance(0.5) ? 0.5 : rng.uniform();
            return c.p[i] + w * (c.p[(i + 1) % 3] - c.p[i]);
        }
        case 2: {
            const double u = -rng.range(0, 2e-6);
            return c.p[0] + u * a + rng.uniform() * b;
        }
        default: {
            const double u = rng.uniform(), v = rng.uniform() * (1 - u);
            return c.p[0] + u * a + v * b;
        }
    }
}

// A point beside a random edge, outside it by less than the tolerance.
Vec3 besideAnEdge(Random& rng, const Corners& c) {
    const Vec3 a = c.p[1] - c.p[0], b = c.p[2] - c.p[0];
    const double along = rng.uniform(), out = rng.range(0, 1e-6);
    switch (rng.below(3)) {
        case 0: return c.p[0] - out * a + along * b;
        case 1: return c.p[0] + along * a - out * b;
        default: return c.p[0] + (along + out) * a + (1 - along) * b;
    }
}

// A ray of any kind, most of them from or towards the scene's own triangles.
Ray randomRay(RandomScene& scene, double& bound) {
    Random& rng = scene.rng;
    const orv::RenderContext& ctx = scene.ctx;
    const int kind = rng.below(4);
    bound = 1e99;
    if (kind == 0) {
        // Pixels of the image (screen tiles), sometimes just beyond it (the hierarchy).
        const int beyond = rng.chance(0.1) ? 3 : 0;
        const int column = rng.below(ctx.width + 2 * beyond) - beyond;
        const int row = rng.below(ctx.height + 2 * beyond) - beyond;
        const double jitter = rng.chance(0.5) ? 0.0 : rng.range(-0.5, 0.5);
        const Vec3 dir = orv::primaryDirection(ctx, orv::screenX(ctx, column + jitter),
                                               orv::screenY(ctx, row + jitter));
        return Ray{ctx.eye, dir, RayKind::Primary, column - ctx.centreX, row - ctx.centreY};
    }
    const Corners& from = scene.triangles[rng.below(scene.triangles.size())];
    const Corners& to = scene.triangles[rng.below(scene.triangles.size())];
    const Vec3 origin = rng.chance(0.6) ? pointOnTriangle(rng, from) : rng.vec(-3, 3);
    Vec3 dir;
    if (rng.chance(0.2)) {  // along an axis or in an axis plane: components exactly 0
        dir.x = rng.chance(0.5) ? rng.range(-1, 1) : 0.0;
        dir.y = rng.chance(0.5) ? rng.range(-1, 1) : 0.0;
        dir.z = dir.x == 0.0 && dir.y == 0.0 ? (rng.chance(0.5) ? 1.0 : -1.0) : rng.range(-1, 1);
    } else {
        dir = rng.vec(-1, 1);
    }
    orv::normalise(dir);
    if (rng.chance(0.6)) {
        dir = pointOnTriangle(rng, to) - origin;
        if (kind == 3) bound = orv::length(dir) - 1e-6;
        orv::normalise(dir);
    }
    if (kind == 3 && bound == 1e99) bound = rng.range(0.1, 6);
    if (kind != 3 && rng.chance(0.1)) bound = rng.range(0.1, 6);
    return Ray{origin, dir, static_cast<RayKind>(kind)};
}

::testing::AssertionResult sameHit(bool wantMet, const Hit& want, bool gotMet, const Hit& got) {
    if (wantMet == gotMet && want.body == got.body && want.triangle == got.triangle &&
        sameBits(want.t, got.t) && sameBits(want.visibility, got.visibility) &&
        want.inside == got.inside && sameBits(want.point, got.point) &&
        sameBits(want.normal, got.normal) && sameBits(want.geometricNormal, got.geometricNormal)) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure()
           << "t " << want.t << "/" << got.t << ", V " << want.visibility << "/" << got.visibility;
}

TEST(DifferentialTest, EveryRayFindsWhatTheOctreeWalkFinds) {
    constexpr int kScenes = 3000, kRays = 200;
    int hits = 0, blocked = 0, partial = 0;
    for (int s = 0; s < kScenes; ++s) {
        RandomScene scene(s, 24, 18);
        const orv::Scene& built = scene.ctx.scene;
        for (int r = 0; r < kRays; ++r) {
            double bound;
            const Ray ray = randomRay(scene, bound);
            Hit want, got;
            want.t = got.t = bound;
            const bool shadow = ray.kind == RayKind::Shadow;
            const bool wantMet = shadow ? orv_test::referenceTraceShadow(built, ray, want)
                                        : orv_test::referenceFindNearest(built, ray, want);
            const bool gotMet =
                shadow ? orv::traceShadow(built, ray, got) : orv::findNearest(built, ray, got);
            ASSERT_TRUE(sameHit(wantMet, want, gotMet, got))
                << "scene " << s << ", ray " << r << ", kind " << static_cast<int>(ray.kind);
            hits += !shadow && wantMet;
            blocked += shadow && wantMet;
            partial += shadow && !wantMet && want.visibility < 1.0;
        }
    }
    EXPECT_GT(hits, kScenes * kRays / 8);
    EXPECT_GT(blocked, kScenes * kRays / 40);
    EXPECT_GT(partial, kScenes * kRays / 400);
}

TEST(DifferentialTest, ImagesMatchTheOctreeWalkByteForByte) {
    constexpr int kScenes = 1000;
    int differentPixels = 0;
    for (int s = 0; s < kScenes; ++s) {
        RandomScene scene(100000 + s, 16, 12);
        orv::RenderContext walk = scene.ctx, search = scene.ctx;  // caches of their own
        walk.intersector = &orv_test::kReferenceIntersector;
        const std::vector<orv_test::RgbRow> want = orv_test::traceImage(walk);
        ASSERT_TRUE(want == orv_test::traceImage(search)) << "scene " << 100000 + s;
        for (const orv_test::RgbRow& row : want) {
            for (size_t i = 0; i < row.size(); i += 3) {
                differentPixels +=
                    !std::equal(row.begin() + i, row.begin() + i + 3, want[0].begin());
            }
        }
    }
    EXPECT_GT(differentPixels, kScenes * 16 * 12 / 8);  // not a blank background
}

// In scenes whose occluders all block: the search that takes any occluder and settles a light's
// cache entry only when it matters, against the walk with its entries always settled. Segments
// pass by the triangle that blocked before, so an entry may block where the walk reaches nothing.
TEST(DifferentialTest, ShadowCacheEntriesAnswerAsTheWalksEntries) {
    constexpr int kScenes = 1500, kSegments = 200;
    constexpr int kLights[] = {0, 1, 100};  // the last one has no cache entry
    int blocked = 0, open = 0, entryAlone = 0, compared = 0;
    for (int s = 0; s < kScenes; ++s) {
        RandomScene scene(200000 + s, 8, 6, true);
        orv::RenderContext& lazy = scene.ctx;
        ASSERT_TRUE(lazy.scene.everyOccluderBlocks);
        orv::RenderContext walk = lazy;  // the same scene, entries of its own
        walk.intersector = &orv_test::kReferenceIntersector;
        Random& rng = scene.rng;
        const auto& tris = scene.triangles;
        Vec3 lightAt[3];
        int lastTriangle[3] = {};
        for (Vec3& p : lightAt) p = Vec3{rng.range(-3, 3), rng.range(-3, 3), rng.range(-1, 4)};
        for (int i = 0; i < kSegments; ++i) {
            const int l = rng.below(3), k = kLights[l];
            if (rng.chance(0.5)) lastTriangle[l] = rng.below(tris.size());
            Corners c = tris[lastTriangle[l]];
            const orv::Triangle* entry =
                k < orv::kShadowCacheSize ? walk.shadowCache[k].triangle : nullptr;
            if (entry && rng.chance(0.5)) c = Corners{{entry->p0, entry->p1, entry->p2}};
            const Vec3 through = rng.chance(0.5) ? besideAnEdge(rng, c) : pointOnTriangle(rng, c);
            Vec3 dir = lightAt[l] - through;
            orv::normalise(dir);
            const Vec3 origin = through - rng.range(0.001, 1.0) * dir;
            const double end = orv::length(lightAt[l] - origin) - 1e-6;
            const Ray ray{origin, dir, RayKind::Shadow};
            if (k < orv::kShadowCacheSize) {
                const orv::ShadowCacheEntry& e = walk.shadowCache[k];
                Hit search;
                search.t = end;
                entryAlone += e.triangle &&
                              orv::cachedTriangleBlocks(*e.body, *e.triangle, ray, end) &&
                              !orv_test::referenceTraceShadow(walk.scene, ray, search);
            }
            const double want = orv::shadowVisibility(walk, k, ray, end);
            const double got = orv::shadowVisibility(lazy, k, ray, end);
            ASSERT_TRUE(want < 1e-6 ? got < 1e-6 : sameBits(want, got))
                << "scene " << s << ", segment " << i << ": " << want << " / " << got;
            blocked += want < 1e-6;
            open += want == 1.0;
            if (k < orv::kShadowCacheSize && rng.chance(0.1)) {
                orv::settleShadowCache(lazy, k);
                ASSERT_EQ(walk.shadowCache[k].triangle, lazy.shadowCache[k].triangle)
                    << "scene " << s << ", segment " << i;
                ++compared;
            }
        }
    }
    EXPECT_GT(blocked, kScenes * kSegments / 10);
    EXPECT_GT(open, kScenes * kSegments / 10);
    EXPECT_GT(compared, kScenes * kSegments / 40);
    EXPECT_GE(entryAlone, 10);  // 17 with these seeds
}

}  // namespace
