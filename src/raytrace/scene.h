// The raytracer's scene: the host's triangles grouped into bodies, one octree per body with
// tight boxes and integer screen rectangles. Built once per render on the caller's thread,
// read-only while the workers trace, freed by freeScene.
#pragma once

#include <cstdint>

#include "math/mat4.h"
#include "math/vec3.h"
#include "orvanta.h"

namespace orv {

struct RenderContext;

// Pixels relative to the image centre (column - centreX, row - centreY), inclusive bounds.
struct ScreenRect {
    int32_t x0, y0, x1, y1;
};

inline bool rectContains(const ScreenRect& r, int32_t x, int32_t y) {
    return x >= r.x0 && x <= r.x1 && y >= r.y0 && y <= r.y1;
}

struct Triangle {
    Vec3 p0, p1, p2;  // corners in the render frame
    // Dual vectors: for X in the plane, u = (X - p0) . a and v = (X - p0) . b are the
    // barycentric weights of p1 and p2.
    Vec3 a, b;
    double* cornerNormals;  // nine doubles (N0, N1, N2), or null for a flat triangle
    Vec3 n;                 // unit plane normal
    double dist;            // n . X + dist = 0 on the plane
    ScreenRect rect;
    Triangle* next;  // the node's list while the octree is built
};

struct OctreeNode {
    Vec3 boxMin, boxMax;
    ScreenRect rect;
    int32_t triangleCount;
    Triangle* triangles;  // array after the build; null when the node holds none
    Triangle* list;       // during the build only
    int32_t childCount;
    OctreeNode* children[8];  // packed to the front after the build
};

struct Body {
    Mat* material;
    Mat4 textureMatrix;  // render frame to texture space
    int32_t twoSided;
    bool ownsMaterial;  // a default material made from a colour and opacity
    Vec3 boxMin, boxMax, origin;  // texture placement, in the render frame
    Body* next;
    OctreeNode* root;
};

struct SceneAccel;

struct Scene {
    Body* bodies = nullptr;   // newest first
    Body* current = nullptr;  // the body still collecting triangles
    SceneAccel* accel = nullptr;  // the search structure, made by finishScene
    // Every body that casts shadows blocks light completely (1 - opacity below 1e-6), as the
    // materials stood when finishScene ran: any occluder then ends a shadow segment.
    bool everyOccluderBlocks = false;
    // The preview object, or null: a sphere of radius kPreviewRadius about the world origin,
    // tested before every body. Its body carries the material and texture placement for
    // shading; it has no octree and is not in the list of bodies.
    Body* preview = nullptr;
    Vec3 previewCentre{};  // in the render frame
};

constexpr double kPreviewRadius = 0.7;
constexpr double kPreviewRadiusSquared = 0.49;

// One call of the host's geometry callback: its out-arguments.
struct GeometryItem {
    int64_t newBody = 0;
    Mat* material = nullptr;
    uint32_t colour = 0;
    double opacity = 1.0;
    int32_t twoSided = 0;
    double corners[9] = {};
    double cornerNormals[9] = {};
    double faceNormal[3] = {};
    // The short form's placement box; the long form delivers its own.
    Vec3 boxMin{-0.5, -0.5, -0.5};
    Vec3 boxMax{0.5, 0.5, 0.5};
    Vec3 origin{0.0, 0.0, 0.0};
};

// Adds one delivered triangle to ctx.scene, starting a new body when the item says so.
// The camera of ctx must be set up (setUpCamera) before the first call.
void addTriangle(RenderContext& ctx, const GeometryItem& item);
// Finishes the last body of ctx.scene and builds the search structure over all bodies, for
// primary rays of ctx's camera and image; call once after the callback returned 0. The
// search structure's build may share its work among up to `threads` threads.
void finishScene(RenderContext& ctx, int threads = 1);
// Frees every body, its octree and a default material it made, and the preview object's body.
void freeScene(Scene& scene);
// Gives ctx.scene the preview object with this material, which is only read and must outlive
// the scene. The camera of ctx must be set up; call before finishScene.
void setPreviewObject(RenderContext& ctx, const Mat& material);

// The default material of a body that the host gave only a colour and an opacity.
Mat* makeDefaultMaterial(uint32_t colour, double opacity);

// Integer screen rectangle of three render-frame points as primary rays see them.
ScreenRect screenRect(const RenderContext& ctx, const Vec3 corners[3]);

}  // namespace orv
