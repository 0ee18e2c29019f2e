// The raytracer side by side with Embree on the benchmark scenes (sphere, city, soup).
//
// Both build their structure from the same triangles in the render frame and trace the same
// rays: one primary ray per pixel and, for every hit, a shadow ray towards one point light.
// The library's frame is its whole pixel work (search and shading, no antialiasing); Embree's
// is its single-ray queries with a minimal shade. Rows are traced by 1 and by 2 threads, one
// from the top and one from the bottom until they meet. Then the literal octree walk renders
// the same frame, which must come out byte for byte the same.
//
//   raytrace_bench DIR [--size WxH] [--runs N] [--only NAME] [--no-reference] [--ppm OUTDIR]
//
// DIR holds NAME.tri and NAME.cam as the scene generator writes them. Exits nonzero when a
// scene cannot be read or the literal walk's image differs.
#include <embree3/rtcore.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "core/records.h"
#include "raytrace/render_context.h"
#include "raytrace/scene.h"
#include "raytrace/scene_accel.h"
#include "raytrace/trace_row.h"
#include "reference_intersect.h"

namespace {

using orv::Vec3;

// ---- Reading a scene ----

struct SceneFile {
    std::vector<double> corners;  // 9 per triangle, world coordinates
    std::vector<uint32_t> bodies;   // body id per triangle, or empty
    Vec3 eye{}, target{}, up{}, light{};
    double fov = 45;
    size_t count() const { return corners.size() / 9; }
};

bool readScene(const std::string& dir, const std::string& name, SceneFile& scene) {
    FILE* f = std::fopen((dir + "/" + name + ".tri").c_str(), "rb");
    if (!f) return false;
    uint32_t n = 0;
    bool ok = std::fread(&n, 4, 1, f) == 1;
    std::fseek(f, 0, SEEK_END);
    const long size = std::ftell(f);
    std::fseek(f, 4, SEEK_SET);
    ok = ok && (size == 4 + 72L * n || size == 4 + 76L * n);
    if (ok) {
        scene.corners.resize(9 * static_cast<size_t>(n));
        ok = std::fread(scene.corners.data(), 8, scene.corners.size(), f) == scene.corners.size();
    }
    if (ok && size == 4 + 76L * n) {
        scene.bodies.resize(n);
        ok = std::fread(scene.bodies.data(), 4, n, f) == n;
    }
    std::fclose(f);
    if (!ok) return false;

    f = std::fopen((dir + "/" + name + ".cam").c_str(), "r");
    if (!f) return false;
    char key[16];
    double x, y, z;
    while (std::fscanf(f, "%15s %lf", key, &x) == 2) {
        if (std::strcmp(key, "fov") == 0) {
            scene.fov = x;
            continue;
        }
        if (std::fscanf(f, "%lf %lf", &y, &z) != 2) break;
        const Vec3 v{x, y, z};
        if (std::strcmp(key, "eye") == 0) scene.eye = v;
        if (std::strcmp(key, "target") == 0) scene.target = v;
        if (std::strcmp(key, "up") == 0) scene.up = v;
        if (std::strcmp(key, "light") == 0) scene.light = v;
    }
    std::fclose(f);
    return true;
}

double seconds(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

// Rows by 1 or 2 threads; with 2, one from the top and one from the bottom until they meet.
void forRows(int threads, int height, const std::function<void(int worker, int row)>& trace) {
    std::atomic<int> taken{0};
    auto sweep = [&](int worker) {
        int next = 0;
        while (taken.fetch_add(1) < height) {
            const int row = worker == 0 ? next : height - 1 - next;
            ++next;
            trace(worker, row);
        }
    };
    if (threads == 1) {
        sweep(0);
        return;
    }
    std::thread bottom(sweep, 1);
    sweep(0);
    bottom.join();
}

// ---- The library ----

struct Library {
    Env env{};
    Mat material{};
    Lgt light{};
    Lgt* lights[2] = {&light, nullptr};
    orv::RenderContext ctx;

    Library(const SceneFile& file, int width, int height) {
        orv::setBuiltInDefaults(env);
        env.standardLights = 0;  // the point light alone
        orv::setBuiltInDefaults(material);
        orv::setBuiltInDefaults(light);
        light.type = 2;
        light.position = file.light;
        light.shadow = 1;
        ctx.env = &env;
        ctx.lights = lights;
        // The library takes the up vector as given, as a host's viewer hands it over:
        // at right angles to the view direction.
        Vec3 forward = file.target - file.eye, up = file.up;
        orv::normalise(forward);
        Vec3 side = orv::cross(forward, up);
        orv::normalise(side);
        up = orv::cross(side, forward);
        orv::setUpCamera(ctx, orv::CameraSetup{file.eye, file.target, up, file.fov,
                                               1.0, 0, 0, 1, width, height});
    }
    ~Library() { orv::freeScene(ctx.scene); }

    void build(const SceneFile& file, int threads) {
        orv::freeScene(ctx.scene);
        orv::GeometryItem item;
        item.material = &material;
        for (size_t i = 0; i < file.count(); ++i) {
            const double* c = &file.corners[9 * i];
            item.newBody = i == 0 || (!file.bodies.empty() && file.bodies[i] != file.bodies[i - 1]);
            std::memcpy(item.corners, c, sizeof item.corners);
            Vec3 n;
            orv::triangleNormal(n, Vec3{c[0], c[1], c[2]}, Vec3{c[3], c[4], c[5]},
                                Vec3{c[6], c[7], c[8]});
            const double face[3] = {n.x, n.y, n.z};
            std::memcpy(item.faceNormal, face, sizeof face);
            for (int k = 0; k < 3; ++k) std::memcpy(item.cornerNormals + 3 * k, face, sizeof face);
            orv::addTriangle(ctx, item);
        }
        orv::finishScene(ctx, threads);
    }

    std::vector<uint32_t> render(int threads, const orv::Intersector& with) {
        std::vector<uint32_t> image(size_t(ctx.width) * ctx.height);
        orv::RenderContext workers[2] = {ctx, ctx};  // each with its own shadow cache
        for (orv::RenderContext& w : workers) w.intersector = &with;
        forRows(threads, ctx.height, [&](int worker, int row) {
            for (int c = 0; c < ctx.width; ++c) {
                image[size_t(row) * ctx.width + c] = orv::tracePixel(workers[worker], c, row);
            }
        });
        return image;
    }
};

// ---- Embree ----

struct Embree {
    RTCDevice device = nullptr;
    RTCScene scene = nullptr;
    std::atomic<long> primary{0}, shadow{0};

    ~Embree() { release(); }
    void release() {
        if (scene) rtcReleaseScene(scene);
        if (device) rtcReleaseDevice(device);
        scene = nullptr;
        device = nullptr;
    }

    // The same render-frame triangles, single precision, as one high-quality geometry.
    void build(const orv::RenderContext& ctx, const SceneFile& file, int threads) {
        release();
        device = rtcNewDevice(threads == 1 ? "threads=1" : "threads=2");
        scene = rtcNewScene(device);
        rtcSetSceneBuildQuality(scene, RTC_BUILD_QUALITY_HIGH);
        RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
        rtcSetGeometryBuildQuality(geometry, RTC_BUILD_QUALITY_HIGH);
        const size_t n = file.count();
        float* v = static_cast<float*>(rtcSetNewGeometryBuffer(
            geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, 3 * sizeof(float), 3 * n));
        unsigned* index = static_cast<unsigned*>(rtcSetNewGeometryBuffer(
            geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, 3 * sizeof(unsigned), n));
        for (size_t i = 0; i < 3 * n; ++i) {
            Vec3 p{file.corners[3 * i], file.corners[3 * i + 1], file.corners[3 * i + 2]};
            orv::transformPoint(p, ctx.frame);
            v[3 * i] = float(p.x);
            v[3 * i + 1] = float(p.y);
            v[3 * i + 2] = float(p.z);
            index[i] = unsigned(i);
        }
        rtcCommitGeometry(geometry);
        rtcAttachGeometry(scene, geometry);
        rtcReleaseGeometry(geometry);
        rtcCommitScene(scene);
    }

    void render(const orv::RenderContext& ctx, const Vec3& light, int threads) {
        primary = 0;
        shadow = 0;
        std::vector<uint32_t> image(size_t(ctx.width) * ctx.height);
        forRows(threads, ctx.height, [&](int, int row) {
            RTCIntersectContext context;
            rtcInitIntersectContext(&context);
            long primaries = 0, shadows = 0;
            for (int c = 0; c < ctx.width; ++c) {
                const Vec3 d = orv::primaryDirection(ctx, orv::screenX(ctx, c), orv::screenY(ctx, row));
                RTCRayHit rh{};
                rh.ray.org_x = float(ctx.eye.x), rh.ray.org_y = float(ctx.eye.y);
                rh.ray.org_z = float(ctx.eye.z);
                rh.ray.dir_x = float(d.x), rh.ray.dir_y = float(d.y), rh.ray.dir_z = float(d.z);
                rh.ray.tnear = 0.0f;
                rh.ray.tfar = INFINITY;
                rh.ray.mask = ~0u;
                rh.hit.geomID = RTC_INVALID_GEOMETRY_ID;
                rtcIntersect1(scene, &context, &rh);
                ++primaries;
                uint32_t pixel = 0x00ffffff;
                if (rh.hit.geomID != RTC_INVALID_GEOMETRY_ID) {
                    const Vec3 x = ctx.eye + double(rh.ray.tfar) * d;
                    Vec3 l = light - x;
                    const double distance = orv::length(l);
                    l = l * (1.0 / distance);
                    RTCRay ray{};
                    ray.org_x = float(x.x), ray.org_y = float(x.y), ray.org_z = float(x.z);
                    ray.dir_x = float(l.x), ray.dir_y = float(l.y), ray.dir_z = float(l.z);
                    ray.tnear = 1e-4f;
                    ray.tfar = float(distance * (1 - 1e-4));
                    ray.mask = ~0u;
                    rtcOccluded1(scene, &context, &ray);
                    ++shadows;
                    Vec3 ng{rh.hit.Ng_x, rh.hit.Ng_y, rh.hit.Ng_z};
                    orv::normalise(ng);
                    const double lit = ray.tfar < 0 ? 0.0 : std::fabs(orv::dot(ng, l));
                    pixel = uint32_t(40 + 200 * lit) * 0x010101u;
                }
                image[size_t(row) * ctx.width + c] = pixel;
            }
            primary += primaries;
            shadow += shadows;
        });
    }
};

void writePpm(const std::string& path, const std::vector<uint32_t>& image, int w, int h) {
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) return;
    std::fprintf(f, "P6\n%d %d\n255\n", w, h);
    for (uint32_t p : image) {
        const unsigned char rgb[3] = {uint8_t(p), uint8_t(p >> 8), uint8_t(p >> 16)};
        std::fwrite(rgb, 1, 3, f);
    }
    std::fclose(f);
}

struct Options {
    std::string dir;
    int width = 1024, height = 768, runs = 3;
    std::string only, ppm;
    bool reference = true;
};

bool parse(int argc, char** argv, Options& o) {
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        const bool more = i + 1 < argc;
        if (a == "--size" && more) {
            if (std::sscanf(argv[++i], "%dx%d", &o.width, &o.height) != 2) return false;
        } else if (a == "--runs" && more) {
            o.runs = std::max(1, std::atoi(argv[++i]));
        } else if (a == "--only" && more) {
            o.only = argv[++i];
        } else if (a == "--ppm" && more) {
            o.ppm = argv[++i];
        } else if (a == "--no-reference") {
            o.reference = false;
        } else if (o.dir.empty() && a[0] != '-') {
            o.dir = a;
        } else {
            return false;
        }
    }
    return !o.dir.empty() && o.width > 0 && o.height > 0;
}

int runScene(const Options& o, const std::string& name) {
    SceneFile file;
    if (!readScene(o.dir, name, file)) {
        std::fprintf(stderr, "%s: cannot read %s/%s.tri and .cam\n", name.c_str(), o.dir.c_str(),
                     name.c_str());
        return 1;
    }
    Library library(file, o.width, o.height);
    Embree embree;
    std::printf("%s: %zu triangles, %dx%d, one point light with shadows\n", name.c_str(),
                file.count(), o.width, o.height);

    for (int threads = 1; threads <= 2; ++threads) {
        std::vector<double> ours, theirs;
        for (int r = 0; r < o.runs; ++r) {
            auto start = std::chrono::steady_clock::now();
            library.build(file, threads);
            ours.push_back(seconds(start));
            start = std::chrono::steady_clock::now();
            embree.build(library.ctx, file, threads);
            theirs.push_back(seconds(start));
        }
        std::printf("  build %d %s  ours %8.1f ms   Embree high quality %8.1f ms   ratio %.2f\n",
                    threads, threads == 1 ? "thread " : "threads", 1e3 * median(ours),
                    1e3 * median(theirs), median(ours) / median(theirs));
    }
    const orv::SceneAccel& accel = *library.ctx.scene.accel;
    std::printf("               %d triangles in the hierarchy, %d tested on every ray\n",
                orv::accelTriangleCount(accel), orv::accelUnboundedCount(accel));

    Vec3 lightInFrame = file.light;  // as the shading sees it
    orv::transformPoint(lightInFrame, library.ctx.frame);
    std::vector<uint32_t> image;
    for (int threads = 1; threads <= 2; ++threads) {
        std::vector<double> our, their;
        for (int r = 0; r < o.runs; ++r) {
            auto start = std::chrono::steady_clock::now();
            image = library.render(threads, orv::kSceneIntersector);
            our.push_back(seconds(start));
            start = std::chrono::steady_clock::now();
            embree.render(library.ctx, lightInFrame, threads);
            their.push_back(seconds(start));
        }
        const double e = median(their);
        std::printf("  frame %d %s  ours %8.1f ms   Embree %8.1f ms (%.1f M primary, %.1f M shadow "
                    "rays/s)   ratio %.2f\n",
                    threads, threads == 1 ? "thread " : "threads", 1e3 * median(our), 1e3 * e,
                    embree.primary / e * 1e-6, embree.shadow / e * 1e-6, median(our) / e);
    }
    if (!o.ppm.empty()) writePpm(o.ppm + "/" + name + ".ppm", image, o.width, o.height);
    if (!o.reference) return 0;

    auto start = std::chrono::steady_clock::now();
    const std::vector<uint32_t> literal = library.render(2, orv_test::kReferenceIntersector);
    std::printf("  literal octree walk, 2 threads: %.1f ms, image %s\n", 1e3 * seconds(start),
                literal == image ? "identical" : "DIFFERENT");
    return literal == image ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    Options o;
    if (!parse(argc, argv, o)) {
        std::fprintf(stderr,
                     "usage: raytrace_bench DIR [--size WxH] [--runs N] [--only NAME] "
                     "[--no-reference] [--ppm OUTDIR]\n");
        return 2;
    }
    int failures = 0;
    for (const char* name : {"sphere", "city", "soup"}) {
        if (!o.only.empty() && o.only != name) continue;
        failures += runScene(o, name);
    }
    return failures == 0 ? 0 : 1;
}
