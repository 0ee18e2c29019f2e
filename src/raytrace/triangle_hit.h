// The per-triangle ray test with its tolerances, shared by every traversal of the scene so
// that each one computes a hit with exactly the same arithmetic.
#pragma once

#include <cmath>

#include "raytrace/intersect.h"
#include "raytrace/scene.h"

namespace orv {

constexpr double kHitEps = 1e-6;

// An occluder of this material blocks a shadow segment on its own: what it leaves through,
// 1 - opacity, is below 1e-6.
inline bool blocksLightAlone(const Mat& material) { return 1.0 - material.opacity < kHitEps; }

// Whether a triangle faces the ray the right way, from denom = dot(normal, direction). Two-sided
// bodies accept both faces; otherwise rays that look for surfaces meet faces turned towards them
// and shadow rays meet faces turned away (where the ray leaves an occluder).
inline bool facesRay(double denom, bool twoSided, RayKind kind) {
    if (twoSided) return std::fabs(denom) > kHitEps;
    return kind == RayKind::Shadow ? denom > kHitEps : denom < -kHitEps;
}

// Plane parameter of the ray for a triangle facing the right way, or false.
inline bool planeParameter(const Vec3& n, double dist, bool twoSided, const Ray& ray,
                           double& denom, double& t) {
    denom = dot(n, ray.dir);
    if (!facesRay(denom, twoSided, ray.kind)) return false;
    t = -(dot(n, ray.origin) + dist) / denom;
    return true;
}

// Barycentric acceptance of the plane point x, within the 1e-6 tolerances.
inline bool insideTriangle(const Vec3& p0, const Vec3& a, const Vec3& b, const Vec3& x,
                           double& u, double& v) {
    const Vec3 rel = x - p0;
    u = dot(rel, a);
    if (!(u > -kHitEps)) return false;
    v = dot(rel, b);
    return v > -kHitEps && u + v < 1.000001;
}

// The whole test: true when the ray meets the triangle at a t with 1e-6 < t < bound.
inline bool rayHitsTriangle(const Triangle& tri, bool twoSided, const Ray& ray, double bound,
                            double& denom, double& t, Vec3& x, double& u, double& v) {
    if (!planeParameter(tri.n, tri.dist, twoSided, ray, denom, t)) return false;
    if (!(t > kHitEps && t < bound)) return false;
    x = ray.origin + t * ray.dir;
    return insideTriangle(tri.p0, tri.a, tri.b, x, u, v);
}

inline Vec3 shadingNormal(const Triangle& tri, double u, double v) {
    if (!tri.cornerNormals) return tri.n;
    const double* c = tri.cornerNormals;
    const double w = 1.0 - u - v;
    Vec3 n{w * c[0] + u * c[3] + v * c[6], w * c[1] + u * c[4] + v * c[7],
           w * c[2] + u * c[5] + v * c[8]};
    normalise(n);
    return n;
}

// What a surface hit (kinds 0 to 2) records.
inline void recordSurfaceHit(Hit& hit, const Body& body, const Triangle& tri, double denom,
                             double t, const Vec3& x, double u, double v) {
    hit.t = t;
    hit.body = &body;
    hit.triangle = &tri;
    hit.point = x;
    hit.inside = denom > 0;
    hit.normal = shadingNormal(tri, u, v);
    if (hit.inside) hit.normal = -hit.normal;
    hit.geometricNormal = tri.n;
}

}  // namespace orv
