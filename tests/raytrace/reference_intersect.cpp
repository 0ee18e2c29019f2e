#include "reference_intersect.h"

#include "raytrace/triangle_hit.h"

namespace orv_test {

namespace {

using namespace orv;

bool nodeEntered(const OctreeNode& node, const Ray& ray) {
    return ray.kind == RayKind::Primary
               ? rectContains(node.rect, ray.column, ray.row)
               : rayMeetsBox(ray.origin, ray.dir, node.boxMin, node.boxMax);
}

// Returns true when a shadow segment became blocked.
bool searchNode(const OctreeNode& node, const Body& body, const Ray& ray, Hit& hit) {
    for (int32_t k = 0; k < node.triangleCount; ++k) {
        const Triangle& tri = node.triangles[k];
        if (ray.kind == RayKind::Primary && !rectContains(tri.rect, ray.column, ray.row)) {
            continue;
        }
        double denom, t, u, v;
        Vec3 x;
        if (!rayHitsTriangle(tri, body.twoSided != 0, ray, hit.t, denom, t, x, u, v)) continue;
        if (ray.kind != RayKind::Shadow) {
            recordSurfaceHit(hit, body, tri, denom, t, x, u, v);
            continue;
        }
        hit.t = t;  // the segment now ends here
        hit.body = &body;
        hit.triangle = &tri;
        hit.visibility *= 1.0 - body.material->opacity;
        if (hit.visibility < kHitEps) return true;
    }
    for (int32_t k = 0; k < node.childCount; ++k) {
        const OctreeNode& child = *node.children[k];
        if (nodeEntered(child, ray) && searchNode(child, body, ray, hit)) return true;
    }
    return false;
}

bool searchScene(const Scene& scene, const Ray& ray, Hit& hit) {
    hit.body = nullptr;
    hit.triangle = nullptr;
    for (const Body* body = scene.bodies; body; body = body->next) {
        if (ray.kind == RayKind::Shadow && !body->material->castShadow) continue;
        if (nodeEntered(*body->root, ray) && searchNode(*body->root, *body, ray, hit)) return true;
    }
    return false;
}

}  // namespace

bool referenceFindNearest(const Scene& scene, const Ray& ray, Hit& hit) {
    searchScene(scene, ray, hit);
    return hit.triangle != nullptr;
}

bool referenceTraceShadow(const Scene& scene, const Ray& ray, Hit& hit) {
    return searchScene(scene, ray, hit);
}

const Intersector kReferenceIntersector{referenceFindNearest, referenceTraceShadow, nullptr};

}  // namespace orv_test
