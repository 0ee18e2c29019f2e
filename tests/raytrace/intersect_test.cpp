// Ray intersection: edge tolerances, face culling, the shadow rule, the preview sphere and the
// box test.
#include "raytrace/intersect.h"

#include <cmath>

#include "raytrace_fixture.h"

namespace {

using orv::Hit;
using orv::Ray;
using orv::RayKind;
using orv::Vec3;

class IntersectTest : public orv_test::RaytraceFixture {
protected:
    // A shadow ray's segment ends at hit.t; other rays look for the nearest hit.
    bool trace(const Ray& ray, Hit& hit) {
        return ray.kind == RayKind::Shadow ? orv::traceShadow(ctx.scene, ray, hit)
                                           : orv::findNearest(ctx.scene, ray, hit);
    }
};

TEST_F(IntersectTest, EdgeToleranceAndFaceCulling) {
    addBody(material(), {0, 0, 0}, {1, 0, 0}, {0, 1, 0});  // faces +z; u and v are x and y
    orv::finishScene(ctx);
    const Vec3 below{0.2, 0.2, -1}, up{0, 0, 1}, down{0, 0, -1};
    const struct {
        Ray ray;
        bool met;
    } cases[] = {
        {{{-0.9e-6, 0.5, 1}, down, RayKind::Primary}, true},  // u
        {{{-1.1e-6, 0.5, 1}, down, RayKind::Primary}, false},
        {{{0.5, -0.9e-6, 1}, down, RayKind::Primary}, true},  // v
        {{{0.5, -1.1e-6, 1}, down, RayKind::Primary}, false},
        {{{0.5, 0.5000009, 1}, down, RayKind::Primary}, true},  // u + v
        {{{0.5, 0.5000011, 1}, down, RayKind::Primary}, false},
        {{below, up, RayKind::Primary}, false},  // from behind: invisible
        {{below, up, RayKind::Reflection}, false},
        {{below, up, RayKind::Shadow}, true},  // leaves the occluder through its front
        {{{0.2, 0.2, 1}, down, RayKind::Shadow}, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.ray.origin.x << ", " << c.ray.origin.y << " kind "
                                          << static_cast<int>(c.ray.kind));
        Hit hit;
        hit.t = c.ray.kind == RayKind::Shadow ? 5.0 : 1e99;
        EXPECT_EQ(c.met, trace(c.ray, hit));
        if (c.met && c.ray.kind == RayKind::Primary) {
            EXPECT_EQ(1.0, hit.t);
        }
    }
}

TEST_F(IntersectTest, ShadowVisibilityMultipliesAlongASegmentThatShortens) {
    // Bodies are searched newest first. Occluders at z = 1 and z = 2, opacity 0.5, facing +z.
    for (const bool farAddedLast : {true, false}) {
        orv::freeScene(ctx.scene);
        for (int i = 0; i < 2; ++i) {
            const double z = (i == 0) == farAddedLast ? 1.0 : 2.0;
            addBody(material(0.5), {-1, -1, z}, {1, -1, z}, {0, 1, z});
        }
        orv::finishScene(ctx);
        Hit hit;
        hit.t = 10.0 - 1e-6;
        EXPECT_FALSE(trace({{0, 0, 0}, {0, 0, 1}, RayKind::Shadow}, hit));
        EXPECT_EQ(farAddedLast ? 0.25 : 0.5, hit.visibility) << "far added last " << farAddedLast;
    }
}

TEST_F(IntersectTest, OpaqueOccluderBlocksAndNamesItselfForTheCache) {
    addBody(material(), {-1, -1, 1}, {1, -1, 1}, {0, 1, 1});
    orv::finishScene(ctx);
    const Ray ray{{0, 0, 0}, {0, 0, 1}, RayKind::Shadow};
    Hit hit;
    hit.t = 3.0;
    ASSERT_TRUE(trace(ray, hit));
    ASSERT_NE(nullptr, hit.triangle);
    EXPECT_TRUE(orv::cachedTriangleBlocks(*hit.body, *hit.triangle, ray, 3.0));
    EXPECT_FALSE(orv::cachedTriangleBlocks(*hit.body, *hit.triangle, ray, 0.5));  // beyond end
    ctx.scene.bodies->material->opacity = 0.9;
    EXPECT_FALSE(orv::cachedTriangleBlocks(*hit.body, *hit.triangle, ray, 3.0));
}

TEST_F(IntersectTest, NearestHitWinsAndInterpolatesCornerNormals) {
    orv::GeometryItem item;
    item.newBody = 1;
    item.material = material();
    const Vec3 corners[3] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    const Vec3 normals[3] = {{0, 0, 1}, {1, 0, 1}, {0, 1, 1}};  // normalised when collected
    orv_test::setItem(item, corners, normals, {0, 0, 1});
    orv::addTriangle(ctx, item);
    addToBody({0, 0, 0.5}, {1, 0, 0.5}, {0, 1, 0.5});  // nearer to a ray from above
    orv::finishScene(ctx);
    const Ray fromAbove{{0.5, 0, 2}, {0, 0, -1}, RayKind::Reflection};
    Hit hit, bounded, under;
    ASSERT_TRUE(trace(fromAbove, hit));
    EXPECT_EQ(1.5, hit.t);
    bounded.t = 1.25;  // the search only takes parameters below the record's
    EXPECT_FALSE(trace(fromAbove, bounded));
    // Below the upper triangle: at (0.5, 0) the normal is 0.5 N0 + 0.5 N1, normalised.
    ASSERT_TRUE(trace({{0.5, 0, 0.25}, {0, 0, -1}, RayKind::Reflection}, under));
    const double s = 0.5 / std::sqrt(2.0), len = std::sqrt(s * s + (0.5 + s) * (0.5 + s));
    orv_test::expectNearVec(Vec3{s / len, 0, (0.5 + s) / len}, under.normal);
    EXPECT_FALSE(under.inside);
}

TEST_F(IntersectTest, InsideThePreviewSphereTheNormalFacesTheRay) {
    orv::setPreviewObject(ctx, *material());
    orv::finishScene(ctx);
    const struct {
        Vec3 origin;
        bool inside;
    } cases[] = {{{0, 0, 0}, true}, {{0, 0, 2}, false}};  // the sphere's centre, and above it
    for (const auto& c : cases) {
        SCOPED_TRACE(c.inside);
        Hit hit;
        ASSERT_TRUE(trace({c.origin, {0, 0, -1}, RayKind::Reflection}, hit));
        EXPECT_EQ(c.inside, hit.inside);
        orv_test::expectNearVec(Vec3{0, 0, c.inside ? -1.0 : 1.0}, hit.geometricNormal);
        orv_test::expectNearVec(Vec3{0, 0, 1}, hit.normal);
    }
}

TEST(RayBoxTest, RaysMeetBoxFacesAheadOfTheirOrigin) {
    const struct {
        Vec3 origin, dir;
        bool meets;
    } cases[] = {
        {{0, 0, 0}, {1, 0, 0}, true},  // from inside: the exit face
        {{0, 0, 5}, {0, 0, -1}, true},
        {{0, 0, 5}, {0, 0, 1}, false},  // box behind the origin
        {{2, 0, 5}, {0, 0, -1}, false},
        {{1, 1, 5}, {0, 0, -1}, true},  // along an edge: inclusive
        {{0, 0, 0}, {0, 0, 0}, false},  // no direction meets no face
        {{-5, 0.5, 0}, {1, 0.1, 0}, true},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.meets, orv::rayMeetsBox(c.origin, c.dir, {-1, -1, -1}, {1, 1, 1}))
            << c.origin.x << "," << c.origin.y << "," << c.origin.z;
    }
}

}  // namespace
