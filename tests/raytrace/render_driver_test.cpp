// The raytrace driver through its exports: every row delivered with the reference pixels, for
// both geometry callbacks and every thread count; cancelling; refused sizes; hostile scenes and
// cameras; render/cancel cycles (leaks and races in the sanitizer builds, the C heap here); the
// preview sphere.
#if defined(__linux__)
#include <malloc.h>
#endif

#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "raytrace/render_driver.h"
#include "raytrace_fixture.h"

namespace {

using orv::Vec3;
using orv_test::GeometryHost;
using orv_test::HostRender;
using orv_test::HostTriangle;
using orv_test::RgbRow;
using orv_test::RowLog;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kHuge = 1e300;

class RenderDriverTest : public ::testing::Test {
protected:
    void TearDown() override { SetRaytraceThreads(2); }
};
using RenderReliabilityTest = RenderDriverTest;

// Every row delivered once, or twice where two workers meet; with the wanted pixels if given.
void expectRows(const RowLog& log, const std::vector<RgbRow>& want) {
    for (size_t r = 0; r < log.rows.size(); ++r) {
        SCOPED_TRACE(::testing::Message() << "row " << r);
        EXPECT_TRUE(log.rows[r].size() == 1 || log.rows[r].size() == 2) << log.rows[r].size();
        for (const RgbRow& rgb : log.rows[r]) EXPECT_TRUE(want.empty() || rgb == want[r]);
    }
}

// Bytes in use on the C heap; 0 where a sanitizer's allocator serves instead of glibc's.
size_t heapInUse() {
#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    return mallinfo2().uordblks;
#else
    return 0;
#endif
}

TEST_F(RenderDriverTest, EveryThreadCountDeliversTheReferenceImage) {
    // At 42 x 28 antialiasing against antialiased rows would change seven rows; at height 1 row 0
    // has no neighbours, and three workers' first band is shorter than the others. 0: a core each.
    const struct {
        int32_t threads;
        bool longForm;
        int32_t width, height;
    } cases[] = {{2, true, 42, 28},  {2, false, 42, 28}, {1, true, 42, 28},
                 {3, false, 42, 28}, {0, true, 42, 28},  {7, true, 42, 28},
                 {1, true, 24, 1},   {2, true, 24, 1},   {3, true, 24, 1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.threads << " threads, long form " << c.longForm
                                          << ", height " << c.height);
        SetRaytraceThreads(c.threads);
        GeometryHost host;
        RowLog log(c.height);
        EXPECT_EQ(1, (HostRender{c.width, c.height, c.longForm}.run(host, log)));
        EXPECT_EQ(4, host.calls);  // three triangles, then 0
        expectRows(log, orv_test::referenceImage(c.width, c.height));
    }
}

TEST_F(RenderDriverTest, CancelFromTheRowCallbackStopsEveryWorker) {
    const struct {
        int32_t width, height, threads;
    } cases[] = {{300, 200, 2}, {300, 200, 3}, {24, 1, 2}, {24, 2, 2}};
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.width << " x " << c.height << ", " << c.threads);
        SetRaytraceThreads(c.threads);
        GeometryHost host;
        RowLog log(c.height, 0);
        EXPECT_NE(0, (HostRender{c.width, c.height}.run(host, log)));
        // The cancelling row and at most one row per worker already on its way.
        EXPECT_LE(log.calls, 1 + c.threads);
    }
}

TEST_F(RenderDriverTest, ImagesTooLargeForTheRowMessageRenderNothing) {
    for (const auto& size : {std::pair<int32_t, int32_t>{65536, 1}, {1, 65536}, {0, 4}, {4, -1}}) {
        GeometryHost host;
        RowLog log(size.second);
        HostRender{size.first, size.second, true}.run(host, log);
        EXPECT_EQ(0, log.calls + host.calls) << size.first << " x " << size.second;
    }
}

TEST_F(RenderReliabilityTest, HostileScenesAndCamerasRenderEveryRow) {
    const uint32_t red = 0x000000C8;
    const HostTriangle good{0, red, {{-1, -1, 0}, {1, -1, 0}, {0, 1, 0}}};
    const std::vector<HostTriangle> host = orv_test::hostScene();
    const struct {
        const char* name;
        std::vector<HostTriangle> triangles;
        HostRender render;
        bool onlyBackground;  // where nothing can be hit
    } cases[] = {
        {"no triangles", {}, {}, true},
        {"degenerate only",
         {{1, red, {{0, 0, 0}, {0, 0, 0}, {1, 1, 0}}},     // two equal corners: dropped
          {0, red, {{1, 1, 1}, {1, 1, 1}, {1, 1, 1}}},     // one point
          {0, red, {{-1, -1, 0}, {0, 0, 0}, {1, 1, 0}}}},  // collinear: kept, never hit
         {},
         true},
        {"NaN corners",
         {{1, red, {{kNan, 0, 0}, {1, 0, 0}, {0, 1, 0}}},
          {0, red, {{kNan, kNan, kNan}, {kNan, kNan, kNan}, {kNan, kNan, kNan}}},
          good},
         {},
         false},
        {"infinite corners",
         {{1, red, {{-kInf, -kInf, 0}, {kInf, -kInf, 0}, {0, kInf, 0}}}, good},
         {},
         false},
        {"huge corners",
         {{1, red, {{-kHuge, -kHuge, -1}, {kHuge, -kHuge, -1}, {0, kHuge, -1}}},
          {0, red, {{-kHuge, 0, kHuge}, {kHuge, 0, -kHuge}, {0, 1, 0}}}},
         {},
         false},
        {"NaN normals", {{1, red, {{-1, -1, 0}, {1, -1, 0}, {0, 1, 0}}, {0, 0, kNan}}}, {}, false},
        {"NaN eye", host, {16, 8, false, {kNan, 0, 5}}, false},
        {"infinite eye", host, {16, 8, false, {0, 0, kInf}}, false},
        {"huge eye", host, {16, 8, false, {0, 0, kHuge}}, false},
        {"eye at the target", host, {16, 8, false, {0, 0, 0}}, false},
        {"up along the view", host, {16, 8, false, {0, 0, 5}, {0, 0, 0}, {0, 0, 1}}, false},
        {"NaN fov", host, {16, 8, false, {0, 0, 5}, {0, 0, 0}, {0, 1, 0}, kNan}, false},
        {"infinite fov", host, {16, 8, false, {0, 0, 5}, {0, 0, 0}, {0, 1, 0}, kInf}, false},
        {"fov 180", host, {16, 8, false, {0, 0, 5}, {0, 0, 0}, {0, 1, 0}, 180}, false},
        {"zoom 0", host, {16, 8, false, {0, 0, 5}, {0, 0, 0}, {0, 1, 0}, 60, 0}, false},
        {"NaN zoom", host, {16, 8, false, {0, 0, 5}, {0, 0, 0}, {0, 1, 0}, 60, kNan}, false},
    };
    RgbRow background;  // 16 pixels of the host background, 0x00402010
    for (int i = 0; i < 16; ++i) background.insert(background.end(), {0x10, 0x20, 0x40});
    for (int32_t threads : {2, 3}) {
        SetRaytraceThreads(threads);
        for (const auto& c : cases) {
            GeometryHost geometry{c.triangles};
            RowLog log(c.render.height);
            c.render.run(geometry, log);
            SCOPED_TRACE(::testing::Message() << c.name << ", " << threads << " threads");
            expectRows(log, std::vector<RgbRow>(c.onlyBackground ? 8 : 0, background));
        }
    }
}

// Render/cancel cycles: every render, finished or cancelled, frees its scene and buffers (a scene
// left per render shows as 1.6 MB, glibc's own growth stays below 64 KB). Windows: *_win32.cpp.
TEST_F(RenderReliabilityTest, RenderCancelCyclesKeepTheirPromisesAndFreeTheirMemory) {
    for (int32_t threads : {2, 3}) {
        SetRaytraceThreads(threads);
        SCOPED_TRACE(std::to_string(threads) + " threads");
        orv_test::renderCancelCycles(4, threads);  // warm-up: the heap reaches its working size
        const size_t before = heapInUse();
        orv_test::renderCancelCycles(100, threads);
        EXPECT_LE(heapInUse(), before + 65536);
    }
}

// The preview object through the portable driver: a red sphere of radius 0.7 about the origin
// seen from (0, 0, 5), 20 degrees on 64 x 64 pixels (silhouette radius 25.7 pixels), lit by a
// point light at (0, 0, 2), each probe also traced without it. Unantialiased, the nearest point
// is ambient 0.25 plus 1.5 x (1 - gloss 0.5) x brightness 0.5 in red: 0.625 (0x9F).
using Geometry = std::vector<HostTriangle>;
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
    orv_test::GeometryHost host{s.geometry};
    orv_test::RowLog log(kSide);

    orv::RaytraceRequest request;
    request.camera =
        orv::CameraSetup{{0, 0, 5}, {0, 0, 0}, {0, 1, 0}, 20, 1, 0, 0, 1, kSide, kSide};
    request.env = &env;
    request.lights = lights;
    request.antialias = false;
    request.geometry = orv_test::shortGeometry;
    request.geometryUser = &host;
    request.rowCallback = orv_test::logRow;
    request.rowUser = &log;
    request.previewSphere = withSphere ? &red : nullptr;
    request.lightGain = s.lightGain;
    request.maxDepth = s.maxDepth;
    orv::raytraceToDevice(request);
    if (log.rows[y].empty()) return 0xFFFFFFFF;
    const uint8_t* rgb = &log.rows[y].back()[3 * x];
    return rgb[0] | rgb[1] << 8 | rgb[2] << 16;
}

TEST(PreviewObjectTest, ProbesWithAndWithoutTheSphere) {
    const Geometry inFront = {{1, 0x00FF00, {{-0.2, -0.2, 1.5}, {0.2, -0.2, 1.5}, {0, 0.2, 1.5}}}};
    // A white square of half-edge 3 in the plane z = -1.
    const Geometry wall = {{1, 0xFFFFFF, {{-3, -3, -1}, {3, -3, -1}, {3, 3, -1}}},
                           {0, 0xFFFFFF, {{-3, -3, -1}, {3, 3, -1}, {-3, 3, -1}}}};
    // Behind the eye, seen only in the sphere's mirror image.
    const Geometry mirrored = {{1, 0x00FF00, {{-3, -3, 6}, {3, -3, 6}, {0, 3, 6}}}};
    // The wall pixels lie between the silhouette (0.85) and the shadow's edge (1.12). The wall is
    // white, so its pixels order as their packed values; in full shadow the ambient 0.25 is left.
    const struct {
        const char* label;
        Stage stage;
        int x, y;
        bool (*ok)(uint32_t got, uint32_t withoutSphere);
    } cases[] = {
        {"nearest point", {}, 32, 32, [](auto g, auto) { return g == kSphereCentre; }},
        {"corner", {}, 0, 0, [](auto g, auto) { return g == kBackground; }},
        {"inside edge", {}, 57, 32, [](auto g, auto) { return g == (g & 0xFF) && g >= 0x3F; }},
        {"outside edge", {}, 58, 32, [](auto g, auto) { return g == kBackground; }},
        {"wall behind", {wall}, 32, 32, [](auto g, auto) { return g == kSphereCentre; }},
        {"triangle in front", {inFront}, 32, 32, [](auto g, auto w) { return g == w; }},
        {"shadow on the wall", {wall}, 61, 32, [](auto g, auto) { return g == 0x3F3F3F; }},
        {"no shadow when not cast", {wall, 0}, 61, 32, [](auto g, auto w) { return g == w; }},
        {"half shadow",
         {wall, 1, 0.5},
         61,
         32,
         [](auto g, auto w) { return g > 0x3F3F3F && g < w; }},
        {"light gain 3", {{}, 1, 1, 0, 3.0}, 32, 32, [](auto g, auto) { return g == 0xFF; }},
        {"depth 0, no mirror",
         {mirrored, 1, 1, 1, 1.5, 0},
         32,
         32,
         [](auto g, auto) { return g == kSphereCentre; }},
        {"depth 1, mirror",
         {mirrored, 1, 1, 1, 1.5, 1},
         32,
         32,
         [](auto g, auto) { return (g >> 8 & 0xFF) > 0; }},
    };
    for (const auto& c : cases) {
        const uint32_t got = tracePixel(c.stage, true, c.x, c.y);
        const uint32_t without = tracePixel(c.stage, false, c.x, c.y);
        EXPECT_TRUE(c.ok(got, without))
            << c.label << ": 0x" << std::hex << got << ", without the sphere 0x" << without;
    }
}

}  // namespace
