// Scene build: collecting triangles into bodies, then per body the octree
// (subdivide -> refit -> pack).
#include "raytrace/scene.h"

#include <atomic>
#include <cmath>
#include <limits>

#include "appearance/texture_mapping.h"
#include "core/checked_alloc.h"
#include "core/colour.h"
#include "core/record_lifecycle.h"
#include "core/records.h"
#include "raytrace/build_threads.h"
#include "raytrace/render_context.h"
#include "raytrace/scene_accel.h"
#include "raytrace/triangle_hit.h"

namespace orv {

namespace {

constexpr double kFar = 1e99;
constexpr int32_t kRectEmpty = 1000000000;

Vec3 vecAt(const double* p) { return Vec3{p[0], p[1], p[2]}; }

// Truncation to a pixel index, held inside +-1e9 so that a corner very close to the eye's
// plane (or a zero zoom) cannot overflow the integer conversion.
int32_t toPixel(double v) {
    if (std::isnan(v)) return 0;
    if (v > 1e9) return 1000000000;
    if (v < -1e9) return -1000000000;
    return static_cast<int32_t>(v);
}

// Screen coordinate of one render-frame point, relative to the image centre.
void projectCorner(const RenderContext& ctx, const Vec3& corner, int32_t& column,
                   int32_t& row) {
    Vec3 w = corner - ctx.eye;
    normalise(w);
    w = w - ctx.view;
    double x, y;
    if (w.z >= 0.999999) {
        // At or behind the eye's plane: pushed beyond the screen edge on its side.
        x = w.x > 0 ? 2.0 / ctx.zoom : (w.x < 0 ? -2.0 / ctx.zoom : 0.0);
        y = w.y > 0 ? 2.0 / ctx.zoom : (w.y < 0 ? -2.0 / ctx.zoom : 0.0);
    } else {
        x = w.x / (1.0 - w.z);
        y = w.y / (1.0 - w.z);
    }
    column = toPixel((ctx.zoom * x + ctx.offX) / ctx.stepX);
    row = toPixel((ctx.zoom * y + ctx.offY) / ctx.stepY);
}

void growBox(Vec3& lo, Vec3& hi, const Vec3& p) {
    if (p.x < lo.x) lo.x = p.x;
    if (p.y < lo.y) lo.y = p.y;
    if (p.z < lo.z) lo.z = p.z;
    if (p.x > hi.x) hi.x = p.x;
    if (p.y > hi.y) hi.y = p.y;
    if (p.z > hi.z) hi.z = p.z;
}

void growRect(ScreenRect& r, const ScreenRect& add) {
    if (add.x0 < r.x0) r.x0 = add.x0;
    if (add.y0 < r.y0) r.y0 = add.y0;
    if (add.x1 > r.x1) r.x1 = add.x1;
    if (add.y1 > r.y1) r.y1 = add.y1;
}

bool insideBox(const Vec3& p, const Vec3& lo, const Vec3& hi) {
    return p.x >= lo.x && p.x <= hi.x && p.y >= lo.y && p.y <= hi.y && p.z >= lo.z &&
           p.z <= hi.z;
}

OctreeNode* newNode(const Vec3& lo, const Vec3& hi) {
    OctreeNode* node = static_cast<OctreeNode*>(checkedAlloc(sizeof(OctreeNode)));
    node->boxMin = lo;
    node->boxMax = hi;
    return node;
}

// Dual vectors of the corners: with e1 = p1 - p0, e2 = p2 - p0, m = e1 x e2,
// a = (e2 x m) / |m|^2 and b = (m x e1) / |m|^2. Collinear corners get NaN, which every
// barycentric test rejects.
void setDualVectors(Triangle& tri) {
    const Vec3 e1 = tri.p1 - tri.p0;
    const Vec3 e2 = tri.p2 - tri.p0;
    const Vec3 m = cross(e1, e2);
    const double mm = dot(m, m);
    if (!(mm > 0.0)) {
        const double nan = std::numeric_limits<double>::quiet_NaN();
        tri.a = tri.b = Vec3{nan, nan, nan};
        return;
    }
    tri.a = cross(e2, m) * (1.0 / mm);
    tri.b = cross(m, e1) * (1.0 / mm);
}

// The texture matrix and the placement box (given in world coordinates) of a body whose
// material is set.
void placeBody(const RenderContext& ctx, Body& body, const Vec3& boxMin, const Vec3& boxMax,
               const Vec3& origin) {
    // Render frame -> world -> texture space.
    body.textureMatrix = textureTransform(*body.material);
    preMultiplyInverse(body.textureMatrix, ctx.frame);
    body.boxMin = boxMin;
    body.boxMax = boxMax;
    body.origin = origin;
    transformPoint(body.boxMin, ctx.frame);
    transformPoint(body.boxMax, ctx.frame);
    transformPoint(body.origin, ctx.frame);
}

void startBody(RenderContext& ctx, const GeometryItem& item) {
    Body* body = static_cast<Body*>(checkedAlloc(sizeof(Body)));
    if (item.material) {
        body->material = item.material;
    } else {
        body->material = makeDefaultMaterial(item.colour, item.opacity);
        body->ownsMaterial = true;
    }
    placeBody(ctx, *body, item.boxMin, item.boxMax, item.origin);
    body->twoSided = item.twoSided;
    body->root = newNode(Vec3{kFar, kFar, kFar}, Vec3{-kFar, -kFar, -kFar});
    body->next = ctx.scene.bodies;
    ctx.scene.bodies = body;
    ctx.scene.current = body;
}

// ---- Finishing a body: subdivide, refit, pack ----------------------------------------------

// Octant i of a box: bit 0 picks the upper x half, bit 1 the upper y half, bit 2 the upper z.
void octantBox(const OctreeNode& node, int i, Vec3& lo, Vec3& hi) {
    const Vec3 c = (node.boxMin + node.boxMax) * 0.5;
    lo = node.boxMin;
    hi = node.boxMax;
    (i & 1 ? lo.x : hi.x) = c.x;
    (i & 2 ? lo.y : hi.y) = c.y;
    (i & 4 ? lo.z : hi.z) = c.z;
}

// Moves each triangle of the node's list that lies wholly inside an octant into that child.
void partition(OctreeNode& node) {
    for (int i = 0; i < 8; ++i) {
        Vec3 lo, hi;
        octantBox(node, i, lo, hi);
        // A box too small to halve in floating point would take its triangles along forever.
        if (sameVec(lo, node.boxMin) && sameVec(hi, node.boxMax)) continue;
        Triangle** link = &node.list;
        while (Triangle* tri = *link) {
            if (insideBox(tri->p0, lo, hi) && insideBox(tri->p1, lo, hi) &&
                insideBox(tri->p2, lo, hi)) {
                *link = tri->next;
                if (!node.children[i]) node.children[i] = newNode(lo, hi);
                tri->next = node.children[i]->list;
                node.children[i]->list = tri;
            } else {
                link = &tri->next;
            }
        }
    }
}

void subdivide(OctreeNode& node) {
    partition(node);
    for (OctreeNode* child : node.children) {
        if (child) subdivide(*child);
    }
}

// The node's own part of the refit, its children already refitted.
void refitNode(OctreeNode& node) {
    node.boxMin = Vec3{kFar, kFar, kFar};
    node.boxMax = Vec3{-kFar, -kFar, -kFar};
    node.rect = ScreenRect{kRectEmpty, kRectEmpty, -kRectEmpty, -kRectEmpty};
    int32_t count = 0;
    for (Triangle* tri = node.list; tri; tri = tri->next) ++count;
    if (count > 0) {
        node.triangles = static_cast<Triangle*>(checkedAlloc(sizeof(Triangle) * count));
    }
    node.triangleCount = count;
    int32_t k = 0;
    while (Triangle* tri = node.list) {
        node.list = tri->next;
        growBox(node.boxMin, node.boxMax, tri->p0);
        growBox(node.boxMin, node.boxMax, tri->p1);
        growBox(node.boxMin, node.boxMax, tri->p2);
        growRect(node.rect, tri->rect);
        node.triangles[k] = *tri;
        node.triangles[k].next = nullptr;
        ++k;
        checkedFree(tri);
    }
    for (OctreeNode* child : node.children) {
        if (!child) continue;
        growBox(node.boxMin, node.boxMax, child->boxMin);
        growBox(node.boxMin, node.boxMax, child->boxMax);
        growRect(node.rect, child->rect);
    }
}

void refit(OctreeNode& node) {
    for (OctreeNode* child : node.children) {
        if (child) refit(*child);
    }
    refitNode(node);
}

void pack(OctreeNode& node) {
    int32_t count = 0;
    for (int i = 0; i < 8; ++i) {
        OctreeNode* child = node.children[i];
        node.children[i] = nullptr;
        if (child) node.children[count++] = child;
    }
    node.childCount = count;
    for (int i = 0; i < count; ++i) pack(*node.children[i]);
}

// A body this large shares the subtrees below its root among the threads; the octree is the
// same for any thread count.
constexpr int32_t kParallelBody = 1 << 15;

void finishBody(Body& body, int threads = 1) {
    OctreeNode& root = *body.root;
    root.boxMin = Vec3{kFar, kFar, kFar};
    root.boxMax = Vec3{-kFar, -kFar, -kFar};
    int32_t count = 0;
    for (Triangle* tri = root.list; tri; tri = tri->next) {
        growBox(root.boxMin, root.boxMax, tri->p0);
        growBox(root.boxMin, root.boxMax, tri->p1);
        growBox(root.boxMin, root.boxMax, tri->p2);
        ++count;
    }
    partition(root);
    std::atomic<int> next{0};
    onThreads(count >= kParallelBody ? threads : 1, [&](int) {
        for (int i; (i = next.fetch_add(1)) < 8;) {
            if (!root.children[i]) continue;
            subdivide(*root.children[i]);
            refit(*root.children[i]);
        }
    });
    refitNode(root);
    pack(root);
}

// Frees a node before or after the build (list or array, children anywhere in the array).
void freeNode(OctreeNode* node) {
    while (Triangle* tri = node->list) {
        node->list = tri->next;
        checkedFree(tri->cornerNormals);
        checkedFree(tri);
    }
    for (int32_t k = 0; k < node->triangleCount; ++k) {
        checkedFree(node->triangles[k].cornerNormals);
    }
    checkedFree(node->triangles);
    for (OctreeNode* child : node->children) {
        if (child) freeNode(child);
    }
    checkedFree(node);
}

}  // namespace

Mat* makeDefaultMaterial(uint32_t colour, double opacity) {
    Mat* mat = static_cast<Mat*>(checkedAlloc(sizeof(Mat)));
    setBuiltInDefaults(*mat);
    const Vec3 c = colourFromRef(colour);
    mat->ambient = c;
    mat->diffuse = c * 0.8;
    mat->specular = Vec3{0.6, 0.6, 0.6};
    mat->opacity = opacity > 1.0 ? 1.0 : opacity;
    return mat;
}

ScreenRect screenRect(const RenderContext& ctx, const Vec3 corners[3]) {
    int32_t cols[3], rows[3];
    for (int i = 0; i < 3; ++i) projectCorner(ctx, corners[i], cols[i], rows[i]);
    ScreenRect r{cols[0], rows[0], cols[0], rows[0]};
    for (int i = 1; i < 3; ++i) {
        if (cols[i] < r.x0) r.x0 = cols[i];
        if (rows[i] < r.y0) r.y0 = rows[i];
        if (cols[i] > r.x1) r.x1 = cols[i];
        if (rows[i] > r.y1) r.y1 = rows[i];
    }
    return ScreenRect{r.x0 - 1, r.y0 - 1, r.x1 + 1, r.y1 + 1};
}

void addTriangle(RenderContext& ctx, const GeometryItem& item) {
    if (item.newBody) {
        if (ctx.scene.current) finishBody(*ctx.scene.current);
        startBody(ctx, item);
    }
    Body* body = ctx.scene.current;
    if (!body) return;  // delivered before the first body: dropped

    Vec3 p[3] = {vecAt(item.corners), vecAt(item.corners + 3), vecAt(item.corners + 6)};
    if (sameVec(p[0], p[1]) || sameVec(p[1], p[2]) || sameVec(p[2], p[0])) return;
    for (Vec3& corner : p) transformPoint(corner, ctx.frame);

    const Vec3 face = vecAt(item.faceNormal);
    Vec3 n = face;
    transformDirection(n, ctx.frame);
    normalise(n);

    const ScreenRect rect = screenRect(ctx, p);
    if (ctx.quick) {
        const bool offImage = rect.x1 < -ctx.centreX || rect.x0 > ctx.centreX ||
                              rect.y1 < -ctx.centreY || rect.y0 > ctx.centreY;
        const bool turnedAway =
            !body->twoSided && dot(n, ctx.view) > std::cos(ctx.fov / 2.0 * kDegToRad);
        if (offImage || turnedAway) return;
    }

    Triangle* tri = static_cast<Triangle*>(checkedAlloc(sizeof(Triangle)));
    tri->p0 = p[0];
    tri->p1 = p[1];
    tri->p2 = p[2];
    setDualVectors(*tri);
    tri->n = n;
    tri->dist = -dot(n, p[0]);
    tri->rect = rect;

    const Vec3 normals[3] = {vecAt(item.cornerNormals), vecAt(item.cornerNormals + 3),
                             vecAt(item.cornerNormals + 6)};
    if (!(sameVec(normals[0], face) && sameVec(normals[1], face) && sameVec(normals[2], face))) {
        tri->cornerNormals = static_cast<double*>(checkedAlloc(sizeof(double) * 9));
        for (int i = 0; i < 3; ++i) {
            Vec3 v = normals[i];
            transformDirection(v, ctx.frame);
            normalise(v);
            tri->cornerNormals[3 * i] = v.x;
            tri->cornerNormals[3 * i + 1] = v.y;
            tri->cornerNormals[3 * i + 2] = v.z;
        }
    }

    tri->next = body->root->list;
    body->root->list = tri;
}

void finishScene(RenderContext& ctx, int threads) {
    Scene& scene = ctx.scene;
    if (scene.current) finishBody(*scene.current, threads);
    scene.current = nullptr;
    freeAccel(scene.accel);
    const PrimaryView view{ctx.eye, ScreenRect{-ctx.centreX, -ctx.centreY,
                                               ctx.width - 1 - ctx.centreX,
                                               ctx.height - 1 - ctx.centreY}};
    scene.accel = buildAccel(scene, threads, &view);
    const auto blocksIfCasting = [](const Body& body) {
        const Mat& m = *body.material;
        return !m.castShadow || blocksLightAlone(m);
    };
    scene.everyOccluderBlocks = !scene.preview || blocksIfCasting(*scene.preview);
    for (const Body* body = scene.bodies; body; body = body->next) {
        if (!blocksIfCasting(*body)) scene.everyOccluderBlocks = false;
    }
}

void setPreviewObject(RenderContext& ctx, const Mat& material) {
    Scene& scene = ctx.scene;
    if (!scene.preview) scene.preview = static_cast<Body*>(checkedAlloc(sizeof(Body)));
    Body& body = *scene.preview;
    body.material = const_cast<Mat*>(&material);  // read only: ownsMaterial stays false
    const double r = kPreviewRadius;
    placeBody(ctx, body, Vec3{-r, -r, -r}, Vec3{r, r, r}, Vec3{0, 0, 0});
    scene.previewCentre = Vec3{0, 0, 0};
    transformPoint(scene.previewCentre, ctx.frame);
}

void freeScene(Scene& scene) {
    freeAccel(scene.accel);
    scene.accel = nullptr;
    scene.everyOccluderBlocks = false;
    while (Body* body = scene.bodies) {
        scene.bodies = body->next;
        freeNode(body->root);
        if (body->ownsMaterial) disposeMat(body->material);
        checkedFree(body);
    }
    scene.current = nullptr;
    checkedFree(scene.preview);
    scene.preview = nullptr;
}

}  // namespace orv
