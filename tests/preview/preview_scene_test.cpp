// The preview's local scene: the edited light moved onto the z axis at its own distance, or the
// three fixed grey lights; the local environment with the source's colours and fog but never
// its standard lights or brightness; and the cube's pose, shared by both renderers.
#include <gtest/gtest.h>

#include <cmath>

#include "core/record_lifecycle.h"
#include "math/mat4.h"
#include "preview/preview_scene.h"

namespace orv {
namespace {

TEST(PreviewScene, LocalLightsAndEnvironment) {
    Lgt* source = createLgt("Spot");
    source->position = {4, 1, 2}, source->target = {1, 1, -2}, source->color = {1, 0, 0};
    Env* env = createEnv("Halle");
    env->background = {0.1, 0.2, 0.3}, env->fogDensity = 0.5, env->fogType = 2;
    env->brightness = 1.7, env->standardLights = 255;

    PreviewLocals locals;
    makePreviewLocals(locals, env, source);
    EXPECT_EQ(locals.lights[1], nullptr);
    // Copies: the records are packed, their doubles not always 8-byte aligned.
    const Lgt moved = *locals.lights[0];
    const Env local = *locals.env;
    EXPECT_TRUE(sameVec(moved.position, Vec3{0, 0, 5}));  // |(3, 0, 4)|, in front of the object
    EXPECT_TRUE(sameVec(moved.target, Vec3{0, 0, 0}));
    EXPECT_TRUE(sameVec(moved.color, Vec3{1, 0, 0}));
    EXPECT_EQ(moved.tool, nullptr);
    EXPECT_EQ(local.standardLights, 0u);
    EXPECT_TRUE(sameVec(local.background, Vec3{0.1, 0.2, 0.3}));
    EXPECT_TRUE(local.fogDensity == 0.5 && local.fogType == 2);
    EXPECT_FALSE(local.brightness == 1.7);

    makePreviewLocals(locals, nullptr, nullptr);  // made anew: the three fixed lights
    const Vec3 places[] = {{-1, 1, 1}, {1, 1, 1}, {0, 0, 1}};
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(sameVec(locals.lights[i]->position, places[i])) << i;
        const Lgt light = *locals.lights[i];
        EXPECT_TRUE(sameVec(light.color, Vec3{0.5, 0.5, 0.5}) && light.gloss == 0.5) << i;
    }
    EXPECT_EQ(locals.lights[3], nullptr);
    freePreviewLocals(locals);
    EXPECT_EQ(locals.env, nullptr);
    disposeEnv(env);
    disposeLgt(source);
}

TEST(PreviewScene, CubePoseMovesThenTurnsAboutYThenX) {
    // The centre moves to (0.05, 0.05, 0); -20 degrees about y puts +x towards +z...
    const Vec3 p = posedCubeCorner({0.5, -0.05, 0});
    const double c = std::cos(20 * kDegToRad), s = std::sin(20 * kDegToRad);
    EXPECT_NEAR(p.x, 0.55 * c, 1e-15);
    EXPECT_NEAR(p.y, -0.55 * s * s, 1e-15);  // ...and 20 degrees about x lifts it towards -y
    EXPECT_NEAR(p.z, 0.55 * s * c, 1e-15);
    // Every face's corners run counter-clockwise seen from outside: the normal points out.
    for (const auto& face : kCubeCorners) {
        Vec3 n;
        triangleNormal(n, face[0], face[1], face[2]);
        const Vec3 centre = (face[0] + face[2]) * 0.5;
        EXPECT_NEAR(dot(n, centre), 0.5, 1e-15);
    }
}

}  // namespace
}  // namespace orv
