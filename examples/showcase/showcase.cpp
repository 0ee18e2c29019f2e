// showcase - raytraces a scene through OrvantaDLL and writes it as a PNG image.
//
//   showcase [--size WxH] [--threads N] [--obj FILE] [--out FILE.png]
//   showcase --compare A.png B.png
//
// A host program that uses only the public header: it fills Env, Lgt and Mat records the way
// a design application fills them from its documents, hands its triangles one by one to
// RaytraceToDevice2 and collects the finished rows. The default scene is built in code: a
// checkered floor, boxes, spheres, a mirror and a glass ball under two shadow-casting lights
// and a spot. With --obj the user's mesh stands in the middle instead of the boxes and balls.
// --compare reports whether two images are byte for byte the same (exit 0) or how far their
// pixels differ (exit 1).
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#ifdef _WIN32
#include <io.h>
#define isatty _isatty
#define fileno _fileno
#else
#include <unistd.h>
#endif

#define STB_IMAGE_WRITE_IMPLEMENTATION
#include "stb_image_write.h"
#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_PNG
#include "stb_image.h"
#define TINYOBJLOADER_IMPLEMENTATION
#include "tiny_obj_loader.h"

#include "orvanta.h"

namespace {

struct V3 {
    double x, y, z;
};
V3 operator+(V3 a, V3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
V3 operator-(V3 a, V3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
V3 operator*(V3 a, double s) { return {a.x * s, a.y * s, a.z * s}; }
V3 cross(V3 a, V3 b) { return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}; }
double dot(V3 a, V3 b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
V3 normalise(V3 a) {
    const double length = std::sqrt(dot(a, a));
    return length > 0 ? a * (1.0 / length) : a;
}

// Sine and cosine by their series: only additions, products and quotients, which every C
// runtime rounds alike, so the native program and the DLL's host under Wine build the very
// same triangles (the runtimes' sin and cos may differ in the last bit).
constexpr double kPi = 3.14159265358979323846;
void sinCos(double angle, double& s, double& c) {
    while (angle > kPi) angle -= 2 * kPi;
    while (angle < -kPi) angle += 2 * kPi;
    double term = angle, sum = angle;
    for (int n = 1; n < 15; ++n) {
        term *= -angle * angle / ((2 * n) * (2 * n + 1));
        sum += term;
    }
    s = sum;
    term = 1.0;
    sum = 1.0;
    for (int n = 1; n < 15; ++n) {
        term *= -angle * angle / ((2 * n - 1) * (2 * n));
        sum += term;
    }
    c = sum;
}

V3 turnAboutY(V3 p, double degrees) {
    double s, c;
    sinCos(degrees * kPi / 180, s, c);
    return {c * p.x + s * p.z, p.y, -s * p.x + c * p.z};
}

struct Triangle {
    Mat* material;
    bool newBody;
    V3 corners[3];
    V3 normals[3];
    V3 face;
};

struct Body {
    V3 boxMin, boxMax;
    bool twoSided;
};

// The scene as the host keeps it: triangles in body order, and each body's bounding box.
struct Scene {
    std::vector<Triangle> triangles;
    std::vector<Body> bodies;
    std::vector<size_t> bodyOfTriangle;
    size_t next = 0;

    void beginBody(bool twoSided = false) {
        bodies.push_back({{1e300, 1e300, 1e300}, {-1e300, -1e300, -1e300}, twoSided});
    }
    void add(Mat* material, V3 a, V3 b, V3 c, V3 na, V3 nb, V3 nc) {
        const V3 face = normalise(cross(b - a, c - a));
        const bool first = triangles.empty() || bodyOfTriangle.back() != bodies.size() - 1;
        triangles.push_back({material, first, {a, b, c}, {na, nb, nc}, face});
        bodyOfTriangle.push_back(bodies.size() - 1);
        Body& body = bodies.back();
        for (V3 p : {a, b, c}) {
            body.boxMin = {std::min(body.boxMin.x, p.x), std::min(body.boxMin.y, p.y),
                           std::min(body.boxMin.z, p.z)};
            body.boxMax = {std::max(body.boxMax.x, p.x), std::max(body.boxMax.y, p.y),
                           std::max(body.boxMax.z, p.z)};
        }
    }
    void addFlat(Mat* material, V3 a, V3 b, V3 c) {
        const V3 n = normalise(cross(b - a, c - a));
        add(material, a, b, c, n, n, n);
    }
};

// A box standing on y = bottom, turned about its vertical axis.
void addBox(Scene& scene, Mat* material, V3 centre, V3 size, double turnDegrees) {
    scene.beginBody();
    V3 p[8];
    for (int i = 0; i < 8; ++i) {
        const V3 local = {(i & 1 ? 0.5 : -0.5) * size.x, (i & 2 ? 0.5 : -0.5) * size.y,
                          (i & 4 ? 0.5 : -0.5) * size.z};
        p[i] = centre + turnAboutY(local, turnDegrees);
    }
    // Each face counter-clockwise seen from outside.
    const int faces[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4},
                             {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
    for (const auto& f : faces) {
        scene.addFlat(material, p[f[0]], p[f[1]], p[f[2]]);
        scene.addFlat(material, p[f[0]], p[f[2]], p[f[3]]);
    }
}

// A sphere of latitude and longitude bands with smooth corner normals.
void addSphere(Scene& scene, Mat* material, V3 centre, double radius) {
    scene.beginBody();
    const int bands = 32, segments = 64;
    auto point = [&](int band, int segment) {
        double sTheta, cTheta, sPhi, cPhi;
        sinCos(kPi * band / bands, sTheta, cTheta);
        sinCos(2 * kPi * segment / segments, sPhi, cPhi);
        return V3{sTheta * cPhi, cTheta, -sTheta * sPhi};
    };
    for (int band = 0; band < bands; ++band) {
        for (int segment = 0; segment < segments; ++segment) {
            const V3 n00 = point(band, segment), n01 = point(band, segment + 1);
            const V3 n10 = point(band + 1, segment), n11 = point(band + 1, segment + 1);
            auto at = [&](V3 n) { return centre + n * radius; };
            if (band > 0) scene.add(material, at(n00), at(n10), at(n01), n00, n10, n01);
            if (band < bands - 1) scene.add(material, at(n01), at(n10), at(n11), n01, n10, n11);
        }
    }
}

// The user's mesh, scaled to stand 2.4 units high (or wide) on the floor at the centre.
bool addObj(Scene& scene, Mat* material, const char* path) {
    tinyobj::attrib_t attrib;
    std::vector<tinyobj::shape_t> shapes;
    std::vector<tinyobj::material_t> materials;
    std::string warning, error;
    if (!tinyobj::LoadObj(&attrib, &shapes, &materials, &warning, &error, path, nullptr, true)) {
        std::fprintf(stderr, "showcase: cannot read %s: %s\n", path, error.c_str());
        return false;
    }
    const std::vector<tinyobj::real_t>& v = attrib.vertices;
    if (v.size() < 9) {
        std::fprintf(stderr, "showcase: %s holds no triangle\n", path);
        return false;
    }
    V3 lo = {1e300, 1e300, 1e300}, hi = {-1e300, -1e300, -1e300};
    for (size_t i = 0; i + 2 < v.size(); i += 3) {
        lo = {std::min(lo.x, double(v[i])), std::min(lo.y, double(v[i + 1])),
              std::min(lo.z, double(v[i + 2]))};
        hi = {std::max(hi.x, double(v[i])), std::max(hi.y, double(v[i + 1])),
              std::max(hi.z, double(v[i + 2]))};
    }
    const double extent = std::max({hi.x - lo.x, hi.y - lo.y, hi.z - lo.z});
    const double scale = extent > 0 ? 2.4 / extent : 1.0;
    const V3 shift = {-(lo.x + hi.x) / 2, -lo.y, -(lo.z + hi.z) / 2};
    auto vertex = [&](int index) {
        const size_t i = 3 * size_t(index);
        return (V3{v[i], v[i + 1], v[i + 2]} + shift) * scale;
    };

    // Corner normals: the file's own, else the area-weighted mean of the faces at a vertex.
    std::vector<V3> smooth(v.size() / 3, V3{0, 0, 0});
    for (const auto& shape : shapes) {
        const auto& idx = shape.mesh.indices;
        for (size_t k = 0; k + 2 < idx.size(); k += 3) {
            const V3 n = cross(vertex(idx[k + 1].vertex_index) - vertex(idx[k].vertex_index),
                               vertex(idx[k + 2].vertex_index) - vertex(idx[k].vertex_index));
            for (int c = 0; c < 3; ++c) {
                V3& s = smooth[size_t(idx[k + c].vertex_index)];
                s = s + n;
            }
        }
    }
    const size_t normalCount = attrib.normals.size() / 3;
    scene.beginBody(true);  // files seldom agree on which way their faces turn
    for (const auto& shape : shapes) {
        const auto& idx = shape.mesh.indices;
        for (size_t k = 0; k + 2 < idx.size(); k += 3) {
            V3 p[3], n[3];
            for (int c = 0; c < 3; ++c) {
                const tinyobj::index_t& corner = idx[k + c];
                p[c] = vertex(corner.vertex_index);
                if (corner.normal_index >= 0 && size_t(corner.normal_index) < normalCount) {
                    const size_t j = 3 * size_t(corner.normal_index);
                    n[c] = normalise(V3{attrib.normals[j], attrib.normals[j + 1],
                                        attrib.normals[j + 2]});
                } else {
                    n[c] = normalise(smooth[size_t(corner.vertex_index)]);
                }
            }
            scene.add(material, p[0], p[1], p[2], n[0], n[1], n[2]);
        }
    }
    return true;
}

void copy3(double* out, V3 v) {
    out[0] = v.x;
    out[1] = v.y;
    out[2] = v.z;
}

int32_t nextTriangle(int64_t* newBody, Mat** material, OrvColorRef* colour, double* opacity,
                     int32_t* twoSided, double corners[9], double cornerNormals[9],
                     double faceNormal[3], double boxMin[3], double boxMax[3], double origin[3],
                     void* user) {
    Scene& scene = *static_cast<Scene*>(user);
    if (scene.next >= scene.triangles.size()) return 0;
    const size_t index = scene.next++;
    const Triangle& t = scene.triangles[index];
    const Body& body = scene.bodies[scene.bodyOfTriangle[index]];
    *newBody = t.newBody ? 1 : 0;
    *material = t.material;
    *colour = 0xC0C0C0;
    *opacity = 1.0;
    *twoSided = body.twoSided ? 1 : 0;
    for (int c = 0; c < 3; ++c) {
        copy3(corners + 3 * c, t.corners[c]);
        copy3(cornerNormals + 3 * c, t.normals[c]);
    }
    copy3(faceNormal, t.face);
    copy3(boxMin, body.boxMin);
    copy3(boxMax, body.boxMax);
    copy3(origin, V3{0, 0, 0});  // textures keep to the scene's grid, not the body's
    return 1;
}

// Rows arrive on this thread; a row near the middle may come twice.
struct Image {
    int width = 0, height = 0;
    std::vector<uint8_t> rgb;
    std::vector<bool> delivered;
    int rowsDone = 0;
    bool showProgress = false;
};

void drawProgress(int done, int total) {
    const int barWidth = 40;
    const int filled = total > 0 ? done * barWidth / total : barWidth;
    std::fprintf(stderr, "\r[%s%s] %3d%%", std::string(size_t(filled), '#').c_str(),
                 std::string(size_t(barWidth - filled), '-').c_str(),
                 total > 0 ? done * 100 / total : 100);
    std::fflush(stderr);
}

int32_t takeRow(const uint8_t* rgb, int32_t count, int32_t row, void* user) {
    Image& image = *static_cast<Image*>(user);
    if (!rgb || row < 0 || row >= image.height || count != image.width) return 1;
    std::memcpy(&image.rgb[size_t(row) * size_t(count) * 3], rgb, size_t(count) * 3);
    if (!image.delivered[size_t(row)]) {
        image.delivered[size_t(row)] = true;
        ++image.rowsDone;
        if (image.showProgress) drawProgress(image.rowsDone, image.height);
    }
    return 1;
}

// --- Records --------------------------------------------------------------------------------

Mat* makeMaterial(const char* name, V3 colour, double shininess, V3 specular) {
    Mat* mat = CreateMat(name);
    mat->ambient = {colour.x, colour.y, colour.z};
    mat->diffuse = {colour.x, colour.y, colour.z};
    mat->specular = {specular.x, specular.y, specular.z};
    mat->shininess = shininess;
    mat->opacity = 1.0;
    mat->reflection = 0.0;
    mat->refraction = 1.0;
    return mat;
}

// A checker of warm stone and slate in the surface slot: RGBA, bottom row first (the checker
// reads the same either way up), eight squares on the edge.
std::vector<uint8_t> checkerImage(uint32_t side) {
    std::vector<uint8_t> pixels(4u * side * side);
    for (uint32_t y = 0; y < side; ++y) {
        for (uint32_t x = 0; x < side; ++x) {
            uint8_t* p = &pixels[4u * (y * side + x)];
            const bool light = ((x / (side / 8)) + (y / (side / 8))) % 2 == 0;
            p[0] = light ? 232 : 92;
            p[1] = light ? 222 : 100;
            p[2] = light ? 202 : 118;
            p[3] = 255;
        }
    }
    return pixels;
}

Lgt* makeLight(const char* name, int32_t type, V3 position, V3 target, V3 colour, double gloss,
               uint32_t shadow) {
    Lgt* light = CreateLgt(name);
    light->type = type;
    light->position = {position.x, position.y, position.z};
    light->target = {target.x, target.y, target.z};
    light->color = {colour.x, colour.y, colour.z};
    light->gloss = gloss;
    light->shadow = shadow;
    return light;
}

// --- Options --------------------------------------------------------------------------------

struct Options {
    int width = 960, height = 600;
    int threads = 2;
    const char* obj = nullptr;
    const char* out = "showcase.png";
};

void usage() {
    std::fprintf(stderr,
                 "usage: showcase [--size WxH] [--threads N] [--obj FILE] [--out FILE.png]\n"
                 "       showcase --compare A.png B.png\n");
}

bool parseOptions(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == "--size" && hasValue) {
            char tail = 0;
            if (std::sscanf(argv[++i], "%dx%d%c", &options.width, &options.height, &tail) != 2 ||
                options.width < 1 || options.height < 1 || options.width > 16384 ||
                options.height > 16384)
                return false;
        } else if (arg == "--threads" && hasValue) {
            options.threads = std::atoi(argv[++i]);
            if (options.threads < 0 || options.threads > 256) return false;
        } else if (arg == "--obj" && hasValue) {
            options.obj = argv[++i];
        } else if (arg == "--out" && hasValue) {
            options.out = argv[++i];
        } else {
            return false;
        }
    }
    return true;
}

// --- Compare --------------------------------------------------------------------------------

std::vector<uint8_t> readFile(const char* path) {
    std::vector<uint8_t> bytes;
    if (FILE* f = std::fopen(path, "rb")) {
        uint8_t buffer[65536];
        size_t n;
        while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0)
            bytes.insert(bytes.end(), buffer, buffer + n);
        std::fclose(f);
    }
    return bytes;
}

int compareImages(const char* pathA, const char* pathB) {
    const std::vector<uint8_t> a = readFile(pathA), b = readFile(pathB);
    if (a.empty() || b.empty()) {
        std::fprintf(stderr, "showcase: cannot read %s\n", a.empty() ? pathA : pathB);
        return 2;
    }
    if (a == b) {
        std::printf("identical: %s and %s (%zu bytes)\n", pathA, pathB, a.size());
        return 0;
    }
    int wa, ha, wb, hb, channels;
    uint8_t* pa = stbi_load(pathA, &wa, &ha, &channels, 3);
    uint8_t* pb = stbi_load(pathB, &wb, &hb, &channels, 3);
    if (!pa || !pb || wa != wb || ha != hb) {
        std::printf("different: %s and %s do not hold images of the same size\n", pathA, pathB);
    } else {
        long differing = 0;
        int largest = 0;
        for (long i = 0; i < long(wa) * ha; ++i) {
            int here = 0;
            for (int c = 0; c < 3; ++c) here = std::max(here, std::abs(pa[3 * i + c] - pb[3 * i + c]));
            if (here > 0) ++differing;
            largest = std::max(largest, here);
        }
        std::printf("different: %ld of %ld pixels differ, largest channel difference %d\n",
                    differing, long(wa) * ha, largest);
    }
    stbi_image_free(pa);
    stbi_image_free(pb);
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 4 && std::strcmp(argv[1], "--compare") == 0) return compareImages(argv[2], argv[3]);
    Options options;
    if (!parseOptions(argc, argv, options)) {
        usage();
        return 2;
    }

    Env* env = CreateEnv("Showcase");
    env->standardLights = 0;  // the scene's own lights
    env->brightness = 1.0;
    env->ambient = {0.20, 0.21, 0.24};
    env->background = {0.62, 0.74, 0.88};

    Mat* floor = makeMaterial("Boden", {0.9, 0.9, 0.9}, 30, {0.3, 0.3, 0.3});
    floor->reflection = 0.12;
    std::vector<uint8_t> checker = checkerImage(64);
    OrvTextureSlot& surface = floor->slots[0];
    surface.source = 1;
    surface.projection = 1;  // box: each face gets a plane along its own normal
    surface.side = 64;
    surface.pixelBytes = uint32_t(checker.size());
    surface.pixels = checker.data();
    surface.tileX = surface.tileY = 1;
    surface.filter = 0;  // five texels: softer squares far away
    surface.mode = 0;
    surface.intensity = 1.0;
    surface.size = 3.0;  // one image covers 6 x 6 units: squares of 0.75 units

    Mat* red = makeMaterial("Rot", {0.78, 0.16, 0.12}, 40, {0.5, 0.5, 0.5});
    Mat* blue = makeMaterial("Blau", {0.16, 0.32, 0.72}, 60, {0.6, 0.6, 0.6});
    Mat* gold = makeMaterial("Gold", {0.85, 0.62, 0.18}, 90, {1.0, 0.9, 0.6});
    gold->reflection = 0.3;
    Mat* green = makeMaterial("Gruen", {0.22, 0.62, 0.30}, 20, {0.4, 0.4, 0.4});
    Mat* mirror = makeMaterial("Spiegel", {0.05, 0.05, 0.06}, 100, {0.8, 0.8, 0.8});
    mirror->reflection = 0.92;
    Mat* frame = makeMaterial("Rahmen", {0.30, 0.20, 0.12}, 15, {0.3, 0.3, 0.3});
    Mat* glass = makeMaterial("Glas", {0.9, 0.95, 1.0}, 100, {1.0, 1.0, 1.0});
    glass->opacity = 0.08;
    glass->refraction = 1.5;
    glass->reflection = 0.08;
    Mat* clay = makeMaterial("Modell", {0.86, 0.80, 0.72}, 30, {0.5, 0.5, 0.5});

    Scene scene;
    {
        const double e = 40;  // wide enough that the mirror shows floor, never the void
        scene.beginBody();
        scene.addFlat(floor, {-e, 0, -e}, {-e, 0, e}, {e, 0, e});
        scene.addFlat(floor, {-e, 0, -e}, {e, 0, e}, {e, 0, -e});
    }
    // The mirror stands behind the scene, turned a little towards the camera, in a frame.
    const double mirrorTurn = 18;
    const V3 mirrorCentre = {-0.4, 1.45, -3.0};
    addBox(scene, frame, mirrorCentre, {4.6, 2.9, 0.12}, mirrorTurn);
    addBox(scene, mirror, mirrorCentre + turnAboutY({0, 0, 0.08}, mirrorTurn), {4.3, 2.6, 0.06},
           mirrorTurn);

    bool ok = true;
    if (options.obj) {
        ok = addObj(scene, clay, options.obj);
    } else {
        addBox(scene, red, {-1.7, 0.5, 0.4}, {1.0, 1.0, 1.0}, 28);
        addBox(scene, blue, {1.9, 0.8, -0.9}, {0.9, 1.6, 0.9}, -20);
        addSphere(scene, gold, {0.1, 0.65, -1.2}, 0.65);
        addSphere(scene, green, {-1.1, 0.38, 2.3}, 0.38);
        addSphere(scene, glass, {0.7, 0.8, 1.4}, 0.8);
    }

    Lgt* key = makeLight("Hauptlicht", 2, {-5, 8, 6}, {0, 0, 0}, {0.85, 0.80, 0.72}, 0.5, 1);
    Lgt* fill = makeLight("Fuellicht", 0, {6, 9, 2}, {0, 0, 0}, {0.35, 0.40, 0.50}, 0.5, 1);
    Lgt* spot = makeLight("Spot", 1, {-1.0, 5.5, 3.0}, {-1.7, 0, 0.4}, {0.45, 0.32, 0.20}, 0.5, 0);
    Lgt* lights[] = {key, fill, spot, nullptr};

    int status = 0;
    if (ok) {
        Image image;
        image.width = options.width;
        image.height = options.height;
        image.rgb.assign(size_t(options.width) * size_t(options.height) * 3, 0);
        image.delivered.assign(size_t(options.height), false);
        image.showProgress = isatty(fileno(stderr)) != 0;

        SetRaytraceThreads(options.threads);
        // The library takes the up vector as given: make it square to the line of sight.
        const V3 eyeAt = {4.6, 3.3, 8.6}, lookAt = {-0.1, 0.9, -0.6};
        const V3 back = normalise(eyeAt - lookAt);
        const V3 upright = normalise(V3{0, 1, 0} - back * back.y);
        const double eye[3] = {eyeAt.x, eyeAt.y, eyeAt.z};
        const double target[3] = {lookAt.x, lookAt.y, lookAt.z};
        const double up[3] = {upright.x, upright.y, upright.z};
        const auto start = std::chrono::steady_clock::now();
        RaytraceToDevice2(nullptr, eye, target, up, 38.0, 1.0, 0.0, 0.0, 1.0, 0, 0, options.width,
                          options.height, env, 0, lights, 0, 0, nextTriangle, &scene, takeRow,
                          &image);
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        if (image.showProgress) std::fputc('\n', stderr);

        if (!stbi_write_png(options.out, options.width, options.height, 3, image.rgb.data(),
                            options.width * 3)) {
            std::fprintf(stderr, "showcase: cannot write %s\n", options.out);
            status = 1;
        } else {
            std::printf("showcase: %s, %dx%d, %zu triangles, %d thread%s, %.2f s\n", options.out,
                        options.width, options.height, scene.triangles.size(), options.threads,
                        options.threads == 1 ? "" : "s", seconds);
        }
    } else {
        status = 1;
    }

    for (Lgt* light : {key, fill, spot}) DisposeLgt(light);
    surface.pixels = nullptr;  // the checker belongs to this program, not to the record
    surface.pixelBytes = 0;
    surface.source = 0;
    for (Mat* mat : {floor, red, blue, gold, green, mirror, frame, glass, clay}) DisposeMat(mat);
    DisposeEnv(env);
    return status;
}
