// Texture projection mapping through the viewer's exports, and the raytracer's texel lookup:
// projections, placement, the seam of the angular projections, the texel index rules (inclusive
// bound, truncation, tiling), the filters and the perturbed normal.
#include "appearance/texture_mapping.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <vector>

#include "core/records.h"

namespace {

using orv::Vec3;
using UV = std::array<double, 6>;

constexpr double kDeg = 3.14159265358979323846 / 180.0;

// A material whose slot holds a side x side image; pixel (i, j) gets colour(i, j).
struct Textured {
    Mat mat;
    std::vector<uint8_t> pixels;

    Textured(uint32_t side, uint32_t projection, double size, int slotIndex = 0) {
        orv::setBuiltInDefaults(mat);
        OrvTextureSlot& s = mat.slots[slotIndex];
        pixels.assign(4ull * side * side, 255);
        s.projection = projection;
        s.size = size;
        s.source = 1;
        s.side = side;
        s.pixelBytes = uint32_t(pixels.size());
        s.pixels = pixels.data();
    }
    void paint(const std::function<std::array<uint8_t, 3>(uint32_t, uint32_t)>& colour) {
        const uint32_t side = uint32_t(std::lround(std::sqrt(pixels.size() / 4.0)));
        for (uint32_t j = 0; j < side; ++j) {
            for (uint32_t i = 0; i < side; ++i) {
                const auto c = colour(i, j);
                std::copy(c.begin(), c.end(), pixels.begin() + 4 * (j * side + i));
            }
        }
    }
};

UV mapCorners(const Mat& mat, const std::array<Vec3, 3>& p, const Vec3& n,
              const double* box = nullptr, const double* origin = nullptr) {
    const double corners[9] = {p[0].x, p[0].y, p[0].z, p[1].x, p[1].y,
                               p[1].z, p[2].x, p[2].y, p[2].z};
    const double normal[3] = {n.x, n.y, n.z};
    UV uv;
    uv.fill(9.0);
    EXPECT_EQ(1, ViewerMapTexture2(&mat, corners, normal, uv.data(), box, box ? box + 3 : nullptr,
                                   origin));
    return uv;
}

TEST(TextureMapping, PlaneMapsThroughPlacementAndTileSize) {
    struct Row {
        double size;
        Vec3 position, rotation, point;
        const double* origin;
        double u, v, tolerance;
    };
    const double shift[3] = {1, 1, 0};
    const Row rows[] = {
        {1, {0, 0, 0}, {0, 0, 0}, {1, 1, 0}, nullptr, 1.0, 1.0, 0},
        {1, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, nullptr, 0.5, 0.5, 0},
        {0, {0, 0, 0}, {0, 0, 0}, {1, 1, 0}, nullptr, 1.5, 1.5, 0},  // unscaled
        {0, {2, 0, 0}, {0, 0, 0}, {2, 1, 0}, nullptr, 0.5, 1.5, 0},
        {0, {0, 0, 0}, {0, 0, 0}, {1, 1, 0}, shift, 0.5, 0.5, 0},
        // The placement turns the texture by +90 degrees, so the point turns by -90.
        {0.5, {0, 0, 0}, {0, 0, 90}, {1, 0, 0}, nullptr, 0.5, -0.5, 1e-9},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(testing::Message() << "size " << r.size << " x " << r.point.x);
        Textured t(2, 0, r.size);
        t.mat.texturePosition = r.position;
        t.mat.textureRotation = r.rotation;
        const UV uv = mapCorners(t.mat, {r.point, r.point, r.point}, {0, 0, 1}, nullptr, r.origin);
        for (int k = 0; k < 6; ++k) EXPECT_NEAR(k % 2 ? r.v : r.u, uv[k], r.tolerance) << k;
    }
}

TEST(TextureMapping, BoxFaceChoosesItsUpVector) {
    // q = (0.25, 0, 0.125): up (0, 0, -1) maps it to (0.75, 0.375), up (0, 1, 0) to (0.375, 0.25).
    struct Row {
        Vec3 normal;
        double u, v;
    };
    const Row rows[] = {{{0, 1, 0}, 0.75, 0.375},
                        {{0.0005, 1, 0}, 0.75, 0.375},
                        {{0.002, 1, 0}, 0.375, 0.25},
                        {{0, 0, 1}, 0.75, 0.5}};  // q.x, q.y straight on, up (0, 1, 0)
    Textured t(2, 1, 0);
    const Vec3 q{0.25, 0, 0.125};
    for (const Row& r : rows) {
        SCOPED_TRACE(testing::Message() << "normal.x " << r.normal.x << " normal.z " << r.normal.z);
        const UV uv = mapCorners(t.mat, {q, q, q}, r.normal);
        EXPECT_NEAR(r.u, uv[0], 1e-5);
        EXPECT_NEAR(r.v, uv[1], 1e-5);
    }
}

// u is 1 minus the turns from +y towards +x; points straddling the seam at +y are measured from
// -1/2 to 1/2 turn instead of 0 to 1 (the rows give the angles as they are measured).
TEST(TextureMapping, CylinderMeasuresFromPlusYAndAvoidsTheSeam) {
    struct Row {
        double degrees[3];
        double scale;  // 0: no bounding box
    };
    const Row rows[] = {
        {{-10, 10, 10}, 0},
        {{80, 100, 120}, 0},
        {{10, -160, 20}, 0},
        {{80, 100, 120}, 4 * 3.1415926535},  // box 2 wide, 4 high, unscaled tiles
    };
    const double box[6] = {-1, -1, -1, 1, 3, 1};
    const double z[3] = {0, 0.5, -0.5};
    Textured t(2, 2, 0);
    for (const Row& r : rows) {
        SCOPED_TRACE(r.degrees[0]);
        std::array<Vec3, 3> p;
        for (int k = 0; k < 3; ++k)
            p[k] = {std::sin(r.degrees[k] * kDeg), std::cos(r.degrees[k] * kDeg), z[k]};
        const UV uv = mapCorners(t.mat, p, {1, 0, 0}, r.scale > 0 ? box : nullptr);
        for (int k = 0; k < 3; ++k) {
            EXPECT_NEAR((1 - r.degrees[k] / 360) * (r.scale > 0 ? r.scale : 1), uv[2 * k], 1e-8);
            EXPECT_EQ(z[k] + 0.5, uv[2 * k + 1]);
        }
    }
    // A single point has no seam to avoid; two of the first three points exactly half a turn
    // apart straddle it, so a fourth point just short of +y is measured from the other side.
    const Vec3 points[4] = {{0, 1, 0},
                            {0, -1, 0},
                            {std::sin(170 * kDeg), std::cos(170 * kDeg), 0},
                            {std::sin(350 * kDeg), std::cos(350 * kDeg), 0}};
    double uv[8];
    const orv::Mat4 transform = orv::textureTransform(t.mat);
    ASSERT_TRUE(orv::mapTexture(t.mat, 0, transform, points + 3, 1, {1, 0, 0}, uv, nullptr, nullptr,
                                nullptr));
    EXPECT_NEAR(10.0 / 360, uv[0], 1e-9);
    ASSERT_TRUE(
        orv::mapTexture(t.mat, 0, transform, points, 4, {1, 0, 0}, uv, nullptr, nullptr, nullptr));
    EXPECT_NEAR(1 + 10.0 / 360, uv[6], 1e-9);

    const UV cap = mapCorners(t.mat, {Vec3{1, 2, 3}, Vec3{-1, 0, 3}, Vec3{0, 5, 3}}, {0, 0, 1});
    EXPECT_EQ((UV{0, 0, 0, 0, 0, 0}), cap);
}

// u is the longitude about z from +y, v the one about y from +z: these corners straddle v's
// seam, but not u's.
TEST(TextureMapping, SphereGivesTwoLongitudes) {
    Textured t(2, 3, 0);
    const double degrees[3] = {-10, 10, 0};
    std::array<Vec3, 3> p;
    for (int k = 0; k < 3; ++k)
        p[k] = {std::sin(degrees[k] * kDeg), -1, std::cos(degrees[k] * kDeg)};
    const UV uv = mapCorners(t.mat, p, {1, 0, 0});
    for (int k = 0; k < 3; ++k) {
        SCOPED_TRACE(k);
        const double turns = std::atan2(p[k].x, p[k].y) / (360 * kDeg);
        EXPECT_NEAR(turns < 0 ? -turns : 1 - turns, uv[2 * k], 1e-9);
        EXPECT_NEAR(1 - degrees[k] / 360, uv[2 * k + 1], 1e-9);
    }
    const Vec3 q{1, 1, 0};
    double single[2];
    orv::mapTexture(t.mat, 0, orv::textureTransform(t.mat), &q, 1, {0, 0, 1}, single, nullptr,
                    nullptr, nullptr);
    EXPECT_NEAR(0.875, single[0], 1e-9);  // 45 degrees about z, no cap rule
    EXPECT_NEAR(0.75, single[1], 1e-9);   // 90 degrees about y
}

// Side 256, pixel (i, j) = (i, j, 255); plane projection with unscaled tiles, so the hit point
// (u - 0.5, v - 0.5, 0) is looked up at (u, v).
TEST(TextureLookup, TexelIndexRules) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    struct Row {
        double u, v;
        uint32_t tileX, tileY;
        double intensity;
        int red, green;  // red -1: black
    };
    const Row rows[] = {
        {0.5, 0.5, 0, 0, 1, 128, 128},
        {1.0, 0.5, 0, 0, 1, 0, 129},         // index side: first pixel of the next row
        {1.0, 255.5 / 256, 0, 0, 1, -1, 0},  // ... past the last row: black, in the buffer
        {1.0, 1.0, 0, 0, 1, -1, 0},
        {1.01, 0.5, 0, 0, 1, -1, 0},
        {-0.001, 0.5, 0, 0, 1, 0, 128},  // truncated towards zero
        {-0.01, 0.5, 0, 0, 1, -1, 0},
        {-0.25, 0.5, 1, 0, 1, 192, 128},
        {1.25, 0.5, 1, 0, 1, 64, 128},
        {0.5, -0.25, 0, 1, 1, 128, 192},
        {0.5, -0.25, 1, 0, 1, -1, 0},  // tiled in u only
        {0.5, 0.5, 0, 0, 0.5, 128, 128},
        {nan, 0.5, 0, 0, 1, -1, 0},
        {1e300, 0.5, 1, 0, 1, 0, 128},
    };
    Textured t(256, 0, 0);
    t.paint([](uint32_t i, uint32_t j) {
        return std::array<uint8_t, 3>{uint8_t(i), uint8_t(j), 255};
    });
    OrvTextureSlot& slot = t.mat.slots[0];
    slot.filter = 1;
    const orv::Mat4 p = orv::textureTransform(t.mat);
    for (const Row& r : rows) {
        SCOPED_TRACE(testing::Message() << "u " << r.u << " v " << r.v);
        slot.tileX = r.tileX;
        slot.tileY = r.tileY;
        slot.intensity = r.intensity;
        Vec3 colour;
        uint32_t mode = 9;
        ASSERT_TRUE(orv::textureLookup(t.mat, 0, p, {r.u - 0.5, r.v - 0.5, 0}, {0, 0, 1}, nullptr,
                                       &colour, &mode, nullptr, nullptr, nullptr));
        const double k = r.red < 0 ? 0 : r.intensity;
        EXPECT_EQ(r.red / 255.0 * k, colour.x);
        EXPECT_EQ(r.green / 255.0 * k, colour.y);
        EXPECT_EQ(k, colour.z);
        EXPECT_EQ(0u, mode);
    }
}

TEST(TextureLookup, LinearFilterAveragesFiveTexels) {
    // Side 4 at (0.5, 0.5): texel (2, 2) and its four diagonal neighbours.
    struct Row {
        uint32_t i, j;
        double red;
    };
    const Row rows[] = {{2, 2, 0.2}, {1, 1, 0.2}, {3, 1, 0.2}, {3, 3, 0.2},
                        {1, 3, 0.2}, {2, 3, 0},   {3, 2, 0},   {2, 1, 0}};
    Textured t(4, 0, 0);
    t.mat.slots[0].mode = 1;
    for (const Row& r : rows) {
        t.paint([&](uint32_t i, uint32_t j) {
            return std::array<uint8_t, 3>{uint8_t(i == r.i && j == r.j ? 255 : 0), 0, 0};
        });
        Vec3 colour;
        uint32_t mode = 0;
        orv::textureLookup(t.mat, 0, orv::textureTransform(t.mat), {0, 0, 0}, {0, 0, 1}, nullptr,
                           &colour, &mode, nullptr, nullptr, nullptr);
        EXPECT_EQ(r.red, colour.x) << "white texel " << r.i << ", " << r.j;
        EXPECT_EQ(1u, mode);
    }
    t.paint([](uint32_t, uint32_t) { return std::array<uint8_t, 3>{255, 128, 64}; });
    Vec3 colour;
    uint32_t mode;
    orv::textureLookup(t.mat, 0, orv::textureTransform(t.mat), {0.3, -0.2, 0}, {0, 0, 1}, nullptr,
                       &colour, &mode, nullptr, nullptr, nullptr);
    EXPECT_EQ(1.0, colour.x);
    EXPECT_EQ(128 / 255.0, colour.y);
    EXPECT_EQ(64 / 255.0, colour.z);
}

// The height lies in the third channel; the normal tilts away from the rise.
TEST(TextureLookup, PerturbedNormalFollowsTheHeightField) {
    for (int rise : {0, 1, 2}) {  // flat, rising in u, rising in v
        SCOPED_TRACE(rise);
        Textured t(4, 0, 0, 3);  // the structure slot
        t.paint([&](uint32_t i, uint32_t j) {
            return std::array<uint8_t, 3>{255, 255, uint8_t(rise ? 60 * (rise == 1 ? i : j) : 0)};
        });
        Vec3 n{7, 7, 7};
        ASSERT_TRUE(orv::textureLookup(t.mat, 3, orv::textureTransform(t.mat), {0, 0, 0}, {0, 0, 1},
                                       &n, nullptr, nullptr, nullptr, nullptr, nullptr));
        EXPECT_NEAR(1.0, orv::length(n), 1e-12);
        EXPECT_GT(n.z, 0.5);
        EXPECT_TRUE(rise == 1 ? n.x < -0.05 : std::fabs(n.x) < 1e-12) << n.x;
        EXPECT_TRUE(rise == 1 || (rise == 2 ? n.y < -0.05 : std::fabs(n.y) < 1e-12)) << n.y;
    }
}

TEST(TextureLookup, WithoutTextureAnswersNeutralValuesAndTheViewerWritesNothing) {
    Textured t(2, 0, 0);
    t.mat.slots[0].pixels = nullptr;  // a source without pixels shows as untextured
    const orv::Mat4 p = orv::textureTransform(t.mat);
    Vec3 n{7, 7, 7}, colour{7, 7, 7};
    uint32_t mode = 9;
    EXPECT_FALSE(orv::textureLookup(t.mat, 0, p, {0, 0, 0}, {0, 0, 1}, &n, nullptr, nullptr,
                                    nullptr, nullptr, nullptr));
    EXPECT_TRUE(n.x == 0 && n.y == 0 && n.z == 0);
    EXPECT_FALSE(orv::textureLookup(t.mat, 1, p, {0, 0, 0}, {0, 0, 1}, nullptr, &colour, &mode,
                                    nullptr, nullptr, nullptr));  // slot 1 is empty
    EXPECT_TRUE(colour.x == 1 && colour.y == 1 && colour.z == 1);
    EXPECT_EQ(0u, mode);

    const double corners[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9}, normal[3] = {0, 0, 1};
    const UV untouched = {9, 9, 9, 9, 9, 9};
    for (int variant = 0; variant < 3; ++variant) {
        SCOPED_TRACE(variant);
        Textured v(2, 0, 1);
        if (variant == 0) v.mat.slots[0].source = 0;
        if (variant == 1) v.mat.slots[0].pixels = nullptr;
        if (variant == 2) v.mat.slots[0].projection = 7;  // unknown: textured, nothing written
        UV uv = untouched;
        EXPECT_EQ(variant == 2 ? 1 : 0, ViewerMapTexture(&v.mat, corners, normal, uv.data()));
        EXPECT_EQ(untouched, uv);
    }
}

TEST(TextureMapping, TextureMapingGivesTilesPlacementAndRotation) {
    struct Row {
        double size;
        uint32_t tileX, tileY;
        double u, v;
    };
    const Row rows[] = {{1.5, 0, 0, 3, 3}, {0, 0, 0, 0, 0}, {-1, 1, 0, -2, 0}, {-1, 0, 1, 0, -2}};
    Textured t(8, 1, 0);
    t.mat.texturePosition = {1.5, -2, 9};
    t.mat.textureRotation = {10, 20, 30};
    for (const Row& r : rows) {
        OrvTextureSlot& slot = t.mat.slots[0];
        slot.size = r.size;
        slot.tileX = r.tileX;
        slot.tileY = r.tileY;
        SCOPED_TRACE(r.size);
        double tile[2], placement[3], rotation;
        EXPECT_EQ(8u, TextureMaping(&t.mat, tile, placement, &rotation));
        EXPECT_EQ(r.u, tile[0]);
        EXPECT_EQ(r.v, tile[1]);
        EXPECT_EQ(1.5, placement[0]);
        EXPECT_EQ(-2.0, placement[1]);
        EXPECT_EQ(2 * r.size, placement[2]);
        EXPECT_EQ(30.0, rotation);
    }
}

}  // namespace
