#include "raytrace/intersect.h"

#include <cmath>
#include <initializer_list>

namespace orv {

namespace {

constexpr double kEps = 1e-6;

bool isShadow(const Ray& ray) { return ray.kind == RayKind::Shadow; }

// Plane parameter of the ray for a triangle facing the right way, or false. Two-sided bodies
// accept both faces; otherwise rays that look for surfaces meet faces turned towards them and
// shadow rays meet faces turned away (where the ray leaves an occluder).
bool planeParameter(const Triangle& tri, bool twoSided, const Ray& ray, double& denom,
                    double& t) {
    denom = dot(tri.n, ray.dir);
    if (twoSided) {
        if (!(std::fabs(denom) > kEps)) return false;
    } else if (isShadow(ray)) {
        if (!(denom > kEps)) return false;
    } else {
        if (!(denom < -kEps)) return false;
    }
    t = -(dot(tri.n, ray.origin) + tri.dist) / denom;
    return true;
}

// Barycentric acceptance of the plane point at t, within the 1e-6 tolerances.
bool insideTriangle(const Triangle& tri, const Vec3& x, double& u, double& v) {
    const Vec3 rel = x - tri.p0;
    u = dot(rel, tri.a);
    if (!(u > -kEps)) return false;
    v = dot(rel, tri.b);
    return v > -kEps && u + v < 1.000001;
}

Vec3 shadingNormal(const Triangle& tri, double u, double v) {
    if (!tri.cornerNormals) return tri.n;
    const double* c = tri.cornerNormals;
    const double w = 1.0 - u - v;
    Vec3 n{w * c[0] + u * c[3] + v * c[6], w * c[1] + u * c[4] + v * c[7],
           w * c[2] + u * c[5] + v * c[8]};
    normalise(n);
    return n;
}

// Returns true when a shadow segment became blocked.
bool searchNode(const OctreeNode& node, const Body& body, const Ray& ray, Hit& hit) {
    const bool shadow = isShadow(ray);
    for (int32_t k = 0; k < node.triangleCount; ++k) {
        const Triangle& tri = node.triangles[k];
        if (ray.kind == RayKind::Primary && !rectContains(tri.rect, ray.column, ray.row)) {
            continue;
        }
        double denom, t;
        if (!planeParameter(tri, body.twoSided != 0, ray, denom, t)) continue;
        if (!(t > kEps && t < hit.t)) continue;
        const Vec3 x = ray.origin + t * ray.dir;
        double u, v;
        if (!insideTriangle(tri, x, u, v)) continue;

        hit.t = t;
        hit.body = &body;
        hit.triangle = &tri;
        if (shadow) {
            // The segment now ends here: only nearer occluders can reduce V further.
            hit.visibility *= 1.0 - body.material->opacity;
            if (hit.visibility < kEps) return true;
        } else {
            hit.point = x;
            hit.inside = denom > 0;
            hit.normal = shadingNormal(tri, u, v);
            if (hit.inside) hit.normal = -hit.normal;
            hit.geometricNormal = tri.n;
        }
    }
    for (int32_t k = 0; k < node.childCount; ++k) {
        const OctreeNode& child = *node.children[k];
        const bool enter = ray.kind == RayKind::Primary
                               ? rectContains(child.rect, ray.column, ray.row)
                               : rayMeetsBox(ray.origin, ray.dir, child.boxMin, child.boxMax);
        if (enter && searchNode(child, body, ray, hit)) return true;
    }
    return false;
}

// Walks the bodies in list order. Returns true when a shadow segment became blocked.
bool searchScene(const Scene& scene, const Ray& ray, Hit& hit) {
    // The preview control's sphere is tested here first, once it exists.
    for (const Body* body = scene.bodies; body; body = body->next) {
        const OctreeNode& root = *body->root;
        if (isShadow(ray) && !body->material->castShadow) continue;
        if (ray.kind == RayKind::Primary) {
            if (!rectContains(root.rect, ray.column, ray.row)) continue;
        } else if (!rayMeetsBox(ray.origin, ray.dir, root.boxMin, root.boxMax)) {
            continue;
        }
        if (searchNode(root, *body, ray, hit)) return true;
    }
    return false;
}

}  // namespace

bool findNearest(const Scene& scene, const Ray& ray, Hit& hit) {
    hit.body = nullptr;
    hit.triangle = nullptr;
    searchScene(scene, ray, hit);
    return hit.triangle != nullptr;
}

bool traceShadow(const Scene& scene, const Ray& ray, Hit& hit) {
    hit.body = nullptr;
    hit.triangle = nullptr;
    return searchScene(scene, ray, hit);
}

bool cachedTriangleBlocks(const Body& body, const Triangle& tri, const Ray& ray,
                          double segmentEnd) {
    double denom, t;
    if (!planeParameter(tri, body.twoSided != 0, ray, denom, t)) return false;
    if (!(t > kEps && t < segmentEnd)) return false;
    double u, v;
    if (!insideTriangle(tri, ray.origin + t * ray.dir, u, v)) return false;
    return 1.0 - body.material->opacity < kEps;
}

bool rayMeetsBox(const Vec3& origin, const Vec3& dir, const Vec3& boxMin, const Vec3& boxMax) {
    const double o[3] = {origin.x, origin.y, origin.z};
    const double d[3] = {dir.x, dir.y, dir.z};
    const double lo[3] = {boxMin.x, boxMin.y, boxMin.z};
    const double hi[3] = {boxMax.x, boxMax.y, boxMax.z};
    for (int axis = 2; axis >= 0; --axis) {  // z, y, x
        if (d[axis] == 0.0) continue;
        const int a1 = (axis + 1) % 3;
        const int a2 = (axis + 2) % 3;
        for (const double face : {lo[axis], hi[axis]}) {
            const double t = (face - o[axis]) / d[axis];
            if (!(t > kEps)) continue;
            const double p1 = o[a1] + t * d[a1];
            const double p2 = o[a2] + t * d[a2];
            if (p1 >= lo[a1] && p1 <= hi[a1] && p2 >= lo[a2] && p2 <= hi[a2]) return true;
        }
    }
    return false;
}

}  // namespace orv
