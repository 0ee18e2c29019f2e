// Shade: texture channels -> opaque share -> ambient -> lights -> reflection -> transmission.
#include "raytrace/shade.h"

#include <cmath>
#include <cstdint>

#include "appearance/texture_mapping.h"
#include "raytrace/shadow_cache.h"

namespace orv {

namespace {

constexpr double kEps = 1e-6;

Vec3 mul(const Vec3& a, const Vec3& b) { return Vec3{a.x * b.x, a.y * b.y, a.z * b.z}; }

bool isZero(const Vec3& v) { return v.x == 0.0 && v.y == 0.0 && v.z == 0.0; }

Vec3 unit(Vec3 v) {
    normalise(v);
    return v;
}

// What the steps of one Shade call share.
struct Surface {
    const Body* body;
    const Mat* mat;
    Vec3 x;     // hit point
    Vec3 n;     // unit normal, bent by the structure texture
    Vec3 d;     // ray direction
    bool inside;
    Vec3 c{1, 1, 1};  // surface colour
    Vec3 t{1, 1, 1};  // transmission
    Vec3 r{1, 1, 1};  // reflectivity
    bool unlit = false;
};

// Colour slots 0..2: the texel colour (or white) and whether the slot covers (mode nonzero).
bool colourSlot(const Surface& s, int slot, Vec3& colour) {
    uint32_t mode = 0;
    const bool textured = textureLookup(*s.mat, slot, s.body->textureMatrix, s.x, s.n, nullptr,
                                        &colour, &mode, &s.body->boxMin, &s.body->boxMax,
                                        &s.body->origin);
    return textured && mode != 0;
}

void textureChannels(Surface& s) {
    const Body& body = *s.body;
    Vec3 p{};
    uint32_t mode = 0;
    if (textureLookup(*s.mat, 3, body.textureMatrix, s.x, s.n, &p, nullptr, &mode,
                      &body.boxMin, &body.boxMax, &body.origin)) {
        if (s.inside) p = -p;
        const Vec3 t1 = unit(cross(s.n, Vec3{0, 1, 0}));
        const Vec3 t2 = unit(cross(t1, s.n));
        s.n = unit(p.z * s.n + p.x * t1 + p.y * t2);
    }
    if (!colourSlot(s, 1, s.r)) s.r = s.r * s.mat->reflection;
    if (!colourSlot(s, 2, s.t)) s.t = s.t * (1.0 - s.mat->opacity);
    s.unlit = colourSlot(s, 0, s.c);
}

void lightContribution(RenderContext& ctx, const Surface& s, Vec3 lc, bool castsShadow,
                       double g, const LightGeometry& geo, int k, Vec3& out) {
    const Mat& mat = *s.mat;
    const Env& env = *ctx.env;
    double visibility = 1.0;
    if (!ctx.quick && mat.receiveShadow && castsShadow) {
        visibility = shadowVisibility(ctx, k, Ray{s.x, geo.L, RayKind::Shadow}, geo.d - kEps);
        if (visibility < kEps) return;
    }
    lc = lc * ctx.lightGain;

    const Vec3 dd = mul(lc, mat.diffuse) * ((1.0 - g) * env.brightness * geo.f * visibility);
    out = out + (s.unlit ? s.c : mul(dd, s.c));

    if (mat.shininess > 0 && !s.unlit) {
        const double c = std::fabs(dot(s.d, s.n));
        if (c > kEps) {
            const Vec3 h = unit(2.0 * s.n + s.d * (1.0 / c));  // mirror direction of the view ray
            const double sl = dot(h, geo.L);
            if (sl > 0) {
                out = out + mul(lc, mat.specular) *
                                (std::pow(sl, mat.shininess) * g * env.brightness * visibility);
            }
        }
    }
}

void addLights(RenderContext& ctx, const Surface& s, Vec3& out) {
    const Env& env = *ctx.env;
    if (!(env.standardLights & 1u)) {
        if (!ctx.lights) return;
        for (int k = 0; ctx.lights[k]; ++k) {
            const Lgt& light = *ctx.lights[k];
            LightGeometry geo;
            if (!sceneLightGeometry(ctx, light, s.x, s.n, geo)) continue;
            if (!(geo.f < 0)) {
                lightContribution(ctx, s, light.color, light.shadow != 0, light.gloss, geo, k,
                                  out);
            }
        }
        return;
    }
    const double i = standardLightIntensity(env);
    for (int bit = 1; bit <= 7; ++bit) {
        if (!(env.standardLights & (1u << bit))) continue;
        const LightGeometry geo = standardLightGeometry(ctx, bit, s.n);
        // The standard lights use the cache entries 0..6, in bit order.
        if (!(geo.f < 0)) lightContribution(ctx, s, Vec3{i, i, i}, true, 0.5, geo, bit - 1, out);
    }
}

// Mirror direction Normalise(D / c + 2N) with c = |D . N|; false when c is not above 1e-6.
bool mirror(const Vec3& d, const Vec3& n, Vec3& out) {
    const double c = std::fabs(dot(d, n));
    if (!(c > kEps)) return false;
    out = unit(d * (1.0 / c) + 2.0 * n);
    return true;
}

// Refracted direction for relative index eta; false when k < 0 (total internal reflection).
bool refract(const Vec3& d, const Vec3& n, double eta, Vec3& out) {
    const double c = -dot(d, n);
    const double k = 1.0 - (1.0 - c * c) * eta * eta;
    if (k < 0) return false;
    out = eta * d + (eta * c - std::sqrt(k)) * n;
    return true;
}

}  // namespace

bool sceneLightGeometry(const RenderContext& ctx, const Lgt& light, const Vec3& x,
                        const Vec3& n, LightGeometry& out) {
    Vec3 p = light.position;
    Vec3 q = light.target;
    transformPoint(p, ctx.frame);
    transformPoint(q, ctx.frame);
    out.d = length(x - p);
    switch (light.type) {
        case 0:  // parallel
            out.L = unit(p - q);
            out.f = dot(n, out.L);
            return true;
        case 1: {  // spot: a cosine weighting about its axis, no cut-off
            out.L = unit(p - x);
            const Vec3 a = unit(p - q);
            const double la = dot(out.L, a);
            out.f = la > 0 ? dot(n, out.L) * la : 0.0;
            return true;
        }
        case 2:  // point
            out.L = unit(p - x);
            out.f = dot(n, out.L);
            return true;
        default:
            return false;
    }
}

LightGeometry standardLightGeometry(const RenderContext& ctx, int bit, const Vec3& n) {
    Vec3 v;
    if (bit == 7) {
        // The camera light. The second and third roots reuse the earlier offsets in place of
        // the x and y differences: this is the light's intended placement.
        const Vec3& e = ctx.eye;
        const Vec3& t = ctx.target;
        const Vec3& u = ctx.up;
        const double dx = e.x - t.x, dy = e.y - t.y, dz = e.z - t.z;
        const double s1 = std::sqrt(dx * dx + dy * dy + dz * dz) * 0.25 * u.x;
        const double s2 = std::sqrt(s1 * s1 + dy * dy + dz * dz) * 0.25 * u.y;
        const double s3 = std::sqrt(s2 * s2 + s1 * s1 + dz * dz) * 0.25 * u.z;
        v = Vec3{e.x + s1 - t.x, e.y + s2 - t.y, e.z + s3 - t.z};
    } else {
        static const Vec3 kAxes[6] = {{0, 0, 1}, {0, 0, -1}, {-1, 0, 0},
                                      {1, 0, 0}, {0, 1, 0},  {0, -1, 0}};
        v = kAxes[bit - 1] * length(ctx.eye - ctx.target);
        transformDirection(v, ctx.frame);
    }
    LightGeometry geo;
    geo.d = length(v);
    geo.L = unit(v);
    geo.f = dot(n, geo.L);
    return geo;
}

double standardLightIntensity(const Env& env) {
    double s = 0.0;
    for (int bit = 1; bit <= 7; ++bit) {
        if (env.standardLights & (1u << bit)) s += 0.5;
    }
    if (s < 1.0) s = 1.0;
    // 1.2 belongs to the raytraced lighting only; the viewer's lights use brightness / S.
    return (env.brightness + 1.2) / s;
}

Vec3 shade(RenderContext& ctx, const Ray& ray, int depth, const Hit& hit) {
    Surface s;
    s.body = hit.body;
    s.mat = hit.body->material;
    s.x = hit.point;
    s.n = hit.normal;
    s.d = ray.dir;
    s.inside = hit.inside;
    const Mat& mat = *s.mat;
    const Env& env = *ctx.env;

    textureChannels(s);
    s.c = mul(s.c, Vec3{1.0 - s.t.x, 1.0 - s.t.y, 1.0 - s.t.z});  // opaque share

    Vec3 out{0, 0, 0};
    if (!s.unlit) out = out + mul(mul(env.ambient, mat.ambient), s.c);
    addLights(ctx, s, out);

    if (depth >= ctx.maxDepth || ctx.quick) return out;

    Vec3 dir;
    if (!s.inside && !isZero(s.r) && mirror(s.d, s.n, dir)) {
        out = out + mul(traceSecondary(ctx, s.x, dir, RayKind::Reflection, depth + 1), s.r);
    }

    const double index = mat.refraction;
    if (!s.inside) {
        if (isZero(s.t) || std::fabs(index) < kEps) return out;
        if (refract(s.d, s.n, 1.0 / index, dir)) {
            out = out + mul(traceSecondary(ctx, s.x, dir, RayKind::Refraction, depth + 1), s.t);
        }
    } else if (refract(s.d, s.n, index, dir)) {
        out = out + mul(traceSecondary(ctx, s.x, dir, RayKind::Refraction, depth + 1), s.t);
    } else if (mirror(s.d, s.n, dir)) {
        // Total internal reflection, weighted by the reflectivity.
        out = out + mul(traceSecondary(ctx, s.x, dir, RayKind::Reflection, depth + 1), s.r);
    }
    return out;
}

Vec3 traceSecondary(RenderContext& ctx, const Vec3& origin, const Vec3& dir, RayKind kind,
                    int depth) {
    const Ray ray{origin, dir, kind};
    Hit hit;
    if (ctx.intersector->findNearest(ctx.scene, ray, hit)) return shade(ctx, ray, depth, hit);
    if (kind == RayKind::Refraction && dir.z < 0) return ctx.env->background;
    return Vec3{0, 0, 0};
}

Vec3 tracePrimary(RenderContext& ctx, const Vec3& dir, int32_t column, int32_t row) {
    const Ray ray{ctx.eye, dir, RayKind::Primary, column, row};
    Hit hit;
    if (!ctx.intersector->findNearest(ctx.scene, ray, hit)) {
        return dir.z < 0 ? ctx.env->background : Vec3{0, 0, 0};
    }
    Vec3 c = shade(ctx, ray, 0, hit);
    if (c.x > 1.0) c.x = 1.0;
    if (c.y > 1.0) c.y = 1.0;
    if (c.z > 1.0) c.z = 1.0;
    return c;
}

}  // namespace orv
