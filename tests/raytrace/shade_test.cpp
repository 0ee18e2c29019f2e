// Shading: light geometry, highlights, shadows with their cache, transparency, refraction, total
// internal reflection, the depth limit and surface textures.
#include "raytrace/shade.h"

#include "raytrace/shadow_cache.h"
#include "raytrace_fixture.h"

namespace {

using orv::RayKind;
using orv::Vec3;
using orv_test::expectNearVec;

class ShadeTest : public orv_test::RaytraceFixture {
protected:
    // A hit at the origin on a body that is not part of the scene (only its material is read).
    Vec3 shadeAt(Mat* mat, const Vec3& dir = {0, 0, -1}, const Vec3& normal = {0, 0, 1},
                 bool inside = false, int depth = 0) {
        body = orv::Body{};
        body.material = mat;
        orv::identity(body.textureMatrix);
        orv::Hit hit;
        hit.body = &body;
        hit.point = Vec3{0, 0, 0};
        hit.normal = normal;
        hit.inside = inside;
        return orv::shade(ctx, orv::Ray{hit.point - dir, dir, RayKind::Reflection}, depth, hit);
    }
    // `count` lights of `type` (1 spot, 2 point) at (0, 0, 2), aimed at `target`.
    void useLights(int type, const Vec3& target = {0, 0, 0}, int count = 1, uint32_t shadow = 0) {
        for (int k = 0; k < count; ++k) {
            orv::setBuiltInDefaults(lightStore[k]);
            lightStore[k].type = type;
            lightStore[k].position = Vec3{0, 0, 2};
            lightStore[k].target = target;
            lightStore[k].shadow = shadow;
            lights[k] = &lightStore[k];
        }
        lights[count] = nullptr;
        ctx.lights = lights;
    }
    // A material that shows only what a test switches on.
    Mat* plain() {
        Mat* m = material();
        m->ambient = m->diffuse = m->specular = Vec3{0, 0, 0};
        m->shininess = 0;
        return m;
    }
    // A body that shows its ambient colour alone, under a white ambient light.
    void addTarget(const Vec3& colour, const Vec3& a, const Vec3& b, const Vec3& c,
                   int twoSided = 0) {
        env.ambient = Vec3{1, 1, 1};
        Mat* m = plain();
        m->ambient = colour;
        addBody(m, a, b, c, twoSided);
    }

    orv::Body body{};
    Lgt lightStore[101];
    Lgt* lights[102] = {};
};

TEST(StandardLightTest, IntensityIsBrightnessPlusOnePointTwoOverTheLightsInUse) {
    const struct {
        uint32_t bits;
        double brightness, want;
    } cases[] = {
        {0x81, 0.8, 2.0},        // camera light only: S = 0.5, raised to 1
        {0x83, 0.8, 2.0},        // two lights: S = 1
        {0x8F, 0.8, 1.0},        // four lights: S = 2
        {0xFF, 0.3, 1.5 / 3.5},  // all seven
    };
    Env env;
    orv::setBuiltInDefaults(env);
    for (const auto& c : cases) {
        env.standardLights = c.bits;
        env.brightness = c.brightness;
        EXPECT_DOUBLE_EQ(c.want, orv::standardLightIntensity(env)) << c.bits;
    }
}

TEST_F(ShadeTest, StandardLightVectorsIncludingTheCameraLightAsWritten) {
    const struct {
        Vec3 eye, target, up;
        int bit;
        Vec3 vector;  // towards the light, its length the shadow distance
    } cases[] = {
        {{0, 0, 4}, {0, 0, 0}, {0, 1, 0}, 7, {0, 1, 4}},
        // s3 = sqrt(s2^2 + s1^2 + dz^2) / 4 = 0 here, where |e - t| / 4 would be 0.5.
        {{2, 0, 0}, {0, 0, 0}, {0, 0, 1}, 7, {2, 0, 0}},
        {{0, 0, 4}, {0, 0, 0}, {0.6, 0.8, 0}, 7, {0.6, 0.2 * std::sqrt(16.36), 4}},
        {{0, 0, 4}, {0, 0, 0}, {0, 1, 0}, 1, {0, 0, 4}},
        {{0, 0, 4}, {0, 0, 0}, {0, 1, 0}, 3, {-4, 0, 0}},
        {{0, 3, 4}, {0, 0, 0}, {0, 1, 0}, 6, {0, -5, 0}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.bit);
        ctx.eye = c.eye, ctx.target = c.target, ctx.up = c.up;
        const orv::LightGeometry geo = orv::standardLightGeometry(ctx, c.bit, {0, 0, 1});
        const double len = orv::length(c.vector);
        EXPECT_NEAR(len, geo.d, 1e-12);
        expectNearVec(c.vector * (1 / len), geo.L);
        EXPECT_NEAR(c.vector.z / len, geo.f, 1e-12);
    }
}

TEST_F(ShadeTest, SpotTurnedAwayGivesNoDiffuseButItsHighlight) {
    // Lc x 1.5 x (1 - gloss 0.5) x brightness 0.8 = 0.6 diffuse at f = 1; the highlight
    // (mirror direction straight up, s = 1) is Lc x 1.5 x gloss x 0.8 = 0.6.
    Mat* m = plain();
    m->diffuse = m->specular = Vec3{1, 1, 1};
    m->shininess = 10;
    useLights(1, {0, 0, 4});
    expectNearVec(Vec3{0.6, 0.6, 0.6}, shadeAt(m));
    useLights(1, {0, 0, 0});
    expectNearVec(Vec3{1.2, 1.2, 1.2}, shadeAt(m));
}

TEST_F(ShadeTest, ShadowsUseTheCacheForTheFirstHundredLights) {
    Mat* occluder = material();
    addBody(occluder, {-1, -1, 1}, {1, -1, 1}, {0, 1, 1});
    orv::finishScene(ctx);
    useLights(2, {0, 0, 0}, 101, 1);
    Mat* m = plain();
    m->diffuse = Vec3{1, 1, 1};  // 0.6 per unshadowed light

    expectNearVec(Vec3{0, 0, 0}, shadeAt(m));
    const orv::Triangle* blocker = &ctx.scene.bodies->root->triangles[0];
    orv::settleShadowCache(ctx, 0);
    orv::settleShadowCache(ctx, 99);
    EXPECT_EQ(blocker, ctx.shadowCache[0].triangle);
    EXPECT_EQ(blocker, ctx.shadowCache[99].triangle);
    expectNearVec(Vec3{0, 0, 0}, shadeAt(m));

    // Half transparent: the cached triangle no longer blocks alone, V = 0.5, cache cleared.
    occluder->opacity = 0.5;
    orv::finishScene(ctx);  // materials are read for the search when the scene is finished
    expectNearVec(Vec3{30.3, 30.3, 30.3}, shadeAt(m), 1e-9);
    EXPECT_EQ(nullptr, ctx.shadowCache[0].triangle);

    m->receiveShadow = 0;
    expectNearVec(Vec3{60.6, 60.6, 60.6}, shadeAt(m), 1e-9);
}

TEST_F(ShadeTest, ClearSurfacesShowTheirHighlightAndWhatTheRefractedRayReaches) {
    env.ambient = Vec3{0.5, 0.5, 0.5};
    env.background = Vec3{0.2, 0.3, 0.4};
    Mat* m = material(0.0);
    m->specular = Vec3{1, 1, 1};
    useLights(2);
    // Highlight 0.6 plus the background that the undeflected refracted ray reaches.
    expectNearVec(Vec3{0.8, 0.9, 1.0}, shadeAt(m));
    // Unlit, a ray from (-1, 0, 1) crosses a clear pane at the origin towards a small red target
    // at (1, 0, -1); with index 1.5 it bends away and reaches the background.
    ctx.lights = nullptr;
    Mat* pane = material(0.0);
    addBody(pane, {-2, -2, 0}, {2, -2, 0}, {0, 2, 0});
    addTarget({1, 0, 0}, {0.95, -0.05, -1}, {1.05, -0.05, -1}, {1, 0.05, -1});
    orv::finishScene(ctx);
    Vec3 dir{1, 0, -1};
    orv::normalise(dir);
    for (const double index : {1.0, 1.5}) {
        pane->refraction = index;
        expectNearVec(index == 1.0 ? Vec3{1, 0, 0} : Vec3{0.2, 0.3, 0.4},
                      orv::traceSecondary(ctx, {-1, 0, 1}, dir, RayKind::Reflection, 0));
    }
}

TEST_F(ShadeTest, GrazingExitTotallyReflectsWeightedByReflectivity) {
    // Inside a body of index 1.5, leaving at 11 degrees: the mirror direction (5, 0, -1)
    // meets a green target.
    addTarget({0, 1, 0}, {4, -1, -1}, {6, -1, -1}, {5, 1, -1}, 1);
    orv::finishScene(ctx);
    Mat* glass = material(0.0);
    glass->refraction = 1.5;
    Vec3 dir{1, 0, 0.2};
    orv::normalise(dir);
    for (double reflection : {0.5, 0.0}) {
        glass->reflection = reflection;
        expectNearVec(Vec3{0, reflection, 0}, shadeAt(glass, dir, {0, 0, -1}, true));
    }
}

TEST_F(ShadeTest, RecursionStopsAtDepthTenAndInQuickRender) {
    addTarget({0, 0, 1}, {0.5, -0.5, 1}, {1.5, -0.5, 1}, {1, 0.5, 1}, 1);
    orv::finishScene(ctx);
    Mat* mirror = plain();
    mirror->reflection = 1;
    Vec3 dir{1, 0, -1};
    orv::normalise(dir);
    const struct {
        int depth;
        bool quick;
        double blue;
    } cases[] = {{9, false, 1}, {10, false, 0}, {0, true, 0}};
    for (const auto& c : cases) {
        ctx.quick = c.quick;
        expectNearVec(Vec3{0, 0, c.blue}, shadeAt(mirror, dir, {0, 0, 1}, false, c.depth));
    }
}

TEST_F(ShadeTest, SurfaceTextureMixesOrCoversTheColour) {
    // A one-pixel red texture: mixed, it tints the ambient term; covering, the surface is
    // unlit and each light adds the texture colour itself.
    env.ambient = Vec3{0.5, 0.5, 0.5};
    useLights(2);
    uint8_t red[4] = {255, 0, 0, 255};
    Mat* m = plain();
    m->ambient = Vec3{1, 1, 1};
    m->slots[0].source = 1;
    m->slots[0].side = 1;
    m->slots[0].pixelBytes = 4;
    m->slots[0].pixels = red;
    m->slots[0].mode = 0;
    expectNearVec({0.5, 0, 0}, shadeAt(m));
    m->slots[0].mode = 1;
    expectNearVec({1, 0, 0}, shadeAt(m));
    m->slots[0].pixels = nullptr;
}

}  // namespace
