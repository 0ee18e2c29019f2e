// A host for the raytrace driver tests: a small scene handed out by geometry callbacks, the
// camera the tests render with, and the reference image traced row by row with the engine.
#pragma once

#include <cstdint>
#include <vector>

#include "orvanta.h"
#include "raytrace/render_context.h"
#include "raytrace/scene.h"
#include "raytrace/trace_row.h"

namespace orv_test {

struct HostTriangle {
    int64_t newBody;
    uint32_t colour;
    double corners[9];
};

// A red triangle in front of a two-triangle blue quad, on the background 0x00402010.
inline const std::vector<HostTriangle>& hostTriangles() {
    static const std::vector<HostTriangle> triangles = {
        {1, 0x000000C8, {-1.5, -1, 0, 1, -1.2, 0, 0, 1.3, 0}},
        {1, 0x00C86432, {-2, -0.5, -1, 2, -0.5, -1, 2, 2, -1}},
        {0, 0, {-2, -0.5, -1, 2, 2, -1, -2, 2, -1}},
    };
    return triangles;
}
constexpr uint32_t kHostBackground = 0x00402010;
const double kEye[3] = {0, 0, 5}, kTarget[3] = {0, 0, 0}, kUp[3] = {0, 1, 0};

struct GeometryHost {
    size_t next = 0;
    int calls = 0;
};

// Fills the out-arguments of a geometry callback from triangle `index`.
inline void fillTriangle(size_t index, int64_t* newBody, Mat** material, uint32_t* colour,
                         double* opacity, int32_t* twoSided, double corners[9],
                         double cornerNormals[9], double faceNormal[3]) {
    const HostTriangle& t = hostTriangles()[index];
    *newBody = t.newBody;
    *material = nullptr;
    *colour = t.colour;
    *opacity = 1.0;
    *twoSided = 1;
    for (int i = 0; i < 9; ++i) corners[i] = t.corners[i];
    const double n[3] = {0, 0, 1};  // every triangle lies in a plane z = const
    for (int i = 0; i < 9; ++i) cornerNormals[i] = n[i % 3];
    for (int i = 0; i < 3; ++i) faceNormal[i] = n[i];
}

inline int32_t shortGeometry(int64_t* newBody, Mat** material, uint32_t* colour, double* opacity,
                             int32_t* twoSided, double corners[9], double cornerNormals[9],
                             double faceNormal[3], void* user) {
    auto* host = static_cast<GeometryHost*>(user);
    ++host->calls;
    if (host->next >= hostTriangles().size()) return 0;
    fillTriangle(host->next++, newBody, material, colour, opacity, twoSided, corners, cornerNormals,
                 faceNormal);
    return 1;
}

inline int32_t longGeometry(int64_t* newBody, Mat** material, uint32_t* colour, double* opacity,
                            int32_t* twoSided, double corners[9], double cornerNormals[9],
                            double faceNormal[3], double boxMin[3], double boxMax[3],
                            double origin[3], void* user) {
    for (int i = 0; i < 3; ++i) boxMin[i] = -2, boxMax[i] = 2, origin[i] = 0;
    return shortGeometry(newBody, material, colour, opacity, twoSided, corners, cornerNormals,
                         faceNormal, user);
}

using RgbImage = std::vector<std::vector<uint8_t>>;  // rows of width x 3 bytes

// The image as one thread traces it: each row antialiased against its traced neighbours.
inline RgbImage referenceImage(int32_t width, int32_t height) {
    orv::RenderContext ctx;
    orv::setUpCamera(
        ctx, orv::CameraSetup{{0, 0, 5}, {0, 0, 0}, {0, 1, 0}, 60, 1, 0, 0, 1, width, height});
    orv::setEnvironment(ctx, nullptr, kHostBackground);
    for (size_t i = 0; i < hostTriangles().size(); ++i) {
        orv::GeometryItem item;
        fillTriangle(i, &item.newBody, &item.material, &item.colour, &item.opacity, &item.twoSided,
                     item.corners, item.cornerNormals, item.faceNormal);
        orv::addTriangle(ctx, item);
    }
    orv::finishScene(ctx);

    RgbImage image;
    std::vector<uint32_t> above(width + 2), row(width + 2), below(width + 2);
    for (int32_t r = 0; r < height; ++r) {
        orv::traceRow(ctx, r - 1, above.data(), nullptr, nullptr);
        orv::traceRow(ctx, r, row.data(), nullptr, nullptr);
        orv::traceRow(ctx, r + 1, below.data(), nullptr, nullptr);
        orv::antialiasRow(ctx, r, above.data(), row.data(), below.data());
        std::vector<uint8_t> rgb;
        for (int32_t c = 1; c <= width; ++c) {
            for (int k = 0; k < 3; ++k) rgb.push_back(static_cast<uint8_t>(row[c] >> (8 * k)));
        }
        image.push_back(rgb);
    }
    orv::freeScene(ctx.scene);
    orv::releaseEnvironment(ctx);
    return image;
}

// Index of the first byte where two rows differ, or -1.
inline int firstDifference(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
    if (a.size() != b.size()) return 0;
    for (size_t i = 0; i < a.size(); ++i) {
        if (a[i] != b[i]) return static_cast<int>(i);
    }
    return -1;
}

}  // namespace orv_test
