// Reading a bitmap file and building its texture, against stb_image's BMP decoder on the same
// file in the same run.
//
//   bitmap_bench            a 4096 x 4096 24-bit file, medians of 7 runs
//   bitmap_bench --quick    256 x 256, 255 x 3 and 1 x 1, once each, for CI
//
// Both decoders read the file from disk (warm in the page cache) into 4-byte pixels; stb is
// also timed with its own 3-byte output. Exits nonzero when the two decoders' pixels differ.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "appearance/bitmap_decode.h"
#include "appearance/texture_build.h"
#include "core/records.h"

extern "C" {
unsigned char* stbi_load(const char* filename, int* x, int* y, int* comp, int req_comp);
void stbi_image_free(void* retval_from_stbi_load);
}

namespace {

using Clock = std::chrono::steady_clock;

// A width x height 24-bit file of smooth gradients and a little noise.
void writeBitmap(const std::string& path, int width, int height) {
    const size_t stride = (size_t(width) * 3 + 3) / 4 * 4;
    std::vector<unsigned char> file(54 + stride * height, 0);
    auto put32 = [&](size_t at, uint32_t v) { std::memcpy(&file[at], &v, 4); };
    file[0] = 'B', file[1] = 'M';
    put32(2, uint32_t(file.size()));
    put32(10, 54);
    put32(14, 40);
    put32(18, uint32_t(width));
    put32(22, uint32_t(height));
    file[26] = 1, file[28] = 24;
    uint32_t noise = 12345;
    for (int y = 0; y < height; ++y) {
        unsigned char* row = &file[54 + stride * y];
        for (int x = 0; x < width; ++x) {
            noise = noise * 1664525u + 1013904223u;
            row[3 * x] = uint8_t(x * 255 / width + (noise >> 30));
            row[3 * x + 1] = uint8_t(y * 255 / height);
            row[3 * x + 2] = uint8_t((x + y) + (noise >> 28));
        }
    }
    FILE* f = std::fopen(path.c_str(), "wb");
    std::fwrite(file.data(), 1, file.size(), f);
    std::fclose(f);
}

template <typename Work>
double medianMs(int runs, Work work) {
    std::vector<double> ms;
    for (int i = 0; i < runs; ++i) {
        const auto start = Clock::now();
        work();
        ms.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    }
    std::sort(ms.begin(), ms.end());
    return ms[ms.size() / 2];
}

// Decodes with both and compares; returns false when the pixels differ.
bool agree(const std::string& path) {
    orv::Bitmap ours;
    if (orv::readBitmapFile(path.c_str(), ours) != orv::BitmapStatus::ok) return false;
    int w = 0, h = 0, n = 0;
    unsigned char* stb = stbi_load(path.c_str(), &w, &h, &n, 4);
    if (!stb) return false;
    bool same = w == ours.width && h == ours.height;
    for (size_t i = 0; same && i < size_t(w) * h; ++i) {
        const uint32_t p = ours.pixels[i];
        same = stb[4 * i] == (p >> 16 & 255) && stb[4 * i + 1] == (p >> 8 & 255) &&
               stb[4 * i + 2] == (p & 255);
    }
    stbi_image_free(stb);
    return same;
}

}  // namespace

int main(int argc, char** argv) {
    const bool quick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
    const std::string path =
        (std::filesystem::temp_directory_path() / "orvanta_bitmap_bench.bmp").string();

    if (quick) {
        const int sizes[][2] = {{256, 256}, {255, 3}, {1, 1}};
        for (const auto& s : sizes) {
            writeBitmap(path, s[0], s[1]);
            if (!agree(path)) {
                std::printf("%d x %d: the decoders differ\n", s[0], s[1]);
                return 1;
            }
        }
        std::remove(path.c_str());
        std::printf("quick: both decoders give the same pixels\n");
        return 0;
    }

    const int side = 4096, runs = 7;
    writeBitmap(path, side, side);
    if (!agree(path)) {
        std::printf("the decoders differ\n");
        return 1;
    }

    const double ours = medianMs(runs, [&] {
        orv::Bitmap b;
        orv::readBitmapFile(path.c_str(), b);
    });
    const double stb4 = medianMs(runs, [&] {
        int w, h, n;
        stbi_image_free(stbi_load(path.c_str(), &w, &h, &n, 4));
    });
    const double stb3 = medianMs(runs, [&] {
        int w, h, n;
        stbi_image_free(stbi_load(path.c_str(), &w, &h, &n, 0));
    });

    orv::Bitmap picture;
    orv::readBitmapFile(path.c_str(), picture);
    Mat mat;
    orv::setBuiltInDefaults(mat);
    const double build = medianMs(runs, [&] {
        orv::buildTextureImage(mat.slots[0], {picture.width, picture.height, picture.pixels.get()},
                               false, nullptr);
    });
    orv::freeTexturePixels(mat.slots[0]);
    std::remove(path.c_str());

    std::printf("%d x %d, 24 bits, %d MiB file, medians of %d runs\n", side, side,
                int(54 + size_t(side) * side * 3) >> 20, runs);
    std::printf("  read and decode, library (4-byte pixels)  %8.1f ms\n", ours);
    std::printf("  read and decode, stb_image (4-byte)       %8.1f ms   %.2f x the library\n",
                stb4, stb4 / ours);
    std::printf("  read and decode, stb_image (3-byte)       %8.1f ms   %.2f x the library\n",
                stb3, stb3 / ours);
    std::printf("  build the 4096 x 4096 texture             %8.1f ms\n", build);
    return 0;
}
