// The render context: camera, screen mapping, environment, lights and the scene that one
// tracing thread works with. Everything geometric is expressed in the render frame, whose
// columns are the camera's side, up and backward axes, so the camera looks along -z.
#pragma once

#include <cstdint>
#include <vector>

#include "math/mat4.h"
#include "math/vec3.h"
#include "orvanta.h"
#include "raytrace/intersect.h"
#include "raytrace/scene.h"

namespace orv {

constexpr int kShadowCacheSize = 100;

// A shadow segment that a light's cache entry has not yet been brought up to date with.
struct PendingShadow {
    Ray ray;
    double segmentEnd;
};

// The triangle that last blocked a light completely, tried first for the next shadow ray; empty
// when that was the preview object.
// In a scene whose occluders all block, a blocked segment is known from any occluder, and the
// walk's first one, which the entry must then hold, is looked up only when it can matter: until
// then the segments wait in `pending`, in order (raytrace/shadow_cache.h).
struct ShadowCacheEntry {
    const Body* body = nullptr;
    const Triangle* triangle = nullptr;
    std::vector<PendingShadow> pending;
    int32_t hint = -1;  // the search's number of the occluder that it found last
};

// What the host passes to set up the camera (world coordinates, degrees).
struct CameraSetup {
    Vec3 eye, target, up;
    double fov, aspect, shiftX, shiftY, zoom;
    int32_t width, height;
};

struct RenderContext {
    const Env* env = nullptr;
    bool ownsEnv = false;  // a default Env made from the background colour
    Lgt* const* lights = nullptr;  // null-terminated; null means none

    Vec3 eye{}, target{}, up{};  // in the render frame after setUpCamera
    double fov = 0, aspect = 0, shiftX = 0, shiftY = 0, zoom = 1;
    Vec3 view{};  // unit view direction
    double stepX = 0, stepY = 0;
    double offX = 0, offY = 0;  // shifted centre offsets
    int32_t width = 0, height = 0, centreX = 0, centreY = 0;
    Mat4 frame{};  // world to render frame

    double lightGain = 1.5;
    int maxDepth = 10;
    bool quick = false;  // no shadows, no reflection or refraction

    Scene scene;
    const Intersector* intersector = &kSceneIntersector;
    ShadowCacheEntry shadowCache[kShadowCacheSize];
};

// Render frame, steps and centre offsets from the host's camera.
void setUpCamera(RenderContext& ctx, const CameraSetup& camera);
// Uses env, or, when it is null, a default Env with the background colour (0x00BBGGRR) that
// the context owns until releaseEnvironment.
void setEnvironment(RenderContext& ctx, const Env* env, uint32_t background);
void releaseEnvironment(RenderContext& ctx);

// Screen coordinates of a pixel (column, row), before the primary ray is formed.
double screenX(const RenderContext& ctx, double column);
double screenY(const RenderContext& ctx, double row);
// Unit primary ray direction through screen point (x, y); its origin is ctx.eye.
Vec3 primaryDirection(const RenderContext& ctx, double x, double y);

}  // namespace orv
