// msl - lists, checks and pictures material library files (*.msl).
//
//   msl list FILE            one line per material: index, name, diffuse colour, opacity and
//                            the side of each texture slot that holds an image
//   msl check FILE           how many materials load and, when loading stops early, where and
//                            why; exit status 1 when bytes of the file would be ignored
//   msl sheet FILE OUT.png   a contact sheet: a raytraced sphere of each material, named
//   msl demo FILE            (not in the usage text) writes a library of a few examples
//
// A library file is a plain sequence of entries from its start to its end, with no header and
// no count: each entry is a 32-bit little-endian byte count n and n bytes, one material's
// block as GetMat writes it (the 6,300-byte Mat record, then the image of each texture slot
// whose pixels pointer is non-null, in slot order, pixelBytes bytes each). Loading stops at the
// first entry that cannot be such a block and keeps the entries before it.
//
// Uses only the public header. Exit status 2 for bad usage or a file that cannot be read.
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "orvanta.h"

#define STB_IMAGE_WRITE_IMPLEMENTATION
#include "stb_image_write.h"

namespace {

constexpr uint32_t kRecordBytes = 6300;
static_assert(sizeof(Mat) == kRecordBytes, "the Mat record is a storage format");

// --- Loading ----------------------------------------------------------------------------------

// The whole file, read in pieces so that nothing is allocated beyond what it holds; false
// (with errno set) when it cannot be read.
bool readFile(const char* path, std::vector<uint8_t>& bytes) {
    FILE* f = std::fopen(path, "rb");
    if (!f) return false;
    uint8_t buffer[65536];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0)
        bytes.insert(bytes.end(), buffer, buffer + n);
    const int error = std::ferror(f) ? (errno ? errno : EIO) : 0;
    std::fclose(f);
    errno = error;
    return error == 0;
}

uint32_t le32(const uint8_t* p) {
    return p[0] | p[1] << 8 | p[2] << 16 | uint32_t(p[3]) << 24;
}

struct Library {
    std::vector<Mat*> materials;
    size_t fileBytes = 0;
    size_t stopOffset = 0;   // where the entry that stopped loading starts; fileBytes at the end
    std::string stopReason;  // empty when the whole file loaded

    ~Library() {
        for (Mat* mat : materials) DisposeMat(mat);
    }
};

// Why the entry at data cannot be a material block (size bytes from there to the end of the
// file), or an empty string when it can.
std::string entryFault(const uint8_t* data, size_t size) {
    char text[200];
    if (size < 4) {
        std::snprintf(text, sizeof text, "only %zu byte%s left, too few for an entry's byte count",
                      size, size == 1 ? "" : "s");
        return text;
    }
    const uint32_t n = le32(data);
    if (n < kRecordBytes) {
        std::snprintf(text, sizeof text,
                      "the byte count %u is smaller than the %u bytes of a material record", n,
                      kRecordBytes);
        return text;
    }
    if (n > size - 4) {
        std::snprintf(text, sizeof text,
                      "the byte count %u reaches beyond the end of the file (%zu bytes follow it)",
                      n, size - 4);
        return text;
    }
    Mat record;
    std::memcpy(&record, data + 4, kRecordBytes);
    uint64_t images = 0;
    for (const OrvTextureSlot& slot : record.slots)
        if (slot.pixels) images += slot.pixelBytes;
    if (images != n - kRecordBytes) {
        std::snprintf(text, sizeof text,
                      "the record announces %llu bytes of texture images, but the entry holds "
                      "%u bytes behind the record",
                      static_cast<unsigned long long>(images), n - kRecordBytes);
        return text;
    }
    return {};
}

void load(const std::vector<uint8_t>& data, Library& library) {
    library.fileBytes = data.size();
    size_t at = 0;
    while (at < data.size()) {
        library.stopReason = entryFault(&data[at], data.size() - at);
        if (!library.stopReason.empty()) break;
        Mat* mat = CreateMat("");
        PutMat(mat, &data[at + 4]);
        library.materials.push_back(mat);
        at += 4 + size_t(le32(&data[at]));
    }
    library.stopOffset = at;
}

// The record's name (at most its 64 bytes) in printable ASCII, anything else as '?'.
std::string nameOf(const Mat* mat) {
    std::string name;
    for (size_t i = 0; i < sizeof mat->name && mat->name[i]; ++i) {
        const unsigned char c = static_cast<unsigned char>(mat->name[i]);
        name += c >= 32 && c <= 126 ? char(c) : '?';
    }
    return name;
}

// --- list and check ---------------------------------------------------------------------------

// A note for the commands that work on what loads.
void warnOfStop(const Library& library) {
    if (!library.stopReason.empty())
        std::fprintf(stderr, "msl: loading stops at byte %zu (entry %zu); see msl check\n",
                     library.stopOffset, library.materials.size());
}

int list(const Library& library) {
    for (size_t i = 0; i < library.materials.size(); ++i) {
        const Mat* mat = library.materials[i];
        std::printf("%3zu  %-24s  diffuse %.3f %.3f %.3f  opacity %.3f", i, nameOf(mat).c_str(),
                    mat->diffuse.x, mat->diffuse.y, mat->diffuse.z, mat->opacity);
        for (int s = 0; s < 4; ++s) {
            const OrvTextureSlot& slot = mat->slots[s];
            if (slot.pixels) std::printf("  slot %d: %ux%u", s, slot.side, slot.side);
        }
        std::printf("\n");
    }
    warnOfStop(library);
    return 0;
}

int check(const char* path, const Library& library) {
    const size_t count = library.materials.size();
    std::printf("%s: %zu material%s load%s\n", path, count, count == 1 ? "" : "s",
                count == 1 ? "s" : "");
    if (library.stopReason.empty()) {
        std::printf("the whole file (%zu bytes) is read\n", library.fileBytes);
        return 0;
    }
    std::printf("loading stops at byte %zu (entry %zu): %s\n", library.stopOffset, count,
                library.stopReason.c_str());
    std::printf("the last %zu bytes of the file would be ignored\n",
                library.fileBytes - library.stopOffset);
    return 1;
}

// --- The contact sheet ------------------------------------------------------------------------

// A 5x7 font for ASCII 32..126: five columns per glyph, bit 0 the top row.
const uint8_t kFont[95][5] = {
    {0x00, 0x00, 0x00, 0x00, 0x00}, {0x00, 0x00, 0x5F, 0x00, 0x00}, {0x00, 0x07, 0x00, 0x07, 0x00},
    {0x14, 0x7F, 0x14, 0x7F, 0x14}, {0x24, 0x2A, 0x7F, 0x2A, 0x12}, {0x23, 0x13, 0x08, 0x64, 0x62},
    {0x36, 0x49, 0x55, 0x22, 0x50}, {0x00, 0x05, 0x03, 0x00, 0x00}, {0x00, 0x1C, 0x22, 0x41, 0x00},
    {0x00, 0x41, 0x22, 0x1C, 0x00}, {0x14, 0x08, 0x3E, 0x08, 0x14}, {0x08, 0x08, 0x3E, 0x08, 0x08},
    {0x00, 0x50, 0x30, 0x00, 0x00}, {0x08, 0x08, 0x08, 0x08, 0x08}, {0x00, 0x60, 0x60, 0x00, 0x00},
    {0x20, 0x10, 0x08, 0x04, 0x02}, {0x3E, 0x51, 0x49, 0x45, 0x3E}, {0x00, 0x42, 0x7F, 0x40, 0x00},
    {0x42, 0x61, 0x51, 0x49, 0x46}, {0x21, 0x41, 0x45, 0x4B, 0x31}, {0x18, 0x14, 0x12, 0x7F, 0x10},
    {0x27, 0x45, 0x45, 0x45, 0x39}, {0x3C, 0x4A, 0x49, 0x49, 0x30}, {0x01, 0x71, 0x09, 0x05, 0x03},
    {0x36, 0x49, 0x49, 0x49, 0x36}, {0x06, 0x49, 0x49, 0x29, 0x1E}, {0x00, 0x36, 0x36, 0x00, 0x00},
    {0x00, 0x56, 0x36, 0x00, 0x00}, {0x08, 0x14, 0x22, 0x41, 0x00}, {0x14, 0x14, 0x14, 0x14, 0x14},
    {0x00, 0x41, 0x22, 0x14, 0x08}, {0x02, 0x01, 0x51, 0x09, 0x06}, {0x32, 0x49, 0x79, 0x41, 0x3E},
    {0x7E, 0x11, 0x11, 0x11, 0x7E}, {0x7F, 0x49, 0x49, 0x49, 0x36}, {0x3E, 0x41, 0x41, 0x41, 0x22},
    {0x7F, 0x41, 0x41, 0x22, 0x1C}, {0x7F, 0x49, 0x49, 0x49, 0x41}, {0x7F, 0x09, 0x09, 0x09, 0x01},
    {0x3E, 0x41, 0x49, 0x49, 0x7A}, {0x7F, 0x08, 0x08, 0x08, 0x7F}, {0x00, 0x41, 0x7F, 0x41, 0x00},
    {0x20, 0x40, 0x41, 0x3F, 0x01}, {0x7F, 0x08, 0x14, 0x22, 0x41}, {0x7F, 0x40, 0x40, 0x40, 0x40},
    {0x7F, 0x02, 0x0C, 0x02, 0x7F}, {0x7F, 0x04, 0x08, 0x10, 0x7F}, {0x3E, 0x41, 0x41, 0x41, 0x3E},
    {0x7F, 0x09, 0x09, 0x09, 0x06}, {0x3E, 0x41, 0x51, 0x21, 0x5E}, {0x7F, 0x09, 0x19, 0x29, 0x46},
    {0x46, 0x49, 0x49, 0x49, 0x31}, {0x01, 0x01, 0x7F, 0x01, 0x01}, {0x3F, 0x40, 0x40, 0x40, 0x3F},
    {0x1F, 0x20, 0x40, 0x20, 0x1F}, {0x3F, 0x40, 0x38, 0x40, 0x3F}, {0x63, 0x14, 0x08, 0x14, 0x63},
    {0x07, 0x08, 0x70, 0x08, 0x07}, {0x61, 0x51, 0x49, 0x45, 0x43}, {0x00, 0x7F, 0x41, 0x41, 0x00},
    {0x02, 0x04, 0x08, 0x10, 0x20}, {0x00, 0x41, 0x41, 0x7F, 0x00}, {0x04, 0x02, 0x01, 0x02, 0x04},
    {0x40, 0x40, 0x40, 0x40, 0x40}, {0x00, 0x01, 0x02, 0x04, 0x00}, {0x20, 0x54, 0x54, 0x54, 0x78},
    {0x7F, 0x48, 0x44, 0x44, 0x38}, {0x38, 0x44, 0x44, 0x44, 0x20}, {0x38, 0x44, 0x44, 0x48, 0x7F},
    {0x38, 0x54, 0x54, 0x54, 0x18}, {0x08, 0x7E, 0x09, 0x01, 0x02}, {0x0C, 0x52, 0x52, 0x52, 0x3E},
    {0x7F, 0x08, 0x04, 0x04, 0x78}, {0x00, 0x44, 0x7D, 0x40, 0x00}, {0x20, 0x40, 0x44, 0x3D, 0x00},
    {0x7F, 0x10, 0x28, 0x44, 0x00}, {0x00, 0x41, 0x7F, 0x40, 0x00}, {0x7C, 0x04, 0x18, 0x04, 0x78},
    {0x7C, 0x08, 0x04, 0x04, 0x78}, {0x38, 0x44, 0x44, 0x44, 0x38}, {0x7C, 0x14, 0x14, 0x14, 0x08},
    {0x08, 0x14, 0x14, 0x18, 0x7C}, {0x7C, 0x08, 0x04, 0x04, 0x08}, {0x48, 0x54, 0x54, 0x54, 0x20},
    {0x04, 0x3F, 0x44, 0x40, 0x20}, {0x3C, 0x40, 0x40, 0x20, 0x7C}, {0x1C, 0x20, 0x40, 0x20, 0x1C},
    {0x3C, 0x40, 0x30, 0x40, 0x3C}, {0x44, 0x28, 0x10, 0x28, 0x44}, {0x0C, 0x50, 0x50, 0x50, 0x3C},
    {0x44, 0x64, 0x54, 0x4C, 0x44}, {0x00, 0x08, 0x36, 0x41, 0x00}, {0x00, 0x00, 0x7F, 0x00, 0x00},
    {0x00, 0x41, 0x36, 0x08, 0x00}, {0x08, 0x04, 0x08, 0x10, 0x08},
};

struct Image {
    int width, height;
    std::vector<uint8_t> rgb;  // top row first
    Image(int w, int h, uint8_t grey) : width(w), height(h), rgb(size_t(w) * h * 3, grey) {}
    uint8_t* at(int x, int y) { return &rgb[(size_t(y) * width + x) * 3]; }
};

// Draws text (printable ASCII, anything else as '?') with its top-left corner at (x, y).
void drawText(Image& image, int x, int y, const std::string& text, uint8_t grey) {
    for (char ch : text) {
        const int c = ch >= 32 && ch <= 126 ? ch : '?';
        for (int col = 0; col < 5; ++col) {
            for (int row = 0; row < 7; ++row) {
                const int px = x + col, py = y + row;
                if (!(kFont[c - 32][col] >> row & 1) || px < 0 || py < 0 || px >= image.width ||
                    py >= image.height)
                    continue;
                uint8_t* p = image.at(px, py);
                p[0] = p[1] = p[2] = grey;
            }
        }
        x += 6;
    }
}

// A sphere of radius 0.7 about the origin: bands x segments quads, split into triangles, with
// the unit position as each corner's normal. Handed out one triangle per geometry call.
struct Sphere {
    Mat* material = nullptr;
    std::vector<double> corners;  // 9 per triangle; the normals are these over the radius
    size_t next = 0;

    static constexpr double kRadius = 0.7;

    Sphere() {
        const int bands = 24, segments = 48;
        const double pi = 3.14159265358979323846;
        auto add = [&](int band, int segment) {
            const double theta = pi * band / bands, phi = 2 * pi * segment / segments;
            corners.insert(corners.end(),
                           {kRadius * std::sin(theta) * std::cos(phi), kRadius * std::cos(theta),
                            -kRadius * std::sin(theta) * std::sin(phi)});
        };
        for (int band = 0; band < bands; ++band) {
            for (int segment = 0; segment < segments; ++segment) {
                // Counter-clockwise seen from outside; none at the poles where a quad is a
                // triangle.
                if (band > 0) add(band, segment), add(band + 1, segment), add(band, segment + 1);
                if (band < bands - 1)
                    add(band, segment + 1), add(band + 1, segment), add(band + 1, segment + 1);
            }
        }
    }
};

int32_t nextTriangle(int64_t* newBody, Mat** material, OrvColorRef* colour, double* opacity,
                     int32_t* twoSided, double corners[9], double cornerNormals[9],
                     double faceNormal[3], void* user) {
    Sphere& sphere = *static_cast<Sphere*>(user);
    if (sphere.next * 9 >= sphere.corners.size()) return 0;
    const double* p = &sphere.corners[sphere.next * 9];
    *newBody = sphere.next++ == 0;
    *material = sphere.material;
    *colour = 0xC0C0C0;
    *opacity = 1.0;
    *twoSided = 0;
    for (int i = 0; i < 9; ++i) {
        corners[i] = p[i];
        cornerNormals[i] = p[i] / Sphere::kRadius;
    }
    const double a[3] = {p[3] - p[0], p[4] - p[1], p[5] - p[2]};
    const double b[3] = {p[6] - p[0], p[7] - p[1], p[8] - p[2]};
    double n[3] = {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
    const double length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    for (int i = 0; i < 3; ++i) faceNormal[i] = n[i] / length;
    return 1;
}

// Rows arrive on this thread, top row 0; a row may come twice.
int32_t takeRow(const uint8_t* rgb, int32_t count, int32_t row, void* user) {
    Image& image = *static_cast<Image*>(user);
    if (rgb && row >= 0 && row < image.height && count == image.width)
        std::memcpy(image.at(0, row), rgb, size_t(count) * 3);
    return 1;
}

constexpr int kThumb = 96;       // thumbnail edge
constexpr int kSample = 2;       // rays per thumbnail pixel along each axis
constexpr int kCellWidth = 120;  // a thumbnail with its name below
constexpr int kCellHeight = kThumb + 20;
constexpr int kMargin = 12;
constexpr uint8_t kBackground = 219;  // the light grey behind everything

// Renders the material's sphere at kSample times the edge and averages it down into the
// sheet at (x0, y0). False when the raytracer could not run: on Windows it needs a hidden
// window, so a desktop to make it on.
bool drawThumbnail(Image& sheet, int x0, int y0, Mat* mat, const Env* env, Lgt* const* lights) {
    const int edge = kThumb * kSample;
    Image big(edge, edge, kBackground);
    Sphere sphere;
    sphere.material = mat;
    const double eye[3] = {0, 0, 3}, target[3] = {0, 0, 0}, up[3] = {0, 1, 0};
    if (!RaytraceToDevice(nullptr, eye, target, up, 32.0, 1.0, 0.0, 0.0, 1.0, 0, 0, edge, edge, env,
                          0xDBDBDB, lights, 0, 0, nextTriangle, &sphere, takeRow, &big))
        return false;
    for (int y = 0; y < kThumb; ++y) {
        for (int x = 0; x < kThumb; ++x) {
            for (int c = 0; c < 3; ++c) {
                int sum = 0;
                for (int dy = 0; dy < kSample; ++dy)
                    for (int dx = 0; dx < kSample; ++dx)
                        sum += big.at(x * kSample + dx, y * kSample + dy)[c];
                sheet.at(x0 + x, y0 + y)[c] = uint8_t(sum / (kSample * kSample));
            }
        }
    }
    return true;
}

int sheet(const Library& library, const char* out) {
    warnOfStop(library);
    const int count = int(library.materials.size());
    if (count == 0) {
        std::fprintf(stderr, "msl: no material to draw\n");
        return 1;
    }
    const int columns = std::min(count, 6), rows = (count + columns - 1) / columns;
    Image image(2 * kMargin + columns * kCellWidth, 2 * kMargin + rows * kCellHeight, kBackground);

    // Light grey behind the spheres, little ambient light, the scene's own lights only.
    Env* env = CreateEnv("msl");
    env->standardLights = 0;
    env->brightness = 1.0;
    env->ambient = {0.10, 0.10, 0.10};
    env->background = {kBackground / 255.0, kBackground / 255.0, kBackground / 255.0};
    env->fogDensity = 0.0;

    // Three white parallel lights: a key from the upper left front, a fill from the right and
    // a rim from behind on the left. A white material comes out white, not burnt out.
    struct Light {
        double position[3], intensity;
    };
    const Light setup[3] = {{{-2, 2, 3}, 0.88}, {{3, 0.3, 1}, 0.35}, {{-2, 1, -3}, 0.40}};
    Lgt* lights[4] = {};
    const double origin[3] = {0, 0, 0};
    for (int i = 0; i < 3; ++i) {
        lights[i] = CreateLgt("msl");
        SetLgt(lights[i], setup[i].position, origin, 0, 0xFFFFFF, setup[i].intensity, 30.0);
        lights[i]->gloss = 0.4;
        lights[i]->shadow = 0;  // a lone sphere shadows only what faces away from the light
        lights[i]->falloff = 0.0;
    }

    const int maxChars = (kCellWidth - 4) / 6;
    bool traced = true;
    for (int i = 0; i < count && traced; ++i) {
        const int x = kMargin + i % columns * kCellWidth, y = kMargin + i / columns * kCellHeight;
        traced = drawThumbnail(image, x + (kCellWidth - kThumb) / 2, y,
                               library.materials[size_t(i)], env, lights);
        std::string name = nameOf(library.materials[size_t(i)]);
        if (int(name.size()) > maxChars) name = name.substr(0, size_t(maxChars - 2)) + "..";
        drawText(image, x + (kCellWidth - 6 * int(name.size()) + 1) / 2, y + kThumb + 6, name, 40);
    }

    for (int i = 0; i < 3; ++i) DisposeLgt(lights[i]);
    DisposeEnv(env);
    if (!traced) {
        std::fprintf(stderr, "msl: the raytracer could not run (no window for it)\n");
        return 1;
    }
    if (!stbi_write_png(out, image.width, image.height, 3, image.rgb.data(), image.width * 3)) {
        std::fprintf(stderr, "msl: cannot write %s\n", out);
        return 2;
    }
    std::printf("%s: %d material%s, %dx%d pixels\n", out, count, count == 1 ? "" : "s", image.width,
                image.height);
    return 0;
}

// --- demo: a small library of examples ----------------------------------------------------------

Mat* makeMaterial(const char* name, OrvVec3 diffuse, OrvVec3 specular, double shininess) {
    Mat* mat = CreateMat(name);
    mat->ambient = diffuse;
    mat->diffuse = diffuse;
    mat->specular = specular;
    mat->emission = {0, 0, 0};
    mat->shininess = shininess;
    mat->opacity = 1.0;
    mat->reflection = 0.0;
    mat->refraction = 1.0;
    return mat;
}

void appendEntry(std::vector<uint8_t>& out, Mat* mat) {
    uint32_t size = 0;
    GetMat(mat, nullptr, &size);
    const size_t at = out.size();
    out.resize(at + 4 + size);
    for (int i = 0; i < 4; ++i) out[at + size_t(i)] = uint8_t(size >> (8 * i));
    GetMat(mat, &out[at + 4], &size);
}

int demo(const char* path) {
    std::vector<Mat*> materials;
    materials.push_back(makeMaterial("Brushed steel", {0.56, 0.58, 0.61}, {0.9, 0.9, 0.9}, 25));
    materials.back()->reflection = 0.2;
    materials.push_back(makeMaterial("Red plastic", {0.78, 0.08, 0.06}, {0.7, 0.7, 0.7}, 60));
    Mat* glass = makeMaterial("Glass", {0.90, 0.95, 1.0}, {1, 1, 1}, 100);
    glass->opacity = 0.12;
    glass->refraction = 1.5;
    glass->reflection = 0.06;
    materials.push_back(glass);
    Mat* gold = makeMaterial("Gold", {0.86, 0.62, 0.18}, {1.0, 0.86, 0.5}, 70);
    gold->reflection = 0.3;
    materials.push_back(gold);
    materials.push_back(makeMaterial("Matt white", {1, 1, 1}, {0.2, 0.2, 0.2}, 5));

    // A green checker in the surface slot: 64 pixels on the edge, four squares across, RGBA,
    // projected along z. The block copies the image; the record only borrows it until then.
    Mat* green = makeMaterial("Green checker", {1, 1, 1}, {0.4, 0.4, 0.4}, 20);
    const uint32_t side = 64;
    std::vector<uint8_t> checker(4u * side * side);
    for (uint32_t y = 0; y < side; ++y) {
        for (uint32_t x = 0; x < side; ++x) {
            uint8_t* p = &checker[4u * (y * side + x)];
            const bool light = (x / 16 + y / 16) % 2 == 0;
            p[0] = light ? 196 : 34;
            p[1] = light ? 230 : 120;
            p[2] = light ? 170 : 52;
            p[3] = 255;
        }
    }
    OrvTextureSlot& surface = green->slots[0];
    surface.source = 1;
    surface.projection = 0;
    surface.mode = 0;
    surface.filter = 1;
    surface.tileX = surface.tileY = 1;
    surface.intensity = 1.0;
    surface.size = 0.35;  // one image covers 0.7 x 0.7 units: eight squares across a sphere
    surface.side = side;
    surface.pixelBytes = uint32_t(checker.size());
    surface.pixels = checker.data();
    materials.push_back(green);

    std::vector<uint8_t> bytes;
    for (Mat* mat : materials) appendEntry(bytes, mat);
    surface.pixels = nullptr;
    surface.pixelBytes = 0;
    for (Mat* mat : materials) DisposeMat(mat);

    FILE* f = std::fopen(path, "wb");
    const bool written = f && std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    if (!f || std::fclose(f) != 0 || !written) {
        std::fprintf(stderr, "msl: cannot write %s\n", path);
        return 2;
    }
    std::printf("%s: %zu materials, %zu bytes\n", path, materials.size(), bytes.size());
    return 0;
}

int usage() {
    std::fprintf(stderr,
                 "usage: msl list FILE            list the materials of a library file\n"
                 "       msl check FILE           tell how far the file loads (exit 1 when "
                 "bytes would be ignored)\n"
                 "       msl sheet FILE OUT.png   draw a contact sheet of the materials\n");
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string command = argc > 1 ? argv[1] : "";
    const int wanted = command == "sheet" ? 4 : 3;
    if (argc != wanted ||
        (command != "list" && command != "check" && command != "sheet" && command != "demo"))
        return usage();
    if (command == "demo") return demo(argv[2]);

    std::vector<uint8_t> data;
    if (!readFile(argv[2], data)) {
        std::fprintf(stderr, "msl: cannot read %s: %s\n", argv[2], std::strerror(errno));
        return 2;
    }
    Library library;
    load(data, library);
    if (command == "list") return list(library);
    if (command == "check") return check(argv[2], library);
    return sheet(library, argv[3]);
}
