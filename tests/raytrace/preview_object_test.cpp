// The preview object through the portable driver: a red sphere of radius 0.7 about the origin,
// seen from (0, 0, 5) with a 20 degree field on 64 x 64 pixels (the silhouette's radius is
// 25.7 pixels), lit by a point light at (0, 0, 2), alone or with host bodies. Each probe is
// also traced without the preview object. Without antialiasing the sphere's nearest point is
// ambient 0.25 plus the light's 1.5 x (1 - gloss 0.5) x brightness 0.5 in red: 0.625 (0x9F).
#include <gtest/gtest.h>

#include <vector>

#include "core/records.h"
#include "raytrace/render_driver.h"

namespace {

using orv::Vec3;

struct Tri {
    int64_t newBody;
    uint32_t colour;
    Vec3 p[3];
    Vec3 n;
};
using Geometry = std::vector<Tri>;

double at(const Vec3& v, int k) {
    return k == 0 ? v.x : k == 1 ? v.y : v.z;
}

// A square of half-edge h in the plane z, facing +z.
Geometry square(uint32_t colour, double z, double h) {
    return {{1, colour, {{-h, -h, z}, {h, -h, z}, {h, h, z}}, {0, 0, 1}},
            {0, colour, {{-h, -h, z}, {h, h, z}, {-h, h, z}}, {0, 0, 1}}};
}

// Twelve triangles, each face facing out.
Geometry cube(uint32_t colour, const Vec3& c, double h) {
    Geometry g;
    for (int axis = 0; axis < 3; ++axis) {
        for (double s : {-1.0, 1.0}) {
            auto corner = [&](double u, double v) {
                double q[3];
                q[axis] = s * h, q[(axis + 1) % 3] = u * h, q[(axis + 2) % 3] = v * h;
                return c + Vec3{q[0], q[1], q[2]};
            };
            Vec3 n{0, 0, 0};
            (axis == 0 ? n.x : axis == 1 ? n.y : n.z) = s;
            g.push_back({g.empty(), colour, {corner(-1, -1), corner(1, -1), corner(1, 1)}, n});
            g.push_back({0, colour, {corner(-1, -1), corner(1, 1), corner(-1, 1)}, n});
        }
    }
    return g;
}

int32_t deliver(int64_t* newBody, Mat** material, uint32_t* colour, double* opacity,
                int32_t* twoSided, double corners[9], double cornerNormals[9], double face[3],
                void* user) {
    auto& rest = *static_cast<std::vector<Tri>*>(user);
    if (rest.empty()) return 0;
    const Tri t = rest.front();
    rest.erase(rest.begin());
    *newBody = t.newBody, *material = nullptr, *colour = t.colour, *opacity = 1, *twoSided = 1;
    for (int i = 0; i < 9; ++i) corners[i] = at(t.p[i / 3], i % 3);
    for (int i = 0; i < 9; ++i) cornerNormals[i] = at(t.n, i % 3);
    for (int i = 0; i < 3; ++i) face[i] = at(t.n, i);
    return 1;
}

int32_t keepRow(const uint8_t* rgb, int32_t width, int32_t row, void* user) {
    auto& image = *static_cast<std::vector<uint32_t>*>(user);
    for (int32_t i = 0; i < width; ++i) {
        image[row * width + i] = rgb[3 * i] | rgb[3 * i + 1] << 8 | rgb[3 * i + 2] << 16;
    }
    return 1;
}

constexpr int kSide = 64;
constexpr uint32_t kBackground = 0xBF7F3F;  // (0.25, 0.5, 0.75)
constexpr uint32_t kSphereCentre = 0x00009F;

struct Stage {
    Geometry geometry;
    uint32_t castShadow = 1;
    double opacity = 1, reflection = 0, lightGain = 1.5;
    int32_t maxDepth = 10;
};

uint32_t tracePixel(const Stage& s, bool withSphere, int x, int y) {
    Env env;
    Lgt light;
    Mat red;
    orv::setBuiltInDefaults(env);
    orv::setBuiltInDefaults(light);
    orv::setBuiltInDefaults(red);
    env.standardLights = 0, env.brightness = 0.5;
    env.ambient = Vec3{0.25, 0.25, 0.25}, env.background = Vec3{0.25, 0.5, 0.75};
    light.type = 2, light.position = Vec3{0, 0, 2}, light.target = Vec3{0, 0, 0};
    red.ambient = red.diffuse = Vec3{1, 0, 0};
    red.shininess = 0, red.castShadow = s.castShadow, red.opacity = s.opacity;
    red.reflection = s.reflection;
    Lgt* lights[] = {&light, nullptr};
    std::vector<Tri> rest = s.geometry;
    std::vector<uint32_t> image(kSide * kSide, 0xFFFFFFFF);

    orv::RaytraceRequest request;
    request.camera =
        orv::CameraSetup{{0, 0, 5}, {0, 0, 0}, {0, 1, 0}, 20, 1, 0, 0, 1, kSide, kSide};
    request.env = &env;
    request.lights = lights;
    request.antialias = false;
    request.geometry = deliver;
    request.geometryUser = &rest;
    request.rowCallback = keepRow;
    request.rowUser = &image;
    request.previewSphere = withSphere ? &red : nullptr;
    request.lightGain = s.lightGain;
    request.maxDepth = s.maxDepth;
    orv::raytraceToDevice(request);
    return image[y * kSide + x];
}

uint32_t red(uint32_t p) {
    return p & 0xFF;
}
uint32_t green(uint32_t p) {
    return p >> 8 & 0xFF;
}

TEST(PreviewObjectTest, ProbesWithAndWithoutTheSphere) {
    const Stage alone{};
    const Stage cubeBehind{cube(0xFF0000, Vec3{0, 0, -1.5}, 0.5)};
    const Stage triangleInFront{
        {{1, 0x00FF00, {{-0.2, -0.2, 1.5}, {0.2, -0.2, 1.5}, {0, 0.2, 1.5}}, {0, 0, 1}}}};
    const Geometry wall = square(0xFFFFFF, -1, 3);
    // Behind the eye, seen only in the sphere's mirror image.
    const Geometry mirrored = {{1, 0x00FF00, {{-3, -3, 6}, {3, -3, 6}, {0, 3, 6}}, {0, 0, 1}}};
    const Stage lit{wall}, unshadowed{wall, 0}, half{wall, 1, 0.5};
    const Stage gain3{{}, 1, 1, 0, 3.0}, depth0{mirrored, 1, 1, 1, 1.5, 0};
    const Stage depth1{mirrored, 1, 1, 1, 1.5, 1};
    // The wall pixels lie between the silhouette (0.85) and the shadow's edge (1.12). The wall is
    // white, so its pixels order as their packed values; in full shadow the ambient 0.25 is left.
    const struct {
        const char* label;
        Stage stage;
        int x, y;
        bool (*ok)(uint32_t got, uint32_t withoutSphere);
    } cases[] = {
        {"nearest point", alone, 32, 32, [](auto g, auto) { return g == kSphereCentre; }},
        {"corner", alone, 0, 0, [](auto g, auto) { return g == kBackground; }},
        {"inside edge", alone, 57, 32, [](auto g, auto) { return g == red(g) && g >= 0x3F; }},
        {"outside edge", alone, 58, 32, [](auto g, auto) { return g == kBackground; }},
        {"cube behind", cubeBehind, 32, 32, [](auto g, auto) { return g == kSphereCentre; }},
        {"triangle in front", triangleInFront, 32, 32, [](auto g, auto w) { return g == w; }},
        {"shadow on the wall", lit, 61, 32, [](auto g, auto) { return g == 0x3F3F3F; }},
        {"no shadow when not cast", unshadowed, 61, 32, [](auto g, auto w) { return g == w; }},
        {"half shadow", half, 61, 32, [](auto g, auto w) { return g > 0x3F3F3F && g < w; }},
        {"light gain 3", gain3, 32, 32, [](auto g, auto) { return g == 0xFF; }},
        {"depth 0, no mirror", depth0, 32, 32, [](auto g, auto) { return g == kSphereCentre; }},
        {"depth 1, mirror", depth1, 32, 32, [](auto g, auto) { return green(g) > 0; }},
    };
    for (const auto& c : cases) {
        const uint32_t got = tracePixel(c.stage, true, c.x, c.y);
        const uint32_t without = tracePixel(c.stage, false, c.x, c.y);
        EXPECT_TRUE(c.ok(got, without))
            << c.label << ": 0x" << std::hex << got << ", without the sphere 0x" << without;
    }
}

}  // namespace
