// The production search against the literal octree walk, on random scenes made to provoke
// every place where a shortcut could differ: exact ties (repeated and coplanar triangles on a
// coarse grid), rays through edges and corners, rays leaving surfaces, grazing and
// axis-parallel rays, host normals that disagree with the corners, degenerate triangles,
// semi-transparent occluders and bodies that cast no shadow. First ray by ray, every field of
// the hit compared; then whole antialiased images with lights, mirrors and glass, byte by byte.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "core/records.h"
#include "raytrace/render_context.h"
#include "raytrace/scene.h"
#include "raytrace/shadow_cache.h"
#include "raytrace/trace_row.h"
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
    int below(int n) { return static_cast<int>(next() % static_cast<uint64_t>(n)); }
    bool chance(double p) { return uniform() < p; }

private:
    uint64_t state_;
};

bool sameBits(const Vec3& a, const Vec3& b) { return std::memcmp(&a, &b, sizeof a) == 0; }
bool sameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

struct Corners {
    Vec3 p[3];
};

// One random scene in a render context, with the materials it uses.
class RandomScene {
public:
    // With everyOccluderBlocks, every material blocks light completely.
    RandomScene(uint64_t seed, int width, int height, bool everyOccluderBlocks = false)
        : rng_(seed), everyOccluderBlocks_(everyOccluderBlocks) {
        orv::setBuiltInDefaults(env_);
        env_.standardLights = rng_.chance(0.5) ? 0x81u : 0u;
        ctx_.env = &env_;
        const Vec3 eye{rng_.range(-1, 1), rng_.range(-1, 1), rng_.range(4, 6)};
        orv::setUpCamera(ctx_, orv::CameraSetup{eye, {0, 0, 0}, {0, 1, 0}, 50, 1, 0, 0, 1,
                                                width, height});
        makeMaterials();
        makeLights();
        const int bodies = 1 + rng_.below(6);
        for (int b = 0; b < bodies; ++b) addBody();
        orv::finishScene(ctx_);
    }
    ~RandomScene() { orv::freeScene(ctx_.scene); }

    orv::RenderContext& context() { return ctx_; }
    Random& rng() { return rng_; }
    const std::vector<Corners>& triangles() const { return corners_; }

private:
    void makeMaterials() {
        const double opacities[] = {1.0, 0.9999995, 1.0, 0.5, 0.25};
        for (Mat& m : mats_) {
            orv::setBuiltInDefaults(m);
            m.opacity = opacities[rng_.below(everyOccluderBlocks_ ? 2 : 5)];
            m.castShadow = rng_.chance(0.85) ? 1u : 0u;
            m.receiveShadow = rng_.chance(0.9) ? 1u : 0u;
            m.reflection = rng_.chance(0.3) ? 0.6 : 0.0;
            m.refraction = rng_.chance(0.5) ? 1.5 : 1.0;
            m.diffuse = Vec3{rng_.uniform(), rng_.uniform(), rng_.uniform()};
        }
    }
    void makeLights() {
        const int count = rng_.below(4);
        for (int k = 0; k < count; ++k) {
            Lgt& l = lightStore_[k];
            orv::setBuiltInDefaults(l);
            l.type = rng_.below(3);
            l.position = Vec3{rng_.range(-3, 3), rng_.range(-3, 3), rng_.range(-1, 4)};
            l.shadow = rng_.chance(0.8) ? 1u : 0u;
            lights_[k] = &l;
        }
        lights_[count] = nullptr;
        ctx_.lights = lights_;
    }

    Vec3 point(const Vec3& centre, double size, bool grid) {
        if (grid) {
            return Vec3{centre.x + 0.5 * rng_.below(5) - 1, centre.y + 0.5 * rng_.below(5) - 1,
                        centre.z + 0.5 * rng_.below(3) - 0.5};
        }
        return Vec3{centre.x + rng_.range(-size, size), centre.y + rng_.range(-size, size),
                    centre.z + rng_.range(-size, size)};
    }

    void addBody() {
        orv::GeometryItem item;
        item.newBody = 1;
        item.material = &mats_[rng_.below(kMaterials)];
        item.twoSided = rng_.chance(0.3) ? 1 : 0;
        const bool grid = rng_.chance(0.5);
        const double sizes[] = {1.5, 0.3, 0.02};
        const double size = sizes[rng_.below(3)];
        const Vec3 centre{rng_.range(-1, 1), rng_.range(-1, 1), rng_.range(-1, 1)};
        const int count = 1 + rng_.below(30);
        for (int i = 0; i < count; ++i) {
            Corners c;
            if (!corners_.empty() && rng_.chance(0.15)) {
                c = corners_[rng_.below(static_cast<int>(corners_.size()))];  // a tie
                if (rng_.chance(0.5)) std::swap(c.p[1], c.p[2]);
            } else {
                for (Vec3& p : c.p) p = point(centre, size, grid);
                if (rng_.chance(0.03)) c.p[2] = 0.5 * (c.p[0] + c.p[1]);  // collinear
            }
            add(item, c);
            item.newBody = 0;
        }
    }

    void add(orv::GeometryItem& item, const Corners& c) {
        corners_.push_back(c);
        for (int i = 0; i < 3; ++i) {
            item.corners[3 * i] = c.p[i].x;
            item.corners[3 * i + 1] = c.p[i].y;
            item.corners[3 * i + 2] = c.p[i].z;
        }
        Vec3 n;
        orv::triangleNormal(n, c.p[0], c.p[1], c.p[2]);
        const int normalKind = rng_.below(20);
        if (normalKind == 0) n = Vec3{rng_.range(-1, 1), rng_.range(-1, 1), rng_.range(-1, 1)};
        if (normalKind == 1) n = Vec3{0, 0, 0};
        const bool smooth = rng_.chance(0.2);
        for (int i = 0; i < 3; ++i) {
            const Vec3 corner = smooth ? Vec3{n.x + rng_.range(-0.3, 0.3), n.y, n.z} : n;
            item.cornerNormals[3 * i] = corner.x;
            item.cornerNormals[3 * i + 1] = corner.y;
            item.cornerNormals[3 * i + 2] = corner.z;
        }
        item.faceNormal[0] = n.x;
        item.faceNormal[1] = n.y;
        item.faceNormal[2] = n.z;
        orv::addTriangle(ctx_, item);
    }

    static constexpr int kMaterials = 5;
    Random rng_;
    bool everyOccluderBlocks_;
    Env env_;
    Mat mats_[kMaterials];
    Lgt lightStore_[3];
    Lgt* lights_[4];
    orv::RenderContext ctx_;
    std::vector<Corners> corners_;
};

// A point on a random triangle of the scene: a corner, an edge point, an inner point, or a
// point just outside an edge, in or beyond the test's tolerance.
Vec3 pointOnTriangle(Random& rng, const Corners& c) {
    switch (rng.below(4)) {
        case 0: return c.p[rng.below(3)];
        case 1: {
            const int i = rng.below(3);
            const double w = rng.chance(0.5) ? 0.5 : rng.uniform();
            return c.p[i] + w * (c.p[(i + 1) % 3] - c.p[i]);
        }
        case 2: {
            const double u = -rng.range(0, 2e-6), v = rng.uniform();
            return c.p[0] + u * (c.p[1] - c.p[0]) + v * (c.p[2] - c.p[0]);
        }
        default: {
            const double u = rng.uniform(), v = rng.uniform() * (1 - u);
            return c.p[0] + u * (c.p[1] - c.p[0]) + v * (c.p[2] - c.p[0]);
        }
    }
}

// A point beside a random edge of the triangle, outside it by less than the test's tolerance.
Vec3 besideAnEdge(Random& rng, const Corners& c) {
    const double along = rng.uniform(), out = rng.range(0, 1e-6);
    switch (rng.below(3)) {
        case 0: return c.p[0] - out * (c.p[1] - c.p[0]) + along * (c.p[2] - c.p[0]);
        case 1: return c.p[0] + along * (c.p[1] - c.p[0]) - out * (c.p[2] - c.p[0]);
        default:
            return c.p[0] + (along + out) * (c.p[1] - c.p[0]) + (1 - along) * (c.p[2] - c.p[0]);
    }
}

Vec3 randomDirection(Random& rng) {
    if (rng.chance(0.2)) {  // along an axis or in an axis plane: components exactly 0
        Vec3 d{0, 0, 0};
        d.x = rng.chance(0.5) ? rng.range(-1, 1) : 0.0;
        d.y = rng.chance(0.5) ? rng.range(-1, 1) : 0.0;
        d.z = d.x == 0.0 && d.y == 0.0 ? (rng.chance(0.5) ? 1.0 : -1.0) : rng.range(-1, 1);
        orv::normalise(d);
        return d;
    }
    Vec3 d{rng.range(-1, 1), rng.range(-1, 1), rng.range(-1, 1)};
    orv::normalise(d);
    return d;
}

// A ray of any kind, most of them from or towards the scene's own triangles.
Ray randomRay(RandomScene& scene, double& bound) {
    Random& rng = scene.rng();
    orv::RenderContext& ctx = scene.context();
    const auto& tris = scene.triangles();
    const int kind = rng.below(4);
    bound = 1e99;
    if (kind == 0) {
        // Mostly pixels of the image (searched by screen tiles), sometimes just beyond it
        // (searched by the hierarchy).
        const int beyond = rng.chance(0.1) ? 3 : 0;
        const int column = rng.below(ctx.width + 2 * beyond) - beyond;
        const int row = rng.below(ctx.height + 2 * beyond) - beyond;
        const double jitter = rng.chance(0.5) ? 0.0 : rng.range(-0.5, 0.5);
        const Vec3 dir = orv::primaryDirection(ctx, orv::screenX(ctx, column + jitter),
                                               orv::screenY(ctx, row + jitter));
        return Ray{ctx.eye, dir, RayKind::Primary, column - ctx.centreX, row - ctx.centreY};
    }
    const Corners& from = tris[rng.below(static_cast<int>(tris.size()))];
    const Corners& to = tris[rng.below(static_cast<int>(tris.size()))];
    Vec3 origin = rng.chance(0.6) ? pointOnTriangle(rng, from)
                                  : Vec3{rng.range(-3, 3), rng.range(-3, 3), rng.range(-3, 3)};
    Vec3 dir = randomDirection(rng);
    if (rng.chance(0.6)) {
        const Vec3 target = pointOnTriangle(rng, to);
        dir = target - origin;
        const double distance = orv::length(dir);
        orv::normalise(dir);
        if (kind == 3) bound = distance - 1e-6;
    }
    if (kind == 3 && bound == 1e99) bound = rng.range(0.1, 6);
    if (kind != 3 && rng.chance(0.1)) bound = rng.range(0.1, 6);
    return Ray{origin, dir, static_cast<RayKind>(kind)};
}

::testing::AssertionResult sameHit(bool wantMet, const Hit& want, bool gotMet, const Hit& got) {
    if (wantMet != gotMet || want.body != got.body || want.triangle != got.triangle ||
        !sameBits(want.t, got.t) || !sameBits(want.visibility, got.visibility) ||
        want.inside != got.inside || !sameBits(want.point, got.point) ||
        !sameBits(want.normal, got.normal) || !sameBits(want.geometricNormal, got.geometricNormal)) {
        return ::testing::AssertionFailure()
               << "met " << wantMet << "/" << gotMet << ", t " << want.t << "/" << got.t
               << ", V " << want.visibility << "/" << got.visibility << ", triangle "
               << want.triangle << "/" << got.triangle;
    }
    return ::testing::AssertionSuccess();
}

TEST(DifferentialTest, EveryRayFindsWhatTheOctreeWalkFinds) {
    constexpr int kScenes = 3000, kRays = 200;
    int hits = 0, blocked = 0, partial = 0;
    for (int s = 0; s < kScenes; ++s) {
        RandomScene scene(s, 24, 18);
        const orv::Scene& built = scene.context().scene;
        for (int r = 0; r < kRays; ++r) {
            double bound;
            const Ray ray = randomRay(scene, bound);
            Hit want, got;
            want.t = got.t = bound;
            const bool shadow = ray.kind == RayKind::Shadow;
            const bool wantMet = shadow ? orv_test::referenceTraceShadow(built, ray, want)
                                        : orv_test::referenceFindNearest(built, ray, want);
            const bool gotMet = shadow ? orv::traceShadow(built, ray, got)
                                       : orv::findNearest(built, ray, got);
            ASSERT_TRUE(sameHit(wantMet, want, gotMet, got))
                << "scene " << s << ", ray " << r << ", kind " << static_cast<int>(ray.kind);
            hits += !shadow && wantMet;
            blocked += shadow && wantMet;
            partial += shadow && !wantMet && want.visibility < 1.0;
        }
    }
    // The scenes must exercise what they are for, not miss everything.
    EXPECT_GT(hits, kScenes * kRays / 8);
    EXPECT_GT(blocked, kScenes * kRays / 40);
    EXPECT_GT(partial, kScenes * kRays / 400);
}

std::vector<uint32_t> renderImage(orv::RenderContext ctx, const orv::Intersector& with) {
    ctx.intersector = &with;
    const int32_t w = ctx.width, h = ctx.height;
    std::vector<std::vector<uint32_t>> rows(h, std::vector<uint32_t>(w + 2));
    for (int32_t r = 0; r < h; ++r) orv::traceRow(ctx, r, rows[r].data(), nullptr, nullptr);
    std::vector<uint32_t> image;
    for (int32_t r = 0; r < h; ++r) {
        std::vector<uint32_t> row = rows[r];
        const auto& above = rows[r > 0 ? r - 1 : r];
        const auto& below = rows[r + 1 < h ? r + 1 : r];
        orv::antialiasRow(ctx, r, above.data(), row.data(), below.data());
        image.insert(image.end(), row.begin() + 1, row.end() - 1);
    }
    return image;
}

TEST(DifferentialTest, ImagesMatchTheOctreeWalkByteForByte) {
    constexpr int kScenes = 1000;
    int differentPixels = 0;
    for (int s = 0; s < kScenes; ++s) {
        RandomScene scene(100000 + s, 16, 12);
        const std::vector<uint32_t> want =
            renderImage(scene.context(), orv_test::kReferenceIntersector);
        const std::vector<uint32_t> got = renderImage(scene.context(), orv::kSceneIntersector);
        ASSERT_EQ(want, got) << "scene " << 100000 + s;
        for (uint32_t p : want) differentPixels += p != want[0];
    }
    EXPECT_GT(differentPixels, kScenes * 16 * 12 / 8);  // not a blank background
}

// Shadow segments one after another through the lights' cache entries, in scenes whose
// occluders all block: the search that takes any occluder and brings an entry up to date only
// when it matters, against the walk with its entries always up to date. Segments pass through
// corners, edges and just outside edges of triangles, often of the one that blocked the light
// before, so that an entry's triangle also blocks segments on which the walk reaches nothing.
TEST(DifferentialTest, ShadowCacheEntriesAnswerAsTheWalksEntries) {
    constexpr int kScenes = 1500, kSegments = 200;
    constexpr int kLights[] = {0, 1, 100};  // the last one has no cache entry
    int blocked = 0, open = 0, entryAlone = 0, compared = 0;
    for (int s = 0; s < kScenes; ++s) {
        RandomScene scene(200000 + s, 8, 6, true);
        orv::RenderContext& lazy = scene.context();
        ASSERT_TRUE(lazy.scene.everyOccluderBlocks);
        orv::RenderContext walk = lazy;  // the same scene, entries of its own
        walk.intersector = &orv_test::kReferenceIntersector;
        Random& rng = scene.rng();
        const auto& tris = scene.triangles();
        Vec3 lightAt[3];
        int lastTriangle[3] = {};
        for (Vec3& p : lightAt) p = Vec3{rng.range(-3, 3), rng.range(-3, 3), rng.range(-1, 4)};
        for (int i = 0; i < kSegments; ++i) {
            const int l = rng.below(3), k = kLights[l];
            if (rng.chance(0.5)) lastTriangle[l] = rng.below(static_cast<int>(tris.size()));
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
