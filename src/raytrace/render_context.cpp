#include "raytrace/render_context.h"

#include <cmath>

#include "core/checked_alloc.h"
#include "core/colour.h"
#include "core/records.h"

namespace orv {

void setUpCamera(RenderContext& ctx, const CameraSetup& camera) {
    // Frame columns: side s, the up vector as given, backward a.
    Vec3 a = camera.eye - camera.target;
    normalise(a);
    Vec3 s = cross(camera.up, a);
    normalise(s);
    const Vec3& u = camera.up;
    Mat4& m = ctx.frame;
    identity(m);
    m.m[0] = s.x, m.m[1] = u.x, m.m[2] = a.x;
    m.m[4] = s.y, m.m[5] = u.y, m.m[6] = a.y;
    m.m[8] = s.z, m.m[9] = u.z, m.m[10] = a.z;

    ctx.eye = camera.eye;
    ctx.target = camera.target;
    ctx.up = camera.up;
    transformPoint(ctx.eye, m);
    transformPoint(ctx.target, m);
    transformDirection(ctx.up, m);
    ctx.view = ctx.target - ctx.eye;
    normalise(ctx.view);

    ctx.fov = camera.fov;
    ctx.aspect = camera.aspect;
    ctx.shiftX = camera.shiftX;
    ctx.shiftY = camera.shiftY;
    ctx.zoom = camera.zoom;
    ctx.width = camera.width;
    ctx.height = camera.height;
    ctx.centreX = camera.width / 2;
    ctx.centreY = camera.height / 2;

    const double half = camera.fov / 2.0 * kDegToRad;
    const double t = std::sin(half) / std::cos(half);
    // A floating-point half height, so that an image of height 1 gets a finite step.
    const double k = 1.0 / (camera.height / 2.0);
    ctx.stepX = k * t * camera.aspect;
    ctx.stepY = -(k * t);
    ctx.offX = camera.shiftX * ctx.stepX * (camera.width / 2.0);
    ctx.offY = camera.shiftY * t;
}

void setEnvironment(RenderContext& ctx, const Env* env, uint32_t background) {
    if (env) {
        ctx.env = env;
        ctx.ownsEnv = false;
        return;
    }
    Env* made = static_cast<Env*>(checkedAlloc(sizeof(Env)));
    setBuiltInDefaults(*made);
    made->background = colourFromRef(background);
    ctx.env = made;
    ctx.ownsEnv = true;
}

void releaseEnvironment(RenderContext& ctx) {
    if (ctx.ownsEnv) checkedFree(const_cast<Env*>(ctx.env));
    ctx.env = nullptr;
    ctx.ownsEnv = false;
}

double screenX(const RenderContext& ctx, double column) {
    return ((column - ctx.centreX) * ctx.stepX - ctx.offX) / ctx.zoom;
}

double screenY(const RenderContext& ctx, double row) {
    return ((row - ctx.centreY) * ctx.stepY - ctx.offY) / ctx.zoom;
}

Vec3 primaryDirection(const RenderContext& ctx, double x, double y) {
    Vec3 d{x + ctx.view.x, y + ctx.view.y, ctx.view.z};
    normalise(d);
    return d;
}

}  // namespace orv
