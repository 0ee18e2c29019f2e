#include "preview/preview_scene.h"

#include <cmath>

#include "core/record_lifecycle.h"
#include "math/mat4.h"

namespace orv {

void makePreviewLocals(PreviewLocals& locals, const Env* envSource, const Lgt* lightSource) {
    freePreviewLocals(locals);
    Env* env = createEnv(nullptr);
    env->standardLights = 0;
    if (envSource) {
        env->ambient = envSource->ambient;
        env->background = envSource->background;
        env->fogColor = envSource->fogColor;
        env->fogDensity = envSource->fogDensity;
        env->fogNear = envSource->fogNear;
        env->fogFar = envSource->fogFar;
        env->fogType = envSource->fogType;
    }
    locals.env = env;
    if (lightSource) {
        Lgt* copy = createLgt(nullptr);
        const void* keep = copy->tool;
        *copy = *lightSource;
        copy->tool = const_cast<void*>(keep);
        copy->position = Vec3{0, 0, length(lightSource->position - lightSource->target)};
        copy->target = Vec3{0, 0, 0};
        locals.lights[0] = copy;
        return;
    }
    const Vec3 places[3] = {{-1, 1, 1}, {1, 1, 1}, {0, 0, 1}};
    for (int i = 0; i < 3; ++i) {
        Lgt* light = createLgt(nullptr);
        light->color = Vec3{0.5, 0.5, 0.5};
        light->gloss = 0.5;
        light->position = places[i];
        light->target = Vec3{0, 0, 0};
        locals.lights[i] = light;
    }
}

void freePreviewLocals(PreviewLocals& locals) {
    if (locals.env) disposeEnv(locals.env);
    locals.env = nullptr;
    for (Lgt*& light : locals.lights) {
        if (light) disposeLgt(light);
        light = nullptr;
    }
}

const Vec3 kCubeCorners[kCubeFaces][4] = {
    {{-.5, -.5, .5}, {.5, -.5, .5}, {.5, .5, .5}, {-.5, .5, .5}},        // front (+z)
    {{.5, -.5, -.5}, {-.5, -.5, -.5}, {-.5, .5, -.5}, {.5, .5, -.5}},    // back
    {{.5, -.5, .5}, {.5, -.5, -.5}, {.5, .5, -.5}, {.5, .5, .5}},        // right (+x)
    {{-.5, -.5, -.5}, {-.5, -.5, .5}, {-.5, .5, .5}, {-.5, .5, -.5}},    // left
    {{-.5, .5, .5}, {.5, .5, .5}, {.5, .5, -.5}, {-.5, .5, -.5}},        // top (+y)
    {{-.5, -.5, -.5}, {.5, -.5, -.5}, {.5, -.5, .5}, {-.5, -.5, .5}},    // bottom
};

Vec3 posedCubeCorner(const Vec3& corner) {
    // OpenGL's glRotate(20, x) glRotate(-20, y) glTranslate(...) applied to a column vector:
    // the translation first, then y, then x.
    Vec3 p = corner + Vec3{0.05, 0.05, 0};
    const double ay = -20 * kDegToRad, ax = 20 * kDegToRad;
    p = Vec3{p.x * std::cos(ay) + p.z * std::sin(ay), p.y, -p.x * std::sin(ay) + p.z * std::cos(ay)};
    p = Vec3{p.x, p.y * std::cos(ax) - p.z * std::sin(ax), p.y * std::sin(ax) + p.z * std::cos(ax)};
    return p;
}

}  // namespace orv
