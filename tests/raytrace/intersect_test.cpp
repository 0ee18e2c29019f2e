// Ray intersection: edge tolerances, face culling, the shadow rule and the box test.
#include "raytrace/intersect.h"

#include "raytrace_fixture.h"

namespace {

using orv::Hit;
using orv::Ray;
using orv::RayKind;
using orv::Vec3;
using orv_test::RaytraceFixture;

class IntersectTest : public RaytraceFixture {};

TEST_F(IntersectTest, GrazingRaysAreAcceptedWithinTheEdgeTolerance) {
    // Corner p0 at the origin, so u and v are the hit's x and y.
    addBody(material(), {0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    orv::finishScene(ctx);
    const struct {
        double x, y;
        bool hit;
    } cases[] = {
        {-0.9e-6, 0.5, true}, {-1.1e-6, 0.5, false},         // u
        {0.5, -0.9e-6, true}, {0.5, -1.1e-6, false},         // v
        {0.5, 0.5000009, true}, {0.5, 0.5000011, false},     // u + v
    };
    for (const auto& c : cases) {
        Hit hit;
        const Ray ray{{c.x, c.y, 1}, {0, 0, -1}, RayKind::Primary, 0, 0};
        EXPECT_EQ(c.hit, orv::findNearest(ctx.scene, ray, hit)) << c.x << ", " << c.y;
        if (c.hit) {
            EXPECT_EQ(1.0, hit.t);
        }
    }
}

TEST_F(IntersectTest, SingleSidedTriangleFromBehindIsInvisibleButBlocksShadowRays) {
    addBody(material(), {0, 0, 0}, {1, 0, 0}, {0, 1, 0});  // faces +z
    orv::finishScene(ctx);
    const Vec3 below{0.2, 0.2, -1}, above{0.2, 0.2, 1};
    const Vec3 up{0, 0, 1}, down{0, 0, -1};
    const struct {
        Ray ray;
        bool met;
    } cases[] = {
        {{below, up, RayKind::Primary}, false},
        {{below, up, RayKind::Reflection}, false},
        {{above, down, RayKind::Primary}, true},
        {{below, up, RayKind::Shadow}, true},   // leaves the occluder through its front
        {{above, down, RayKind::Shadow}, false},
    };
    for (const auto& c : cases) {
        Hit hit;
        hit.t = c.ray.kind == RayKind::Shadow ? 5.0 : 1e99;
        const bool met = c.ray.kind == RayKind::Shadow ? orv::traceShadow(ctx.scene, c.ray, hit)
                                                       : orv::findNearest(ctx.scene, c.ray, hit);
        EXPECT_EQ(c.met, met) << "kind " << static_cast<int>(c.ray.kind);
    }
}

TEST_F(IntersectTest, ShadowVisibilityMultipliesAlongASegmentThatShortens) {
    // Bodies are searched newest first. Occluders at z = 1 (near) and z = 2 (far), opacity
    // 0.5, both facing +z, which the shadow ray from the origin leaves through.
    const struct {
        bool farAddedLast;
        double visibility;
    } cases[] = {{true, 0.25}, {false, 0.5}};
    for (const auto& c : cases) {
        orv::freeScene(ctx.scene);
        for (int i = 0; i < 2; ++i) {
            const double z = (i == 0) == c.farAddedLast ? 1.0 : 2.0;
            addBody(material(0.5), {-1, -1, z}, {1, -1, z}, {0, 1, z});
        }
        orv::finishScene(ctx);
        Hit hit;
        hit.t = 10.0 - 1e-6;
        EXPECT_FALSE(orv::traceShadow(ctx.scene, {{0, 0, 0}, {0, 0, 1}, RayKind::Shadow}, hit));
        EXPECT_EQ(c.visibility, hit.visibility) << "far added last: " << c.farAddedLast;
    }
}

TEST_F(IntersectTest, OpaqueOccluderBlocksAndNamesItselfForTheCache) {
    addBody(material(), {-1, -1, 1}, {1, -1, 1}, {0, 1, 1});
    orv::finishScene(ctx);
    const Ray ray{{0, 0, 0}, {0, 0, 1}, RayKind::Shadow};
    Hit hit;
    hit.t = 3.0;
    ASSERT_TRUE(orv::traceShadow(ctx.scene, ray, hit));
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
    const double corners[9] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    const double normals[9] = {0, 0, 1, 1, 0, 1, 0, 1, 1};  // normalised when collected
    for (int i = 0; i < 9; ++i) item.corners[i] = corners[i], item.cornerNormals[i] = normals[i];
    item.faceNormal[2] = 1;
    orv::addTriangle(ctx, item);
    addToBody({0, 0, 0.5}, {1, 0, 0.5}, {0, 1, 0.5});  // nearer to a ray from above
    orv::finishScene(ctx);
    Hit hit;
    ASSERT_TRUE(orv::findNearest(ctx.scene, {{0.5, 0, 2}, {0, 0, -1}, RayKind::Reflection}, hit));
    EXPECT_EQ(1.5, hit.t);
    Hit bounded;
    bounded.t = 1.25;  // the search only takes parameters below the record's
    EXPECT_FALSE(
        orv::findNearest(ctx.scene, {{0.5, 0, 2}, {0, 0, -1}, RayKind::Reflection}, bounded));
    // Below the upper triangle: at (0.5, 0) the normal is 0.5 N0 + 0.5 N1, normalised.
    Hit under;
    ASSERT_TRUE(orv::findNearest(ctx.scene, {{0.5, 0, 0.25}, {0, 0, -1}, RayKind::Reflection},
                                 under));
    const double s = 0.5 / std::sqrt(2.0);
    orv_test::expectNearVec(orv::Vec3{s, 0, 0.5 + s} * (1 / std::sqrt(s * s + (0.5 + s) * (0.5 + s))),
                            under.normal);
    EXPECT_FALSE(under.inside);
}

TEST(RayBoxTest, RaysMeetBoxFacesAheadOfTheirOrigin) {
    const Vec3 lo{-1, -1, -1}, hi{1, 1, 1};
    const struct {
        Vec3 origin, dir;
        bool meets;
    } cases[] = {
        {{0, 0, 0}, {1, 0, 0}, true},        // from inside: the exit face
        {{0, 0, 5}, {0, 0, -1}, true},
        {{0, 0, 5}, {0, 0, 1}, false},       // box behind the origin
        {{2, 0, 5}, {0, 0, -1}, false},
        {{1, 1, 5}, {0, 0, -1}, true},       // along an edge: inclusive
        {{0, 0, 0}, {0, 0, 0}, false},       // no direction meets no face
        {{-5, 0.5, 0}, {1, 0.1, 0}, true},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.meets, orv::rayMeetsBox(c.origin, c.dir, lo, hi))
            << c.origin.x << "," << c.origin.y << "," << c.origin.z;
    }
}

}  // namespace
